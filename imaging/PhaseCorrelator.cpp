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

// Below a deviation of about a quarter of an 8-bit level there is nothing to correlate.
bool textured(double sum, double sumSquares, double count) {
    const double mean = sum / count;
    return sumSquares / count - mean * mean > 1.0;
}

} // namespace

// Phase correlation at one transform size: windowed grey spectra of picture areas, and the
// translation between two such spectra. The area may be narrower than the transform; `load`
// fills the columns to its right with zeros.
struct PhaseCorrelator::Stage {
    struct Spectrum {
        FftwArray<fftwf_complex> bins;
        bool textured = false;
    };

    int width = 0;
    int height = 0;
    int areaWidth = 0;
    int spectrumWidth = 0;
    std::vector<float> windowX;
    std::vector<float> windowY;
    FftwArray<float> grey;             // windowed picture, then the correlation surface
    std::vector<std::int16_t> greyRow; // one row's grey values before windowing
    std::vector<std::int16_t> pairRow; // two rows' grey values summed, for halving
    FftwArray<fftwf_complex> cross;
    Plan forward;
    Plan inverse;

    Stage(int w, int h, int area) : width(w), height(h), areaWidth(area), spectrumWidth(w / 2 + 1) {
        windowX = hanning(areaWidth);
        windowY = hanning(height);
        greyRow.resize(std::size_t(areaWidth));
        pairRow.resize(2 * std::size_t(areaWidth));
        grey = fftwArray<float>(pixels());
        cross = fftwArray<fftwf_complex>(bins());
        if (!grey || !cross)
            return;
        std::lock_guard lock(plannerLock());
        // FFTW_MEASURE overwrites the arrays while planning; they hold nothing yet. The cost is
        // paid once per size and process (FFTW remembers what it measured). Out of place:
        // FFTW's in-place 2-D real transforms copy every row through a buffer.
        forward.reset(fftwf_plan_dft_r2c_2d(height, width, grey.get(), cross.get(), FFTW_MEASURE));
        inverse.reset(fftwf_plan_dft_c2r_2d(height, width, cross.get(), grey.get(), FFTW_MEASURE));
    }

    bool valid() const { return forward && inverse; }
    std::size_t pixels() const { return std::size_t(width) * std::size_t(height); }
    std::size_t bins() const { return std::size_t(spectrumWidth) * std::size_t(height); }

    Spectrum makeSpectrum() const { return {fftwArray<fftwf_complex>(bins()), false}; }

    // The spectrum of the windowed grey values (b + 2g + r) of the areaWidth × height pixels at
    // (left, top), or of the twice as wide and high area there summed in 2 × 2 blocks. The
    // picture's mean, multiplied by the window, would correlate with itself at zero shift in
    // every pair; `correlate` removes it by clearing the lowest frequencies.
    void load(const PixelBuffer& picture, int left, int top, bool halved, Spectrum& into) {
        double sum = 0;
        double sumSquares = 0;
        const float* wx = windowX.data();
        std::int16_t* row = greyRow.data();
        for (int y = 0; y < height; ++y) {
            if (halved) {
                // Both rows' grey values first, then pairs of them: loops that vectorise.
                const std::uint8_t* p = picture.row(top + 2 * y) + 4 * std::ptrdiff_t(left);
                const std::uint8_t* q = picture.row(top + 2 * y + 1) + 4 * std::ptrdiff_t(left);
                std::int16_t* pair = pairRow.data();
#pragma omp simd
                for (int x = 0; x < 2 * areaWidth; ++x)
                    pair[x] = std::int16_t(p[4 * x] + 2 * p[4 * x + 1] + p[4 * x + 2] + q[4 * x] +
                                           2 * q[4 * x + 1] + q[4 * x + 2]);
#pragma omp simd
                for (int x = 0; x < areaWidth; ++x)
                    row[x] = std::int16_t(pair[2 * x] + pair[2 * x + 1]);
            } else {
                const std::uint8_t* p = picture.row(top + y) + 4 * std::ptrdiff_t(left);
#pragma omp simd
                for (int x = 0; x < areaWidth; ++x)
                    row[x] = std::int16_t(p[4 * x] + 2 * p[4 * x + 1] + p[4 * x + 2]);
            }
            float* out = grey.get() + std::size_t(y) * std::size_t(width);
            const float wy = windowY[std::size_t(y)];
            // 64-bit sums: a halved row of 1024 values up to 4080 overflows 32 bits squared.
            std::int64_t rowSum = 0;
            std::int64_t rowSquares = 0;
#pragma omp simd reduction(+ : rowSum, rowSquares)
            for (int x = 0; x < areaWidth; ++x) {
                const std::int32_t g = row[x];
                out[x] = float(g) * (wy * wx[x]);
                rowSum += g;
                rowSquares += std::int64_t(g) * g;
            }
            // The correlation surface of the last measurement is still in the padding.
            std::fill(out + areaWidth, out + width, 0.0f);
            sum += double(rowSum);
            sumSquares += double(rowSquares);
        }
        // Compare in units of one pixel's grey value whatever the block size.
        const double scale = halved ? 0.25 : 1.0;
        into.textured =
            textured(sum * scale, sumSquares * scale * scale, double(areaWidth) * double(height));
        fftwf_execute_dft_r2c(forward.get(), grey.get(), into.bins.get());
    }

    // The translation that moves `target` onto `reference`, in transform pixels.
    std::optional<Shift> correlate(const Spectrum& reference, const Spectrum& target) {
        if (!reference.textured || !target.textured)
            return std::nullopt;
        // Cross-power spectrum reference · conj(target), reduced to its phase: its inverse
        // peaks at the translation that moves the target onto the reference.
        const fftwf_complex* ref = reference.bins.get();
        const fftwf_complex* tgt = target.bins.get();
        fftwf_complex* c = cross.get();
        const std::size_t n = bins();
#pragma omp simd
        for (std::size_t i = 0; i < n; ++i) {
            const float re = ref[i][0] * tgt[i][0] + ref[i][1] * tgt[i][1];
            const float im = ref[i][1] * tgt[i][0] - ref[i][0] * tgt[i][1];
            // Empty bins stay zero: 0 · (1 / tiny) = 0.
            const float scale = 1.0f / (std::sqrt(re * re + im * im) + 1e-30f);
            c[i][0] = re * scale;
            c[i][1] = im * scale;
        }
        // The window's own spectrum (times each picture's mean) sits in these bins.
        const int sw = spectrumWidth;
        const int h = height;
        for (int ky : {0, 1, h - 1})
            for (int kx : {0, 1}) {
                c[std::size_t(ky) * std::size_t(sw) + std::size_t(kx)][0] = 0;
                c[std::size_t(ky) * std::size_t(sw) + std::size_t(kx)][1] = 0;
            }
        fftwf_execute_dft_c2r(inverse.get(), cross.get(), grey.get());

        const int w = width;
        const float* surface = grey.get();
        const std::size_t stride = std::size_t(w);
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
        const double response = double(peak) / double(pixels());
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
};

// Two measurements: the whole picture at half resolution finds the shift to about a quarter
// pixel, then a centre window at full resolution, cut from the target where the coarse shift
// says the reference's window content now is, refines it. Both transforms are a fifth to a
// quarter of the picture's size, and of sizes FFTW is fast at (powers of two, 3 · 2ⁿ).
struct PhaseCorrelator::Impl {
    int width = 0; // picture size
    int height = 0;
    std::unique_ptr<Stage> coarse; // the picture halved, rows trimmed to the transform height
    std::unique_ptr<Stage> fine;   // the centre window at full resolution
    Stage::Spectrum coarseReference, coarseTarget;
    Stage::Spectrum fineReference, fineTarget;
    bool referenceValid = false;

    bool fits(const PixelBuffer& picture) const {
        return coarse && !picture.isNull() && picture.width() == width &&
               picture.height() == height;
    }
    int coarseTop() const { return (height - 2 * coarse->height) / 2; }
    int windowLeft() const { return (width - fine->width) / 2; }
    int windowTop() const { return (height - fine->height) / 2; }
};

namespace {

// Largest n · 2^k (n = 1, 3, 5 or 15) not above `limit`: sizes FFTW transforms fast.
int fastSize(int limit) {
    int best = 1;
    for (int n : {1, 3, 5, 15})
        for (int size = n; size <= limit; size *= 2)
            best = std::max(best, size);
    return best;
}

// The smallest power of two at or above `n`.
int powerOfTwoAbove(int n) {
    int size = 1;
    while (size < n)
        size *= 2;
    return size;
}

} // namespace

PhaseCorrelator::PhaseCorrelator(int width, int height) : d(std::make_unique<Impl>()) {
    if (width < 64 || height < 64 || width > 4096 || height > 4096)
        return;
    // 960 × 540: coarse 480 × 256 in a 512 × 256 transform, fine window 384 × 256.
    const int coarseHeight = fastSize(height / 2);
    const int coarseArea = width / 2;
    auto coarse = std::make_unique<Stage>(powerOfTwoAbove(coarseArea), coarseHeight, coarseArea);
    const int fineWidth = fastSize(width * 2 / 5);
    auto fine = std::make_unique<Stage>(fineWidth, coarseHeight, fineWidth);
    if (!coarse->valid() || !fine->valid())
        return;
    d->coarseReference = coarse->makeSpectrum();
    d->coarseTarget = coarse->makeSpectrum();
    d->fineReference = fine->makeSpectrum();
    d->fineTarget = fine->makeSpectrum();
    if (!d->coarseReference.bins || !d->coarseTarget.bins || !d->fineReference.bins ||
        !d->fineTarget.bins)
        return;
    d->width = width;
    d->height = height;
    d->coarse = std::move(coarse);
    d->fine = std::move(fine);
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
    if (!d->fits(picture))
        return false;
    d->coarse->load(picture, 0, d->coarseTop(), true, d->coarseReference);
    d->fine->load(picture, d->windowLeft(), d->windowTop(), false, d->fineReference);
    d->referenceValid = true;
    return true;
}

std::optional<PhaseCorrelator::Shift> PhaseCorrelator::measure(const PixelBuffer& target) {
    if (!d->fits(target))
        return std::nullopt;
    Stage& fine = *d->fine;
    d->coarse->load(target, 0, d->coarseTop(), true, d->coarseTarget);
    std::optional<Shift> coarse;
    if (d->referenceValid)
        coarse = d->coarse->correlate(d->coarseReference, d->coarseTarget);
    std::optional<Shift> result;
    bool centreLoaded = false;
    if (coarse) {
        result = Shift{2 * coarse->x, 2 * coarse->y, coarse->response};
        // Where the reference's window content lies in the target: the shift moves the target
        // onto the reference, so the content moved by −shift.
        const int left =
            std::clamp(d->windowLeft() - int(std::lround(result->x)), 0, d->width - fine.width);
        const int top =
            std::clamp(d->windowTop() - int(std::lround(result->y)), 0, d->height - fine.height);
        fine.load(target, left, top, false, d->fineTarget);
        centreLoaded = left == d->windowLeft() && top == d->windowTop();
        if (const auto refined = fine.correlate(d->fineReference, d->fineTarget)) {
            const double x = refined->x + (d->windowLeft() - left);
            const double y = refined->y + (d->windowTop() - top);
            // A window cut at the wrong place (clamped at the edge, a coarse outlier) shows as
            // a refinement far from the coarse shift; the coarse shift stands then.
            if (std::abs(x - result->x) <= 2.0 && std::abs(y - result->y) <= 2.0)
                result = Shift{x, y, refined->response};
        }
    }
    // The target is the next reference whatever the outcome.
    std::swap(d->coarseReference, d->coarseTarget);
    if (centreLoaded)
        std::swap(d->fineReference, d->fineTarget);
    else
        fine.load(target, d->windowLeft(), d->windowTop(), false, d->fineReference);
    d->referenceValid = true;
    return result;
}
