#include "runtime/Scheduler.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <memory>

using namespace std::chrono_literals;

TEST(SystemScheduler, DelayedStepRunsOnTheEventLoopUnlessCancelledOrItsOwnerIsGone) {
    QObject owner;
    bool ran = false;
    Scheduler::system().after(1ms, &owner, [&] { ran = true; });
    EXPECT_TRUE(pumpUntil([&] { return ran; }));

    auto gone = std::make_unique<QObject>();
    bool orphanRan = false;
    bool markerRan = false;
    Scheduler::system().after(1ms, gone.get(), [&] { orphanRan = true; });
    gone.reset();
    ScheduledTask cancelled = Scheduler::system().after(1ms, &owner, [&] { orphanRan = true; });
    cancelled.cancel();
    EXPECT_FALSE(cancelled.isActive());
    Scheduler::system().after(5ms, &owner, [&] { markerRan = true; });
    EXPECT_TRUE(pumpUntil([&] { return markerRan; }));
    EXPECT_FALSE(orphanRan);
}
