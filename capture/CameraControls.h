#pragma once

#include <QString>

#include <memory>
#include <optional>
#include <vector>

// The picture controls a camera may offer. The order is the order they are shown and applied
// in: each automatic switch comes before the manual value it governs, since a camera refuses
// the value while its automatic mode is on.
enum class CameraControlId {
    powerLineFrequency,
    exposureAuto,
    exposure,
    whiteBalanceAuto,
    whiteBalanceTemperature,
    focusAuto,
    focus,
    brightness,
    contrast,
    saturation,
    sharpness,
};
inline constexpr int cameraControlCount = int(CameraControlId::sharpness) + 1;

// The choices of the power-line frequency (the values V4L2 uses too).
enum class PowerLineFrequency { off = 0, hz50 = 1, hz60 = 2, automatic = 3 };

enum class CameraControlKind {
    toggle, // 0 or 1; for the automatic switches 1 is automatic
    range,  // minimum .. maximum in steps of `step`
    choice, // one of `choices`
};

// One control as the camera reports it now.
struct CameraControl {
    CameraControlId id = CameraControlId::brightness;
    CameraControlKind kind = CameraControlKind::range;
    int minimum = 0;
    int maximum = 0;
    int step = 1;
    int defaultValue = 0;
    int value = 0;
    std::vector<int> choices;
    // Offered, but without effect now (a manual value while its automatic mode is on).
    bool inactive = false;

    // Whether `value` is one the control takes: one of its choices, or within its range.
    bool accepts(int value) const;

    friend bool operator==(const CameraControl&, const CameraControl&) = default;
};

// The controls of one camera, while it is connected. Calls may block on the device for a
// moment; make them off the main thread.
class CameraControls {
public:
    virtual ~CameraControls() = default;
    // What the camera offers, with its current values, in the order of `CameraControlId`.
    virtual std::vector<CameraControl> list() = 0;
    // Sets one control; the reason when the camera refuses (or the value is out of range).
    virtual std::optional<QString> set(CameraControlId id, int value) = 0;
};

// The name a control is stored and logged under ("exposure", "powerLineFrequency").
QString cameraControlKey(CameraControlId id);
std::optional<CameraControlId> cameraControlFromKey(const QString& key);
// The automatic switch that makes `id` inactive while on; none for controls without one.
std::optional<CameraControlId> automaticSwitchOf(CameraControlId id);
