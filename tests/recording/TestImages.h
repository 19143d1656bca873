#pragma once

#include "media/PixelBuffer.h"

#include <array>
#include <cstdint>

// Pictures for the geometry tests: plain colours make turns, insets and crops visible.
struct Bgra {
    std::uint8_t b = 0, g = 0, r = 0, a = 255;
    friend bool operator==(const Bgra&, const Bgra&) = default;
};

inline Bgra pixelAt(const PixelBuffer& buffer, int x, int y) {
    const std::uint8_t* p = buffer.row(y) + 4 * x;
    return {p[0], p[1], p[2], p[3]};
}

inline void fillRect(const PixelBuffer& buffer, int x0, int y0, int x1, int y1, Bgra c) {
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) {
            std::uint8_t* p = buffer.row(y) + 4 * x;
            p[0] = c.b, p[1] = c.g, p[2] = c.r, p[3] = c.a;
        }
}

// Quadrants top-left, top-right, bottom-left, bottom-right (split at the integer middle).
inline PixelBuffer quadrants(int w, int h, std::array<Bgra, 4> c) {
    PixelBuffer b = PixelBuffer::allocate(w, h);
    fillRect(b, 0, 0, w / 2, h / 2, c[0]);
    fillRect(b, w / 2, 0, w, h / 2, c[1]);
    fillRect(b, 0, h / 2, w / 2, h, c[2]);
    fillRect(b, w / 2, h / 2, w, h, c[3]);
    return b;
}

inline PixelBuffer solid(int w, int h, Bgra c) {
    PixelBuffer b = PixelBuffer::allocate(w, h);
    fillRect(b, 0, 0, w, h, c);
    return b;
}

constexpr Bgra red{0, 0, 255};
constexpr Bgra green{0, 255, 0};
constexpr Bgra blue{255, 0, 0};
constexpr Bgra white{255, 255, 255};
constexpr Bgra cyan{255, 255, 0};
constexpr Bgra magenta{255, 0, 255};
constexpr Bgra yellow{0, 255, 255};
constexpr Bgra grey{128, 128, 128};
constexpr Bgra black{0, 0, 0};
