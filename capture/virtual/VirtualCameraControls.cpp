#include "capture/virtual/VirtualCameraControls.h"

#include "capture/virtual/VirtualDevices.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int defaultExposure = 250;
constexpr int neutralTemperature = 4600;
constexpr int neutralBrightness = 128;

CameraControl rangeControl(CameraControlId id, int minimum, int maximum, int step, int value) {
    CameraControl control;
    control.id = id;
    control.kind = CameraControlKind::range;
    control.minimum = minimum;
    control.maximum = maximum;
    control.step = step;
    control.defaultValue = value;
    control.value = value;
    return control;
}

CameraControl toggleControl(CameraControlId id, int value) {
    CameraControl control = rangeControl(id, 0, 1, 1, value);
    control.kind = CameraControlKind::toggle;
    return control;
}

int valueOf(const VirtualControlValues& values, CameraControlId id) {
    return values[std::size_t(id)];
}

} // namespace

const std::vector<CameraControl>& virtualControlTable() {
    static const std::vector<CameraControl> table = [] {
        CameraControl powerLine;
        powerLine.id = CameraControlId::powerLineFrequency;
        powerLine.kind = CameraControlKind::choice;
        powerLine.minimum = 0;
        powerLine.maximum = 2;
        powerLine.defaultValue = powerLine.value = int(PowerLineFrequency::hz60);
        powerLine.choices = {int(PowerLineFrequency::off), int(PowerLineFrequency::hz50),
                             int(PowerLineFrequency::hz60)};
        return std::vector<CameraControl>{
            powerLine,
            toggleControl(CameraControlId::exposureAuto, 1),
            rangeControl(CameraControlId::exposure, 3, 2047, 1, defaultExposure),
            toggleControl(CameraControlId::whiteBalanceAuto, 1),
            rangeControl(CameraControlId::whiteBalanceTemperature, 2000, 6500, 10,
                         neutralTemperature),
            toggleControl(CameraControlId::focusAuto, 1),
            rangeControl(CameraControlId::focus, 0, 250, 5, 0),
            rangeControl(CameraControlId::brightness, 0, 255, 1, neutralBrightness),
            rangeControl(CameraControlId::contrast, 0, 255, 1, 128),
            rangeControl(CameraControlId::saturation, 0, 255, 1, 128),
            rangeControl(CameraControlId::sharpness, 0, 255, 1, 128),
        };
    }();
    return table;
}

VirtualControlValues virtualControlDefaults() {
    VirtualControlValues values{};
    for (const CameraControl& control : virtualControlTable())
        values[std::size_t(control.id)] = control.defaultValue;
    return values;
}

std::vector<CameraControl> VirtualCameraControls::list() {
    const auto state = m_devices->state(m_id);
    if (!state || !state->present)
        return {};
    std::vector<CameraControl> controls = virtualControlTable();
    for (CameraControl& control : controls) {
        control.value = valueOf(state->controls, control.id);
        if (const auto automatic = automaticSwitchOf(control.id))
            control.inactive = valueOf(state->controls, *automatic) == 1;
    }
    return controls;
}

std::optional<QString> VirtualCameraControls::set(CameraControlId id, int value) {
    const auto state = m_devices->state(m_id);
    if (!state || !state->present)
        return QStringLiteral("Gerät getrennt");
    if (state->refusedControls.contains(cameraControlKey(id)))
        return QStringLiteral("Kamera ist beschäftigt (EBUSY)");
    const auto& table = virtualControlTable();
    const auto control = std::find_if(table.begin(), table.end(),
                                      [id](const CameraControl& c) { return c.id == id; });
    if (!control->accepts(value))
        return QStringLiteral("Wert %1 außerhalb des Bereichs").arg(value);
    // Like a UVC camera: a manual value is refused while its automatic mode is on.
    if (const auto automatic = automaticSwitchOf(id);
        automatic && valueOf(state->controls, *automatic) == 1)
        return QStringLiteral("gerade nicht einstellbar (EACCES)");
    m_devices->setControlValue(m_id, id, value);
    return std::nullopt;
}

std::optional<PictureAdjustment> pictureAdjustment(const VirtualControlValues& values) {
    const double gain = valueOf(values, CameraControlId::exposureAuto) == 1
                            ? 1.0
                            : double(valueOf(values, CameraControlId::exposure)) / defaultExposure;
    const int offset = valueOf(values, CameraControlId::brightness) - neutralBrightness;
    // A camera set for warmer light than there is turns the picture blue, and the other way.
    const double warmth =
        valueOf(values, CameraControlId::whiteBalanceAuto) == 1
            ? 0.0
            : 0.6 *
                  double(valueOf(values, CameraControlId::whiteBalanceTemperature) -
                         neutralTemperature) /
                  neutralTemperature;
    if (gain == 1.0 && offset == 0 && warmth == 0.0)
        return std::nullopt;
    const std::array<double, 3> channelGain{gain * (1.0 - warmth), gain, gain * (1.0 + warmth)};
    PictureAdjustment adjustment;
    for (std::size_t channel = 0; channel < 3; ++channel)
        for (int v = 0; v < 256; ++v)
            adjustment.table[channel][std::size_t(v)] = std::uint8_t(
                std::clamp(int(std::lround(v * channelGain[channel])) + offset, 0, 255));
    return adjustment;
}

void PictureAdjustment::apply(const PixelBuffer& picture) const {
    for (int y = 0; y < picture.height(); ++y) {
        std::uint8_t* pixel = picture.row(y);
        for (int x = 0; x < picture.width(); ++x, pixel += 4) {
            pixel[0] = table[0][pixel[0]];
            pixel[1] = table[1][pixel[1]];
            pixel[2] = table[2][pixel[2]];
        }
    }
}
