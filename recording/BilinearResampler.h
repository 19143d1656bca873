#pragma once

// Bilinear resampling for axis-aligned maps (scale, mirror, any fractional shift), separable and
// in fixed point: each source row is resampled horizontally once into a small ring of rows, then
// two of those rows are blended per output row. Weights have 8 bits, so a flat colour comes out
// unchanged and edges land within 1/256 of a pixel of the exact position. Borders repeat the
// outermost source pixel.

#include <cstdint>
#include <vector>

// An 8-bit picture with 1 (a plane) or 4 (BGRA) channels.
struct PlaneView {
    std::uint8_t* data = nullptr;
    int stride = 0; // bytes per row
    int width = 0;
    int height = 0;
    int channels = 1;
};

// One axis of the map: output pixel i (centre at i) samples the source at a · i + b
// (source pixel centres at integers).
struct SampleAxis {
    double a = 1;
    double b = 0;
};

class BilinearResampler {
public:
    // Fills all of `dst` from `src`. Does nothing if the two differ in channels, either is
    // empty, or the map is not finite.
    void resample(const PlaneView& src, const PlaneView& dst, SampleAxis x, SampleAxis y);

private:
    // Per output column (row): the element offset of the first of two neighbouring source
    // pixels, and the weight of the second out of 256.
    struct Taps {
        std::vector<int> first;
        std::vector<std::uint16_t> weight;
    };
    static void makeTaps(Taps& taps, SampleAxis axis, int count, int sourceLength, int step);

    Taps m_columns;
    Taps m_rows;
    std::vector<std::uint16_t> m_ring; // two horizontally resampled source rows
};
