#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"
#include "support/EventLoop.h"

#include <QObject>
#include <QThread>

#include <gtest/gtest.h>

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

// A hand-off and a delayed call whose owner goes first run nothing; a delayed call never runs
// at once.
TEST(MainThreadHandOff, OwnerGoneBeforeDeliveryMeansNothingRuns) {
    bool handedOff = false;
    bool delayed = false;
    bool later = false;
    auto owner = std::make_unique<QObject>();
    QObject witness;
    SerialQueue worker("com.ostrel.test");
    worker.sync([&] { runOn(owner.get(), [&] { handedOff = true; }); });
    runAfter(1, owner.get(), [&] { delayed = true; });
    runAfter(30, &witness, [&] { later = true; });
    EXPECT_FALSE(later);
    owner.reset();
    ASSERT_TRUE(pumpUntil([&] { return later; }));
    EXPECT_FALSE(handedOff);
    EXPECT_FALSE(delayed);
}
