#include "runtime/HeapMemory.h"

#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <latch>
#include <thread>
#include <vector>

#include <malloc.h>

// AddressSanitizer replaces the C library's allocator, whose heaps these tests look at.
#if defined(__SANITIZE_ADDRESS__)
#define SKIP_UNDER_ASAN() GTEST_SKIP() << "AddressSanitizer brings its own allocator"
#else
#define SKIP_UNDER_ASAN()
#endif

namespace {

long residentAnonymousKilobytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("RssAnon:"))
            return line.mid(8).trimmed().split(' ').value(0).toLong();
    return -1;
}

int arenaCount() {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* out = open_memstream(&text, &size);
    malloc_info(0, out);
    std::fclose(out);
    const int count = QByteArray(text, int(size)).count("<heap nr=");
    std::free(text);
    return count;
}

} // namespace

TEST(HeapMemory, FreedBlocksLeaveTheProcessWhenReleased) {
    SKIP_UNDER_ASAN();
    // A thread of its own allocates 64 MB in blocks small enough to come from its heap and frees
    // them, under a block still in use, so the heap cannot shrink by itself: as an encoder
    // thread leaves its buffers at the end of a recording.
    long freed = 0;
    void* inUse = nullptr;
    std::thread encoder([&] {
        std::vector<void*> blocks;
        blocks.reserve(1024);
        for (int i = 0; i < 1024; ++i) {
            auto* block = static_cast<volatile char*>(std::malloc(64 * 1024));
            for (int page = 0; page < 64 * 1024; page += 4096)
                block[page] = 1; // resident, and not optimised away before the free
            blocks.push_back(const_cast<char*>(block));
        }
        inUse = std::malloc(64);
        for (void* block : blocks)
            std::free(block);
        freed = residentAnonymousKilobytes();
    });
    encoder.join();
    releaseFreeHeapPages();
    const long released = residentAnonymousKilobytes();
    std::free(inUse);
    EXPECT_GT(freed - released, 48 * 1024)
        << "kB resident: " << freed << " before, " << released << " after";
}

TEST(HeapMemory, ThreadsShareAtMostTheLimitedNumberOfHeaps) {
    SKIP_UNDER_ASAN();
    const int before = arenaCount();
    // glibc fixes its own limit once a ninth heap is made; a fresh process (as each case runs
    // under CTest) has not got that far.
    if (before > 8)
        GTEST_SKIP() << before << " heaps exist already";
    limitHeapArenas();
    // Eight threads allocating at once would get a heap each without the limit. The blocks are
    // kept where the compiler sees them used, or it leaves the allocation out.
    constexpr int threads = 8;
    std::vector<void*> blocks(threads);
    std::latch allocated(threads);
    std::latch done(1);
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i)
        workers.emplace_back([&, i] {
            blocks[std::size_t(i)] = std::malloc(1024);
            allocated.count_down();
            done.wait();
            std::free(blocks[std::size_t(i)]);
        });
    allocated.wait();
    const int after = arenaCount();
    done.count_down();
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_LE(after, std::max(before, heapArenas)) << before << " heaps before";
}
