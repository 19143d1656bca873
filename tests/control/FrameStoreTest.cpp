#include "control/FrameStore.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(FrameStore, KeepsOnlyTheNewestFramePerCameraAndCountsEveryStore) {
    FrameStore store;
    EXPECT_FALSE(store.latest(0));
    EXPECT_FALSE(store.latestBuffer(1));

    const PixelBuffer first = PixelBuffer::allocate(4, 2);
    const PixelBuffer second = PixelBuffer::allocate(4, 2);
    store.store(0, {first, {}, 1.0});
    store.store(0, {second, {}, 1.0});
    store.store(1, {first, QPointF(0.01, -0.02), 1.15});

    EXPECT_TRUE(store.latestBuffer(0)->sharesPixelsWith(second));
    EXPECT_EQ(first.useCount(), 2) << "the replaced Wide frame must be released";
    if (const auto macro = store.latest(1); macro) {
        EXPECT_EQ(macro->stabOffset, QPointF(0.01, -0.02));
        EXPECT_DOUBLE_EQ(macro->stabZoom, 1.15);
    } else {
        ADD_FAILURE() << "no Macro frame";
    }

    EXPECT_EQ(store.takeCounts(), (std::map<int, int>{{0, 2}, {1, 1}}));
    EXPECT_TRUE(store.takeCounts().empty()) << "taking the counts starts them again";
    EXPECT_TRUE(store.latest(0)) << "taking the counts keeps the frames";

    store.clear();
    EXPECT_FALSE(store.latest(0));
    EXPECT_FALSE(store.latest(1));
    EXPECT_EQ(first.useCount(), 1);
}

TEST(FrameStore, TwoCameraQueuesAndAReaderShareItSafely) {
    FrameStore store;
    constexpr int perCamera = 2000;
    std::vector<std::thread> writers;
    for (int index = 0; index < 2; ++index) {
        writers.emplace_back([&store, index] {
            PixelBufferPool pool(8, 8, 2);
            for (int i = 0; i < perCamera; ++i)
                store.store(index, {pool.acquire(), QPointF(i, i), 1.0});
        });
    }
    int seen = 0;
    std::thread reader([&] {
        for (int i = 0; i < perCamera; ++i)
            seen += store.latest(i % 2) ? 1 : 0;
    });
    for (auto& writer : writers)
        writer.join();
    reader.join();
    EXPECT_LE(seen, perCamera);
    EXPECT_EQ(store.takeCounts(), (std::map<int, int>{{0, perCamera}, {1, perCamera}}));
    EXPECT_EQ(store.latest(1)->stabOffset, QPointF(perCamera - 1, perCamera - 1));
}
