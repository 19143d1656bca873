#pragma once

#include "media/PixelBuffer.h"

#include <memory>
#include <optional>

// Translation between two equal-sized BGRA pictures by phase correlation on FFTW (single
// precision): a coarse measurement on the whole picture at half resolution, refined at full
// resolution on a centre window (two fifths of the width, half the height). The reference's
// spectra are kept, so a stream of frames costs three forward and two inverse transforms of a
// fifth to a quarter of the picture's size per measurement. Plans are made once, at
// construction. Not thread-safe: one correlator serves one stream of frames.
class PhaseCorrelator {
public:
    struct Shift {
        double x = 0;        // pixels, x to the right
        double y = 0;        // pixels, y downwards (row order)
        double response = 0; // height of the correlation peak, 0…1 (1 = identical pictures)
    };

    // Lowest peak height accepted as a match. Two unrelated pictures at the transform sizes
    // used (about 100,000 pixels) give peaks of about 0.015 (five standard deviations).
    static constexpr double minResponse = 0.02;

    PhaseCorrelator(int width, int height);
    ~PhaseCorrelator();
    PhaseCorrelator(const PhaseCorrelator&) = delete;
    PhaseCorrelator& operator=(const PhaseCorrelator&) = delete;

    int width() const;
    int height() const;

    // Makes `picture` the reference of the next measurement. False when its size is wrong.
    bool setReference(const PixelBuffer& picture);
    void clearReference();
    bool hasReference() const;

    // The translation that aligns `target` onto the reference: a target whose content lies
    // (dx, dy) further right and down than in the reference gives (−dx, −dy). Nothing when
    // there is no reference, the sizes differ, either picture is flat or no clear peak exists.
    // In every case except a wrong size, `target` becomes the new reference.
    std::optional<Shift> measure(const PixelBuffer& target);

private:
    struct Stage;
    struct Impl;
    std::unique_ptr<Impl> d;
};
