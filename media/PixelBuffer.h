#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

// A reference-counted BGRA picture (8 bits per channel, premultiplied where it has alpha).
// Copies share the pixels, so frames move between stages without copying them. A buffer is
// written by whoever made it and treated as read-only once it has been handed on.
class PixelBuffer {
public:
    static constexpr int bytesPerPixel = 4;
    static constexpr int rowAlignment = 64; // bytes; keeps rows SIMD- and cache-line friendly

    PixelBuffer() = default;

    // A new, uninitialised buffer; null when the size is not positive or too large.
    static PixelBuffer allocate(int width, int height);

    // A buffer over memory owned elsewhere; `release` runs when the last copy is gone.
    static PixelBuffer wrap(std::uint8_t* data, int width, int height, int stride,
                            std::function<void()> release);

    bool isNull() const { return m_storage == nullptr; }
    explicit operator bool() const { return !isNull(); }

    int width() const { return m_width; }
    int height() const { return m_height; }
    int stride() const { return m_stride; } // bytes per row
    std::size_t byteCount() const { return std::size_t(m_stride) * std::size_t(m_height); }

    std::uint8_t* data() const { return m_data; }
    std::uint8_t* row(int y) const { return m_data + std::ptrdiff_t(y) * m_stride; }

    // Whether two buffers share the same pixels.
    bool sharesPixelsWith(const PixelBuffer& other) const { return m_data == other.m_data; }
    long useCount() const { return m_storage.use_count(); }

private:
    friend class PixelBufferPool;
    std::shared_ptr<void> m_storage; // owns the pixels (or the release action)
    std::uint8_t* m_data = nullptr;
    int m_width = 0;
    int m_height = 0;
    int m_stride = 0;
};

// Fixed-size buffers that return to the pool when their last user lets go, so a steady stream
// of frames allocates nothing. The pool may be destroyed while buffers are still out.
class PixelBufferPool {
public:
    PixelBufferPool(int width, int height, int maxIdle = 4);
    ~PixelBufferPool();

    PixelBufferPool(const PixelBufferPool&) = delete;
    PixelBufferPool& operator=(const PixelBufferPool&) = delete;

    int width() const { return m_width; }
    int height() const { return m_height; }

    // A free buffer from the pool, or a new one; null only when the size is invalid.
    PixelBuffer acquire();

    int idleCount() const;
    int allocationCount() const;

private:
    struct Shared;
    int m_width;
    int m_height;
    std::shared_ptr<Shared> m_shared;
};
