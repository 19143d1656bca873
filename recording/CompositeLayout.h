#pragma once

// The composite picture as a description of rectangles and transforms, not pixels. Recording,
// photos and the live view all execute the same description, so they cannot disagree.
//
// Coordinates are pixels with the origin at the top-left corner and y growing downward; pixel
// (i, j) covers [i, i+1] × [j, j+1]. The inset therefore sits flush with the bottom edge.

#include <optional>
#include <vector>

struct PointD {
    double x = 0;
    double y = 0;
};

struct SizeD {
    double width = 0;
    double height = 0;
    bool isEmpty() const { return !(width > 0 && height > 0); } // NaN counts as empty
};

struct RectD {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    bool isEmpty() const { return !(width > 0 && height > 0); }
    RectD intersected(const RectD& other) const;
    static RectD infinite();
};

// p' = scale · p + translation, per axis. A negative scale mirrors that axis.
struct AxisTransform {
    double sx = 1;
    double sy = 1;
    double tx = 0;
    double ty = 0;

    static AxisTransform translation(double dx, double dy) { return {1, 1, dx, dy}; }
    static AxisTransform scaling(double s) { return {s, s, 0, 0}; }
    static AxisTransform scaling(double x, double y) { return {x, y, 0, 0}; }

    PointD map(PointD p) const { return {sx * p.x + tx, sy * p.y + ty}; }
    RectD map(const RectD& r) const;                     // the bounds of the mapped rectangle
    AxisTransform then(const AxisTransform& next) const; // this first, then `next`
};

enum class LayerSource { wide, macro, overlay };

// One picture placed on the output: the source's rectangle (0, 0, sourceSize) mapped by
// `transform` and clipped to `clip`, both in output coordinates. Camera pictures are opaque;
// the overlay is premultiplied and laid over what is below it.
struct ImageLayer {
    LayerSource source = LayerSource::wide;
    SizeD sourceSize;
    AxisTransform transform;
    RectD clip = RectD::infinite();

    RectD extent() const;
};

// Layers drawn bottom to top over opaque black, visible area (0, 0, size).
struct CompositePlan {
    SizeD size;
    std::vector<ImageLayer> layers;
};

// What one composite is made of: the sizes of the pictures, not the pictures themselves.
struct CompositeInputs {
    SizeD wide;
    std::optional<SizeD> macro; // absent while the Macro camera has delivered nothing
    SizeD canvas{1920, 1080};
    double macroFraction = 0.3;
    double macroZoom = 1.0;
    PointD macroOffset; // fractions of the Macro frame's size, on the turned image, y upwards
    std::optional<SizeD> overlay; // watermark, made at canvas size
};

constexpr double defaultMacroFraction = 0.3;
constexpr double minMacroFraction = 0.1;
constexpr double maxMacroFraction = 0.7;

ImageLayer sourceLayer(LayerSource source, SizeD size);
ImageLayer transformed(const ImageLayer& image, const AxisTransform& t);
ImageLayer cropped(const ImageLayer& image, const RectD& rect);

// Half a turn inside the image's own extent: (x, y) → (w − x, h − y).
ImageLayer halfTurn(const ImageLayer& image);
// Covers (0, 0, width, height) with the image, centred, aspect ratio kept, then crops to it.
ImageLayer aspectFill(const ImageLayer& image, double width, double height);
// The zoomed and shifted crop of the Macro picture, scaled to cover (0, 0, insetW, insetH).
// The crop is not clamped: where it leaves the frame the inset is empty.
ImageLayer macroInset(const ImageLayer& macro, double insetW, double insetH, double zoom,
                      PointD offset);

// Inset width and height for a width: the fraction of it, 16:9. The live view takes these as
// they are; a canvas in whole pixels takes `insetSize`.
SizeD exactInsetSize(double width, double macroFraction);
// Inset width and height for a canvas width: 16:9, rounded half away from zero.
SizeD insetSize(double canvasWidth, double macroFraction);
// Where the inset lies on the canvas (bottom centre); empty without a Macro picture.
RectD insetRect(const CompositeInputs& inputs);

// The whole composite. Out-of-range values are made safe first: a fraction outside 0.1…0.7 is
// clamped (NaN means the default 0.3), a zoom below 1 or not finite counts as 1, a non-finite
// offset as 0.
CompositePlan composeFrame(const CompositeInputs& inputs);
// A single camera picture (any size) with the overlay stretched over it exactly.
CompositePlan stampOverlay(const ImageLayer& image, std::optional<SizeD> overlay);
