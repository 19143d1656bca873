#include "recording/Yuv420Buffer.h"

#include <cstdlib>

namespace {

bool validSize(int width, int height) {
    return width > 0 && height > 0 && width % 2 == 0 && height % 2 == 0 && width <= 16384 &&
           height <= 16384;
}

} // namespace

Yuv420Buffer Yuv420Buffer::allocate(int width, int height) {
    if (!validSize(width, height))
        return {};
    const std::size_t luma = std::size_t(width) * std::size_t(height);
    const std::size_t bytes = (luma + luma / 2 + 63) / 64 * 64;
    void* memory = std::aligned_alloc(64, bytes);
    if (!memory)
        return {};
    Yuv420Buffer buffer;
    buffer.m_storage = std::shared_ptr<void>(memory, [](void* p) { std::free(p); });
    auto* base = static_cast<std::uint8_t*>(memory);
    buffer.m_planes[0] = base;
    buffer.m_planes[1] = base + luma;
    buffer.m_planes[2] = base + luma + luma / 4;
    buffer.m_strides[0] = width;
    buffer.m_strides[1] = width / 2;
    buffer.m_strides[2] = width / 2;
    buffer.m_width = width;
    buffer.m_height = height;
    return buffer;
}

Yuv420Buffer Yuv420Buffer::wrap(std::uint8_t* const planes[3], const int strides[3], int width,
                                int height, std::function<void()> release) {
    if (!validSize(width, height) || !planes[0] || !planes[1] || !planes[2] || strides[0] < width ||
        strides[1] < width / 2 || strides[2] < width / 2)
        return {};
    Yuv420Buffer buffer;
    buffer.m_storage = std::shared_ptr<void>(planes[0], [release = std::move(release)](void*) {
        if (release)
            release();
    });
    for (int i = 0; i < 3; ++i) {
        buffer.m_planes[i] = planes[i];
        buffer.m_strides[i] = strides[i];
    }
    buffer.m_width = width;
    buffer.m_height = height;
    return buffer;
}

bool Yuv420Buffer::isContiguous() const {
    if (isNull())
        return false;
    const std::size_t luma = std::size_t(m_width) * std::size_t(m_height);
    return m_strides[0] == m_width && m_strides[1] == m_width / 2 && m_strides[2] == m_width / 2 &&
           m_planes[1] == m_planes[0] + luma && m_planes[2] == m_planes[1] + luma / 4;
}
