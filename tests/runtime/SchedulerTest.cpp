#include "runtime/Scheduler.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <memory>

using namespace std::chrono_literals;

TEST(ManualScheduler, RunsStepsInTimeOrderOnlyWhenTimeReachesThem) {
    ManualScheduler scheduler;
    QObject owner;
    std::vector<int> ran;
    scheduler.after(800ms, &owner, [&] { ran.push_back(2); });
    scheduler.after(200ms, &owner, [&] { ran.push_back(1); });
    scheduler.after(800ms, &owner, [&] { ran.push_back(3); }); // same time: in arming order
    scheduler.advance(199ms);
    EXPECT_TRUE(ran.empty());
    scheduler.advance(1ms);
    EXPECT_EQ(ran, std::vector<int>{1});
    scheduler.advance(600ms);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(scheduler.pendingCount(), 0);
}

TEST(ManualScheduler, CancelledOrOrphanedStepsDoNothing) {
    ManualScheduler scheduler;
    auto owner = std::make_unique<QObject>();
    int runs = 0;
    ScheduledTask cancelled = scheduler.after(1s, owner.get(), [&] { ++runs; });
    EXPECT_TRUE(cancelled.isActive());
    cancelled.cancel();
    EXPECT_FALSE(cancelled.isActive());
    scheduler.after(1s, owner.get(), [&] { ++runs; });
    owner.reset();
    scheduler.advance(2s);
    EXPECT_EQ(runs, 0);
}

TEST(SystemScheduler, DelayedStepRunsOnTheEventLoopAndRespectsItsOwner) {
    QObject owner;
    bool ran = false;
    Scheduler::system().after(1ms, &owner, [&] { ran = true; });
    EXPECT_TRUE(pumpUntil([&] { return ran; }));

    auto gone = std::make_unique<QObject>();
    bool orphanRan = false;
    bool markerRan = false;
    Scheduler::system().after(1ms, gone.get(), [&] { orphanRan = true; });
    gone.reset();
    Scheduler::system().after(5ms, &owner, [&] { markerRan = true; });
    EXPECT_TRUE(pumpUntil([&] { return markerRan; }));
    EXPECT_FALSE(orphanRan);
}
