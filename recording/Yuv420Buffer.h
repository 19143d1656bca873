#pragma once

#include <cstdint>
#include <functional>
#include <memory>

// A reference-counted planar YUV 4:2:0 picture (Y full size, U and V half size in both
// directions), the encoder's input. Width and height are even. `allocate` lays the planes out
// back to back with stride = width (the classic I420 layout); `wrap` takes any planes, for
// example those of an encoder's frame.
class Yuv420Buffer {
public:
    Yuv420Buffer() = default;

    static Yuv420Buffer allocate(int width, int height);
    static Yuv420Buffer wrap(std::uint8_t* const planes[3], const int strides[3], int width,
                             int height, std::function<void()> release);

    bool isNull() const { return m_storage == nullptr; }
    explicit operator bool() const { return !isNull(); }
    int width() const { return m_width; }
    int height() const { return m_height; }
    std::uint8_t* plane(int i) const { return m_planes[i]; }
    int stride(int i) const { return m_strides[i]; }
    // Whether the three planes follow each other with stride = width (one I420 block).
    bool isContiguous() const;

private:
    std::shared_ptr<void> m_storage;
    std::uint8_t* m_planes[3] = {nullptr, nullptr, nullptr};
    int m_strides[3] = {0, 0, 0};
    int m_width = 0;
    int m_height = 0;
};
