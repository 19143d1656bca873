#include "runtime/SerialQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

TEST(SerialQueue, RunsTasksOneAtATimeInEachProducersOrder) {
    std::mutex lock;
    std::vector<std::pair<int, int>> seen;
    std::atomic<int> running{0};
    std::atomic<int> maxRunning{0};
    {
        SerialQueue queue("com.ostrel.test");
        std::vector<std::thread> producers;
        for (int p = 0; p < 4; ++p) {
            producers.emplace_back([&, p] {
                for (int i = 0; i < 200; ++i)
                    queue.async([&, p, i] {
                        const int now = ++running;
                        maxRunning = std::max(maxRunning.load(), now);
                        std::lock_guard guard(lock);
                        seen.emplace_back(p, i);
                        --running;
                    });
            });
        }
        for (auto& t : producers)
            t.join();
    } // destruction runs what is queued
    ASSERT_EQ(seen.size(), 800u);
    std::vector<int> next(4, 0);
    for (auto [p, i] : seen)
        EXPECT_EQ(i, next[size_t(p)]++) << "producer " << p;
    EXPECT_EQ(maxRunning.load(), 1);
}

TEST(SerialQueue, SyncWaitsForEarlierTasksAndRunsOnTheQueueThread) {
    SerialQueue queue("com.ostrel.test");
    std::atomic<bool> earlierDone{false};
    std::thread::id ranOn;
    queue.async([&] { earlierDone = true; });
    queue.sync([&] {
        EXPECT_TRUE(earlierDone.load());
        EXPECT_TRUE(queue.isCurrent());
        ranOn = std::this_thread::get_id();
    });
    EXPECT_NE(ranOn, std::this_thread::get_id());
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, SyncFromInsideTheQueueRunsInlineInsteadOfDeadlocking) {
    SerialQueue queue("com.ostrel.test");
    std::vector<int> order;
    queue.sync([&] {
        order.push_back(1);
        queue.sync([&] { order.push_back(2); });
        order.push_back(3);
    });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}
