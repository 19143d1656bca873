#include "imaging/PhaseCorrelator.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <mutex>
#include <numbers>
#include <vector>

namespace {

// FFTW's planner keeps process-wide tables and is not thread-safe; only fftwf_execute* is.
// Correlators are made and destroyed on different threads (main thread, camera queues), so
// planning and plan destruction go through this one lock. It guards FFTW's state, not ours.
std::mutex& plannerLock() {
    static std::mutex lock;
    return lock;
}

struct FftwFree {
    void operator()(void* p) const { fftwf_free(p); }
};
template <typename T> using FftwArray = std::unique_ptr<T[], FftwFree>;

template <typename T> FftwArray<T> fftwArray(std::size_t count) {
    return FftwArray<T>(static_cast<T*>(fftwf_malloc(sizeof(T) * count)));
}

struct PlanDestroy {
    void operator()(fftwf_plan plan) const {
        std::lock_guard lock(plannerLock());
        fftwf_destroy_plan(plan);
    }
};
using Plan = std::unique_ptr<std::remove_pointer_t<fftwf_plan>, PlanDestroy>;

// Periodic Hann window: its spectrum has exactly three taps per axis, so what the window itself
// adds to the spectrum stays in the 3 × 3 bins around zero frequency.
std::vector<float> hanning(int n) {
    std::vector<float> w(std::size_t(std::max(n, 0)));
    for (int i = 0; i < n; ++i)
        w[std::size_t(i)] = float(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * i / n));
    return w;
}

// Vertex of the parabola through (-1, l), (0, c), (1, r); c is the largest of the three.
double parabola(double l, double c, double r) {
    const double curvature = l - 2.0 * c + r;
    if (!(curvature < 0))
        return 0;
    return std::clamp(0.5 * (l - r) / curvature, -0.5, 0.5);
}

// Sub-pixel position of a peak from its two neighbours along one axis. The correlation peak of
// windowed pictures is close to a Gaussian, so the parabola is fitted to the logarithms; this
// measured twice as accurate as the plain parabola and five times as a centroid.
double peakOffset(float left, float centre, float right) {
    if (left > 0 && centre > 0 && right > 0)
        return parabola(std::log(double(left)), std::log(double(centre)), std::log(double(right)));
    return parabola(left, centre, right);
}

} // namespace

struct PhaseCorrelator::Impl {
    int width = 0;
    int height = 0;
    int spectrumWidth = 0;
    std::vector<float> windowX;
    std::vector<float> windowY;
    // Transforms run in place (rows padded to 2 · spectrumWidth floats), which keeps the working
    // set at three arrays: it is memory traffic, not arithmetic, that costs most here.
    FftwArray<fftwf_complex> current; // windowed picture, then its spectrum
    FftwArray<fftwf_complex> reference;
    FftwArray<fftwf_complex> cross; // normalised cross-power spectrum (destroyed by the c2r)
    Plan forward;
    Plan inverse;
    bool referenceValid = false;
    bool referenceTextured = false;

    std::size_t pixels() const { return std::size_t(width) * std::size_t(height); }
    std::size_t bins() const { return std::size_t(spectrumWidth) * std::size_t(height); }
    std::size_t rowFloats() const { return 2 * std::size_t(spectrumWidth); }

    bool fits(const PixelBuffer& picture) const {
        return !picture.isNull() && picture.width() == width && picture.height() == height;
    }

    // Windowed grey values (four times the 8-bit level). The picture's mean, multiplied by
    // the window, would correlate with itself at zero shift in every pair; it is removed later
    // by clearing the lowest frequencies. Returns false for a flat picture.
    bool loadGrey(const PixelBuffer& picture, fftwf_complex* into) {
        float* const grey = reinterpret_cast<float*>(into);
        std::int64_t sum = 0;
        std::int64_t sumSquares = 0;
        const float* wx = windowX.data();
        for (int y = 0; y < height; ++y) {
            float* out = grey + std::size_t(y) * rowFloats();
            const float wy = windowY[std::size_t(y)];
            const std::uint8_t* p = picture.row(y);
            // 32 bits hold a row of up to 2048 pixels: 2048 · 1020² < 2³¹.
            std::int32_t rowSum = 0;
            std::int32_t rowSquares = 0;
#pragma omp simd reduction(+ : rowSum, rowSquares)
            for (int x = 0; x < width; ++x) {
                const std::int32_t g = p[4 * x] + 2 * p[4 * x + 1] + p[4 * x + 2];
                out[x] = float(g) * (wy * wx[x]);
                rowSum += g;
                rowSquares += g * g;
            }
            sum += rowSum;
            sumSquares += rowSquares;
        }
        const double n = double(pixels());
        const double mean = double(sum) / n;
        const double variance = double(sumSquares) / n - mean * mean;
        // Below a deviation of about a quarter of an 8-bit level there is nothing to correlate.
        return variance > 1.0;
    }

    void transform(fftwf_complex* out) {
        fftwf_execute_dft_r2c(forward.get(), reinterpret_cast<float*>(out), out);
    }
};

PhaseCorrelator::PhaseCorrelator(int width, int height) : d(std::make_unique<Impl>()) {
    // Rows of 32-bit sums (see loadGrey) bound the width.
    if (width < 2 || height < 2 || width > 2048 || height > 2048)
        return;
    d->width = width;
    d->height = height;
    d->spectrumWidth = width / 2 + 1;
    d->windowX = hanning(width);
    d->windowY = hanning(height);
    d->current = fftwArray<fftwf_complex>(d->bins());
    d->reference = fftwArray<fftwf_complex>(d->bins());
    d->cross = fftwArray<fftwf_complex>(d->bins());
    if (!d->current || !d->reference || !d->cross) {
        d->width = d->height = 0;
        return;
    }
    std::lock_guard lock(plannerLock());
    // FFTW_MEASURE overwrites the arrays while planning; they hold nothing yet. The cost is paid
    // once per size and process (FFTW remembers what it measured).
    d->forward.reset(fftwf_plan_dft_r2c_2d(
        height, width, reinterpret_cast<float*>(d->current.get()), d->current.get(), FFTW_MEASURE));
    d->inverse.reset(fftwf_plan_dft_c2r_2d(height, width, d->cross.get(),
                                           reinterpret_cast<float*>(d->cross.get()), FFTW_MEASURE));
    if (!d->forward || !d->inverse)
        d->width = d->height = 0;
}

PhaseCorrelator::~PhaseCorrelator() = default;

int PhaseCorrelator::width() const {
    return d->width;
}

int PhaseCorrelator::height() const {
    return d->height;
}

bool PhaseCorrelator::hasReference() const {
    return d->referenceValid;
}

void PhaseCorrelator::clearReference() {
    d->referenceValid = false;
}

bool PhaseCorrelator::setReference(const PixelBuffer& picture) {
    if (d->width == 0 || !d->fits(picture))
        return false;
    d->referenceTextured = d->loadGrey(picture, d->reference.get());
    d->transform(d->reference.get());
    d->referenceValid = true;
    return true;
}

std::optional<PhaseCorrelator::Shift> PhaseCorrelator::measure(const PixelBuffer& target) {
    if (d->width == 0 || !d->fits(target))
        return std::nullopt;
    const bool textured = d->loadGrey(target, d->current.get());
    d->transform(d->current.get());
    const bool usable = d->referenceValid && d->referenceTextured && textured;
    // The target's spectrum is the next reference whatever the outcome.
    std::swap(d->current, d->reference);
    d->referenceValid = true;
    d->referenceTextured = textured;
    if (!usable)
        return std::nullopt;

    // Cross-power spectrum reference · conj(target), reduced to its phase: its inverse peaks at
    // the translation that moves the target onto the reference.
    const fftwf_complex* ref = d->current.get(); // swapped above: this is the old reference
    const fftwf_complex* tgt = d->reference.get();
    fftwf_complex* cross = d->cross.get();
    const std::size_t bins = d->bins();
#pragma omp simd
    for (std::size_t i = 0; i < bins; ++i) {
        const float re = ref[i][0] * tgt[i][0] + ref[i][1] * tgt[i][1];
        const float im = ref[i][1] * tgt[i][0] - ref[i][0] * tgt[i][1];
        // Empty bins stay zero: 0 · (1 / tiny) = 0.
        const float scale = 1.0f / (std::sqrt(re * re + im * im) + 1e-30f);
        cross[i][0] = re * scale;
        cross[i][1] = im * scale;
    }
    // The window's own spectrum (times each picture's mean) sits in these bins.
    const int sw = d->spectrumWidth;
    const int h = d->height;
    for (int ky : {0, 1, h - 1})
        for (int kx : {0, 1}) {
            cross[std::size_t(ky) * std::size_t(sw) + std::size_t(kx)][0] = 0;
            cross[std::size_t(ky) * std::size_t(sw) + std::size_t(kx)][1] = 0;
        }
    fftwf_execute_dft_c2r(d->inverse.get(), d->cross.get(),
                          reinterpret_cast<float*>(d->cross.get()));

    const int w = d->width;
    const float* surface = reinterpret_cast<const float*>(d->cross.get());
    const std::size_t stride = d->rowFloats();
    // Highest row maximum first (vectorises), then its position within that row.
    int py = 0;
    float peak = -std::numeric_limits<float>::infinity();
    for (int y = 0; y < h; ++y) {
        const float* row = surface + std::size_t(y) * stride;
        float rowMax = -std::numeric_limits<float>::infinity();
#pragma omp simd reduction(max : rowMax)
        for (int x = 0; x < w; ++x)
            rowMax = row[x] > rowMax ? row[x] : rowMax;
        if (rowMax > peak) {
            peak = rowMax;
            py = y;
        }
    }
    const float* peakRow = surface + std::size_t(py) * stride;
    const int px = int(std::find(peakRow, peakRow + w, peak) - peakRow);
    if (px >= w)
        return std::nullopt; // NaN in the surface
    const double response = double(peak) / double(d->pixels());
    if (!std::isfinite(response) || response < minResponse)
        return std::nullopt;

    auto at = [&](int x, int y) {
        x = (x + w) % w;
        y = (y + h) % h;
        return surface[std::size_t(y) * stride + std::size_t(x)];
    };
    double x = px + peakOffset(at(px - 1, py), peak, at(px + 1, py));
    double y = py + peakOffset(at(px, py - 1), peak, at(px, py + 1));
    // Peaks past the middle are negative shifts (the surface wraps around).
    if (x > w / 2.0)
        x -= w;
    if (y > h / 2.0)
        y -= h;
    if (!std::isfinite(x) || !std::isfinite(y))
        return std::nullopt;
    return Shift{x, y, response};
}
