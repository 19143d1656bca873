#include "media/PixelBuffer.h"

#include <cstdlib>
#include <limits>
#include <mutex>
#include <vector>

namespace {

int alignedStride(int width) {
    const int raw = width * PixelBuffer::bytesPerPixel;
    return (raw + PixelBuffer::rowAlignment - 1) / PixelBuffer::rowAlignment *
           PixelBuffer::rowAlignment;
}

bool validSize(int width, int height) {
    if (width <= 0 || height <= 0 || width > 16384 || height > 16384)
        return false;
    return true;
}

struct AlignedFree {
    void operator()(void* p) const { std::free(p); }
};

} // namespace

PixelBuffer PixelBuffer::allocate(int width, int height) {
    if (!validSize(width, height))
        return {};
    const int stride = alignedStride(width);
    void* memory =
        std::aligned_alloc(PixelBuffer::rowAlignment, std::size_t(stride) * std::size_t(height));
    if (!memory)
        return {};
    PixelBuffer buffer;
    buffer.m_storage = std::shared_ptr<void>(memory, AlignedFree{});
    buffer.m_data = static_cast<std::uint8_t*>(memory);
    buffer.m_width = width;
    buffer.m_height = height;
    buffer.m_stride = stride;
    return buffer;
}

PixelBuffer PixelBuffer::wrap(std::uint8_t* data, int width, int height, int stride,
                              std::function<void()> release) {
    if (!data || !validSize(width, height) || stride < width * bytesPerPixel)
        return {};
    PixelBuffer buffer;
    buffer.m_storage = std::shared_ptr<void>(data, [release = std::move(release)](void*) {
        if (release)
            release();
    });
    buffer.m_data = data;
    buffer.m_width = width;
    buffer.m_height = height;
    buffer.m_stride = stride;
    return buffer;
}

struct PixelBufferPool::Shared {
    std::mutex lock;
    std::vector<void*> idle;
    int maxIdle = 0;
    int allocations = 0;
    bool closed = false;

    ~Shared() {
        for (void* memory : idle)
            std::free(memory);
    }
};

PixelBufferPool::PixelBufferPool(int width, int height, int maxIdle)
    : m_width(width), m_height(height), m_shared(std::make_shared<Shared>()) {
    m_shared->maxIdle = maxIdle;
}

PixelBufferPool::~PixelBufferPool() {
    std::lock_guard lock(m_shared->lock);
    m_shared->closed = true;
}

PixelBuffer PixelBufferPool::acquire() {
    if (!validSize(m_width, m_height))
        return {};
    const int stride = alignedStride(m_width);
    void* memory = nullptr;
    {
        std::lock_guard lock(m_shared->lock);
        if (!m_shared->idle.empty()) {
            memory = m_shared->idle.back();
            m_shared->idle.pop_back();
        }
    }
    if (!memory) {
        memory = std::aligned_alloc(PixelBuffer::rowAlignment,
                                    std::size_t(stride) * std::size_t(m_height));
        if (!memory)
            return {};
        std::lock_guard lock(m_shared->lock);
        ++m_shared->allocations;
    }
    // The buffer holds the pool's shared state weakly: a buffer outliving its pool just frees.
    std::weak_ptr<Shared> weakPool = m_shared;
    PixelBuffer buffer;
    buffer.m_storage = std::shared_ptr<void>(memory, [weakPool](void* p) {
        if (auto pool = weakPool.lock()) {
            std::lock_guard lock(pool->lock);
            if (!pool->closed && int(pool->idle.size()) < pool->maxIdle) {
                pool->idle.push_back(p);
                return;
            }
        }
        std::free(p);
    });
    buffer.m_data = static_cast<std::uint8_t*>(memory);
    buffer.m_width = m_width;
    buffer.m_height = m_height;
    buffer.m_stride = stride;
    return buffer;
}

int PixelBufferPool::idleCount() const {
    std::lock_guard lock(m_shared->lock);
    return int(m_shared->idle.size());
}

int PixelBufferPool::allocationCount() const {
    std::lock_guard lock(m_shared->lock);
    return m_shared->allocations;
}
