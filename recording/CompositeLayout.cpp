#include "recording/CompositeLayout.h"

#include <algorithm>
#include <cmath>
#include <limits>

RectD RectD::infinite() {
    constexpr double big = std::numeric_limits<double>::max() / 4;
    return {-big, -big, 2 * big, 2 * big};
}

RectD RectD::intersected(const RectD& other) const {
    if (isEmpty() || other.isEmpty())
        return {};
    const double left = std::max(x, other.x);
    const double top = std::max(y, other.y);
    const double right = std::min(maxX(), other.maxX());
    const double bottom = std::min(maxY(), other.maxY());
    if (!(right > left && bottom > top))
        return {};
    return {left, top, right - left, bottom - top};
}

RectD AxisTransform::map(const RectD& r) const {
    const PointD a = map(PointD{r.x, r.y});
    const PointD b = map(PointD{r.maxX(), r.maxY()});
    const double left = std::min(a.x, b.x);
    const double top = std::min(a.y, b.y);
    return {left, top, std::max(a.x, b.x) - left, std::max(a.y, b.y) - top};
}

AxisTransform AxisTransform::then(const AxisTransform& next) const {
    return {next.sx * sx, next.sy * sy, next.sx * tx + next.tx, next.sy * ty + next.ty};
}

RectD ImageLayer::extent() const {
    if (sourceSize.isEmpty())
        return {};
    return transform.map(RectD{0, 0, sourceSize.width, sourceSize.height}).intersected(clip);
}

ImageLayer sourceLayer(LayerSource source, SizeD size) {
    ImageLayer layer;
    layer.source = source;
    layer.sourceSize = size;
    return layer;
}

ImageLayer transformed(const ImageLayer& image, const AxisTransform& t) {
    ImageLayer out = image;
    out.transform = image.transform.then(t);
    // An unbounded clip stays unbounded; mapping it would overflow.
    const RectD all = RectD::infinite();
    if (image.clip.x != all.x || image.clip.width != all.width || image.clip.y != all.y ||
        image.clip.height != all.height)
        out.clip = t.map(image.clip);
    return out;
}

ImageLayer cropped(const ImageLayer& image, const RectD& rect) {
    ImageLayer out = image;
    out.clip = image.clip.intersected(rect);
    return out;
}

ImageLayer halfTurn(const ImageLayer& image) {
    const RectD e = image.extent();
    // (x, y) → (w − x, h − y) about the extent, which stays where it is.
    return transformed(image, AxisTransform{-1, -1, e.x + e.maxX(), e.y + e.maxY()});
}

ImageLayer aspectFill(const ImageLayer& image, double width, double height) {
    const RectD e = image.extent();
    if (e.isEmpty())
        return image;
    const double s = std::max(width / e.width, height / e.height);
    const ImageLayer scaled = transformed(image, AxisTransform::scaling(s));
    const RectD se = scaled.extent();
    const ImageLayer centred =
        transformed(scaled, AxisTransform::translation((width - se.width) * 0.5 - se.x,
                                                       (height - se.height) * 0.5 - se.y));
    return cropped(centred, RectD{0, 0, width, height});
}

ImageLayer macroInset(const ImageLayer& macro, double insetW, double insetH, double zoom,
                      PointD offset) {
    const RectD e = macro.extent();
    const double z = std::max(zoom, 1.0);
    const double cropW = e.width / z;
    const double cropH = e.height / z;
    // Centred on the frame, shifted by the offset's fractions of the full frame. A positive y
    // moves the crop toward the top of the picture.
    const double cx = offset.x * e.width + e.x + (e.width - cropW) * 0.5;
    const double cy = e.y + (e.height - cropH) * 0.5 - offset.y * e.height;
    const double s = std::max(insetW / cropW, insetH / cropH);
    ImageLayer m = transformed(macro, AxisTransform::translation(-cx, -cy));
    m = transformed(m, AxisTransform::scaling(s));
    m = transformed(
        m, AxisTransform::translation((insetW - cropW * s) * 0.5, (insetH - cropH * s) * 0.5));
    return cropped(m, RectD{0, 0, insetW, insetH});
}

SizeD exactInsetSize(double width, double macroFraction) {
    const double w = width * macroFraction;
    return {w, w * 9.0 * 0.0625};
}

SizeD insetSize(double canvasWidth, double macroFraction) {
    const double w = std::round(exactInsetSize(canvasWidth, macroFraction).width);
    return {w, std::round(exactInsetSize(w, 1.0).height)};
}

namespace {

struct SafeInputs {
    double fraction;
    double zoom;
    PointD offset;
};

SafeInputs makeSafe(const CompositeInputs& in) {
    SafeInputs safe;
    safe.fraction = std::isnan(in.macroFraction)
                        ? defaultMacroFraction
                        : std::clamp(in.macroFraction, minMacroFraction, maxMacroFraction);
    safe.zoom = std::isfinite(in.macroZoom) ? std::max(in.macroZoom, 1.0) : 1.0;
    // Beyond ±2 frame sizes the crop is off the frame whatever the zoom; the bound keeps the
    // arithmetic finite.
    auto bounded = [](double v) { return std::isfinite(v) ? std::clamp(v, -2.0, 2.0) : 0.0; };
    safe.offset = {bounded(in.macroOffset.x), bounded(in.macroOffset.y)};
    return safe;
}

bool validCanvas(SizeD canvas) {
    return std::isfinite(canvas.width) && std::isfinite(canvas.height) && !canvas.isEmpty();
}

} // namespace

RectD insetRect(const CompositeInputs& inputs) {
    if (!inputs.macro || !validCanvas(inputs.canvas))
        return {};
    const SafeInputs safe = makeSafe(inputs);
    const SizeD inset = insetSize(inputs.canvas.width, safe.fraction);
    const double x = std::round((inputs.canvas.width - inset.width) * 0.5);
    return {x, inputs.canvas.height - inset.height, inset.width, inset.height};
}

CompositePlan composeFrame(const CompositeInputs& inputs) {
    CompositePlan plan;
    plan.size = inputs.canvas;
    if (!validCanvas(inputs.canvas))
        return plan;
    const double W = inputs.canvas.width;
    const double H = inputs.canvas.height;

    plan.layers.push_back(
        cropped(aspectFill(halfTurn(sourceLayer(LayerSource::wide, inputs.wide)), W, H),
                RectD{0, 0, W, H}));

    if (inputs.macro) {
        const SafeInputs safe = makeSafe(inputs);
        const RectD place = insetRect(inputs);
        ImageLayer m = halfTurn(sourceLayer(LayerSource::macro, *inputs.macro));
        if (!m.extent().isEmpty() && !place.isEmpty())
            m = macroInset(m, place.width, place.height, safe.zoom, safe.offset);
        m = cropped(transformed(m, AxisTransform::translation(place.x, place.y)), place);
        plan.layers.push_back(m);
    }

    if (inputs.overlay && !inputs.overlay->isEmpty())
        plan.layers.push_back(
            cropped(sourceLayer(LayerSource::overlay, *inputs.overlay), RectD{0, 0, W, H}));
    return plan;
}

CompositePlan stampOverlay(const ImageLayer& image, std::optional<SizeD> overlay) {
    CompositePlan plan;
    const RectD e = image.extent();
    plan.size = {e.maxX() > 0 ? e.maxX() : 0, e.maxY() > 0 ? e.maxY() : 0};
    plan.layers.push_back(image);
    if (!overlay || overlay->isEmpty() || e.isEmpty())
        return plan;
    ImageLayer o = sourceLayer(LayerSource::overlay, *overlay);
    o = transformed(o,
                    AxisTransform::scaling(e.width / overlay->width, e.height / overlay->height));
    const RectD oe = o.extent();
    plan.layers.push_back(transformed(o, AxisTransform::translation(e.x - oe.x, e.y - oe.y)));
    return plan;
}
