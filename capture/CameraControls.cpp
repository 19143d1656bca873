#include "capture/CameraControls.h"

#include <algorithm>

#include <array>

namespace {

constexpr std::array<const char*, cameraControlCount> keys{
    "powerLineFrequency",
    "exposureAuto",
    "exposure",
    "whiteBalanceAuto",
    "whiteBalanceTemperature",
    "focusAuto",
    "focus",
    "brightness",
    "contrast",
    "saturation",
    "sharpness",
};

} // namespace

QString cameraControlKey(CameraControlId id) {
    return QLatin1String(keys[std::size_t(id)]);
}

std::optional<CameraControlId> cameraControlFromKey(const QString& key) {
    for (int i = 0; i < cameraControlCount; ++i)
        if (key == QLatin1String(keys[std::size_t(i)]))
            return CameraControlId(i);
    return std::nullopt;
}

std::optional<CameraControlId> automaticSwitchOf(CameraControlId id) {
    switch (id) {
    case CameraControlId::exposure:
        return CameraControlId::exposureAuto;
    case CameraControlId::whiteBalanceTemperature:
        return CameraControlId::whiteBalanceAuto;
    case CameraControlId::focus:
        return CameraControlId::focusAuto;
    default:
        return std::nullopt;
    }
}

bool CameraControl::accepts(int value) const {
    if (kind == CameraControlKind::choice)
        return std::find(choices.begin(), choices.end(), value) != choices.end();
    return value >= minimum && value <= maximum;
}
