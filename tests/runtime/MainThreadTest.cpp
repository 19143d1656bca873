#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"
#include "support/EventLoop.h"

#include <QObject>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <vector>

TEST(MainThreadHandOff, ArrivesOnTheMainThreadInOrderWithoutBlockingTheSender) {
    std::vector<int> order;
    QThread* ranOn = nullptr;
    QObject owner;
    SerialQueue worker("com.ostrel.test");
    worker.sync([&] {
        for (int i = 0; i < 50; ++i)
            runOn(&owner, [&, i] {
                order.push_back(i);
                ranOn = QThread::currentThread();
            });
        // Nothing ran yet: the main thread is blocked in this sync call.
        EXPECT_TRUE(order.empty());
    });
    ASSERT_TRUE(pumpUntil([&] { return order.size() == 50; }));
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(order[size_t(i)], i);
    EXPECT_EQ(ranOn, QCoreApplication::instance()->thread());
}

TEST(MainThreadHandOff, OwnerGoneBeforeDeliveryMeansNothingRuns) {
    bool ran = false;
    auto owner = std::make_unique<QObject>();
    SerialQueue worker("com.ostrel.test");
    worker.sync([&] { runOn(owner.get(), [&] { ran = true; }); });
    owner.reset();
    pumpPosted();
    EXPECT_FALSE(ran);
}

TEST(MainThreadHandOff, RunOnMainUsesTheApplication) {
    std::atomic<bool> ran{false};
    SerialQueue worker("com.ostrel.test");
    worker.sync([&] { runOnMain([&] { ran = true; }); });
    EXPECT_TRUE(pumpUntil([&] { return ran.load(); }));
}

TEST(DelayedCall, RunsAfterItsDelayWhileTheOwnerLives) {
    QObject owner;
    bool ran = false;
    runAfter(1, &owner, [&] { ran = true; });
    EXPECT_FALSE(ran); // never synchronously
    EXPECT_TRUE(pumpUntil([&] { return ran; }));
}

TEST(DelayedCall, OwnerGoneMeansNothingHappens) {
    bool ran = false;
    bool later = false;
    auto owner = std::make_unique<QObject>();
    QObject witness;
    runAfter(1, owner.get(), [&] { ran = true; });
    runAfter(30, &witness, [&] { later = true; });
    owner.reset();
    ASSERT_TRUE(pumpUntil([&] { return later; }));
    EXPECT_FALSE(ran);
}
