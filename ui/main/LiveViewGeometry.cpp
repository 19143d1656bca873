#include "ui/main/LiveViewGeometry.h"

#include <cmath>

namespace {

RectD inverseMap(const AxisTransform& t, const RectD& r) {
    const AxisTransform inverse{1 / t.sx, 1 / t.sy, -t.tx / t.sx, -t.ty / t.sy};
    return inverse.map(r);
}

} // namespace

std::optional<TextureDraw> liveViewDraw(SizeD frame, SizeD view, double zoom, PointD offset) {
    if (frame.isEmpty() || view.isEmpty())
        return std::nullopt;
    if (!std::isfinite(zoom))
        zoom = 1;
    if (!std::isfinite(offset.x) || !std::isfinite(offset.y))
        offset = {};
    const ImageLayer turned = halfTurn(sourceLayer(LayerSource::macro, frame));
    const ImageLayer layer = macroInset(turned, view.width, view.height, zoom, offset);
    const RectD visible = layer.extent().intersected(layer.clip);
    if (visible.isEmpty() || layer.transform.sx == 0 || layer.transform.sy == 0)
        return std::nullopt;
    return TextureDraw{visible, inverseMap(layer.transform, visible), layer.transform.sx < 0,
                       layer.transform.sy < 0};
}
