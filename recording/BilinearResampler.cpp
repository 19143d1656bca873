#include "recording/BilinearResampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// The loops below are written for the auto-vectoriser (built with -O3): flat arrays, no
// aliasing, 16-bit intermediates. The horizontal pass gathers, so it stays mostly scalar; it
// runs once per source row, the vectorised row blend once per output row.

namespace {

// One BGRA pixel, as bytes and widened (GCC/Clang vector extensions).
typedef std::uint8_t Bytes4 __attribute__((vector_size(4)));
typedef std::uint16_t Words4 __attribute__((vector_size(8)));

// a · 256 + (b − a) · w in 16-bit wrap-around arithmetic: the true value lies in 0…65280,
// also for w = 256.
void horizontal1(const std::uint8_t* __restrict s, int next, const int* __restrict first,
                 const std::uint16_t* __restrict weight, std::uint16_t* __restrict out, int n) {
    for (int x = 0; x < n; ++x) {
        const std::uint8_t* p = s + first[x];
        const std::uint16_t a = p[0];
        const std::uint16_t b = p[next];
        out[x] = std::uint16_t((a << 8) + std::uint16_t(b - a) * weight[x]);
    }
}

void horizontal4(const std::uint8_t* __restrict s, int next, const int* __restrict first,
                 const std::uint16_t* __restrict weight, std::uint16_t* __restrict out, int n) {
    for (int x = 0; x < n; ++x) {
        Bytes4 p, q;
        std::memcpy(&p, s + first[x], 4);
        std::memcpy(&q, s + first[x] + next, 4);
        const Words4 a = __builtin_convertvector(p, Words4);
        const Words4 b = __builtin_convertvector(q, Words4);
        const Words4 v = (a << 8) + (b - a) * weight[x];
        std::memcpy(out + 4 * x, &v, sizeof v);
    }
}

void copyRow(const std::uint16_t* __restrict h, std::uint8_t* __restrict out, int n) {
    for (int x = 0; x < n; ++x)
        out[x] = std::uint8_t((h[x] + 128) >> 8);
}

// Weights 1…255 each (the pair sums to 256), so w << 8 fits 16 bits and the products are
// high halves of 16 × 16-bit multiplies.
void blendRows(const std::uint16_t* __restrict h0, const std::uint16_t* __restrict h1,
               std::uint16_t w1, std::uint8_t* __restrict out, int n) {
    const std::uint16_t f0 = std::uint16_t((256 - w1) << 8);
    const std::uint16_t f1 = std::uint16_t(w1 << 8);
    for (int x = 0; x < n; ++x) {
        const std::uint16_t p = std::uint16_t((std::uint32_t(h0[x]) * f0) >> 16);
        const std::uint16_t q = std::uint16_t((std::uint32_t(h1[x]) * f1) >> 16);
        out[x] = std::uint8_t(std::uint16_t(p + q + 128) >> 8);
    }
}

} // namespace

void BilinearResampler::makeTaps(Taps& taps, SampleAxis axis, int count, int sourceLength,
                                 int step) {
    taps.first.resize(std::size_t(count));
    taps.weight.resize(std::size_t(count));
    // Both taps stay inside the source: before the first pixel the first one is taken whole,
    // past the last one the last (weight 256 on the second tap).
    const double low = -2.0;
    const double high = double(sourceLength) + 1.0;
    for (int i = 0; i < count; ++i) {
        const double f = std::clamp(axis.a * i + axis.b, low, high);
        const double whole = std::floor(f);
        int left = int(whole);
        int w = int(std::lround((f - whole) * 256.0));
        if (left < 0) {
            left = 0;
            w = 0;
        } else if (sourceLength < 2) {
            left = 0;
            w = 0;
        } else if (left >= sourceLength - 1) {
            left = sourceLength - 2;
            w = 256;
        }
        taps.first[std::size_t(i)] = left * step;
        taps.weight[std::size_t(i)] = std::uint16_t(w);
    }
}

void BilinearResampler::resample(const PlaneView& src, const PlaneView& dst, SampleAxis x,
                                 SampleAxis y) {
    if (!src.data || !dst.data || src.channels != dst.channels ||
        (src.channels != 1 && src.channels != 4) || src.width <= 0 || src.height <= 0 ||
        dst.width <= 0 || dst.height <= 0)
        return;
    if (!std::isfinite(x.a) || !std::isfinite(x.b) || !std::isfinite(y.a) || !std::isfinite(y.b))
        return;
    const int channels = src.channels;
    const int n = dst.width * channels;
    const int nextColumn = src.width > 1 ? channels : 0;
    const int nextRow = src.height > 1 ? 1 : 0;
    makeTaps(m_columns, x, dst.width, src.width, channels);
    makeTaps(m_rows, y, dst.height, src.height, 1);
    m_ring.resize(2 * std::size_t(n));

    int cached[2] = {-1, -1};
    auto resampled = [&](int sourceRow, int keep) -> const std::uint16_t* {
        for (int slot = 0; slot < 2; ++slot)
            if (cached[slot] == sourceRow)
                return m_ring.data() + slot * std::size_t(n);
        const int slot = cached[0] == keep ? 1 : 0;
        std::uint16_t* out = m_ring.data() + slot * std::size_t(n);
        const std::uint8_t* row = src.data + std::ptrdiff_t(sourceRow) * src.stride;
        if (channels == 1)
            horizontal1(row, nextColumn, m_columns.first.data(), m_columns.weight.data(), out,
                        dst.width);
        else
            horizontal4(row, nextColumn, m_columns.first.data(), m_columns.weight.data(), out,
                        dst.width);
        cached[slot] = sourceRow;
        return out;
    };

    for (int j = 0; j < dst.height; ++j) {
        const int r0 = m_rows.first[std::size_t(j)];
        const int r1 = r0 + nextRow;
        const std::uint16_t w = m_rows.weight[std::size_t(j)];
        std::uint8_t* out = dst.data + std::ptrdiff_t(j) * dst.stride;
        if (w == 0) {
            copyRow(resampled(r0, r1), out, n);
        } else if (w == 256) {
            copyRow(resampled(r1, r0), out, n);
        } else {
            const std::uint16_t* h0 = resampled(r0, r1);
            blendRows(h0, resampled(r1, r0), w, out, n);
        }
    }
}
