#pragma once

#include <QPointF>

// What the stabiliser hands out for one Macro frame: the crop offset as fractions of the
// frame's width (x) and height (y), applied to the half-turned picture with x to the right and
// y upwards (the composite layout's convention), and the crop zoom (1.0 = no crop).
struct StabilizationResult {
    QPointF offset;
    double zoom = 1.0;
};
