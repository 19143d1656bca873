#include "media/PixelBuffer.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(PixelBuffer, AllocatesAlignedRowsAndSharesPixelsBetweenCopies) {
    PixelBuffer a = PixelBuffer::allocate(1921, 3);
    ASSERT_FALSE(a.isNull());
    EXPECT_EQ(a.width(), 1921);
    EXPECT_EQ(a.stride() % PixelBuffer::rowAlignment, 0);
    EXPECT_GE(a.stride(), 1921 * 4);
    a.row(2)[0] = 42;
    PixelBuffer b = a;
    EXPECT_TRUE(b.sharesPixelsWith(a));
    EXPECT_EQ(b.row(2)[0], 42);
    EXPECT_EQ(a.useCount(), 2);
    // Sizes that cannot be a picture, or not one in memory, give nothing.
    for (const auto& [width, height] :
         {std::pair(0, 10), std::pair(10, -1), std::pair(100000, 100000)})
        EXPECT_TRUE(PixelBuffer::allocate(width, height).isNull()) << width << " x " << height;
    EXPECT_TRUE(PixelBufferPool(0, 0).acquire().isNull());
}

TEST(PixelBuffer, WrappedMemoryIsReleasedWithTheLastCopy) {
    std::vector<std::uint8_t> memory(64 * 2);
    int releases = 0;
    {
        PixelBuffer a = PixelBuffer::wrap(memory.data(), 16, 2, 64, [&] { ++releases; });
        PixelBuffer b = a;
        a = PixelBuffer();
        EXPECT_EQ(releases, 0);
    }
    EXPECT_EQ(releases, 1);
    EXPECT_TRUE(PixelBuffer::wrap(memory.data(), 17, 2, 64, {}).isNull()); // stride too small
}

TEST(PixelBufferPool, ReusesReturnedBuffersAndCapsTheIdleOnes) {
    PixelBufferPool pool(640, 360, 2);
    std::uint8_t* first = nullptr;
    {
        PixelBuffer a = pool.acquire();
        first = a.data();
    }
    EXPECT_EQ(pool.idleCount(), 1);
    PixelBuffer again = pool.acquire();
    EXPECT_EQ(again.data(), first);
    EXPECT_EQ(pool.allocationCount(), 1);
    {
        std::vector<PixelBuffer> many;
        for (int i = 0; i < 5; ++i)
            many.push_back(pool.acquire());
    }
    EXPECT_EQ(pool.idleCount(), 2);
}

TEST(PixelBufferPool, BuffersMayOutliveThePoolAndCrossThreads) {
    PixelBuffer survivor;
    {
        PixelBufferPool pool(32, 32);
        survivor = pool.acquire();
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < 1000; ++i) {
                    PixelBuffer b = pool.acquire();
                    b.row(0)[0] = std::uint8_t(i);
                }
            });
        for (auto& t : threads)
            t.join();
        EXPECT_LE(pool.allocationCount(), 5);
    }
    survivor.row(31)[0] = 1; // still valid after the pool is gone
    EXPECT_EQ(survivor.width(), 32);
}
