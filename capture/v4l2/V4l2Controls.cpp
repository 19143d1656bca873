#include "capture/v4l2/V4l2Controls.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

QString controlErrorText(int error) {
    switch (std::abs(error)) {
    case EBUSY:
        return QStringLiteral("Kamera ist beschäftigt (EBUSY)");
    case EINVAL:
    case ERANGE:
        return QStringLiteral("Wert wird nicht angenommen (EINVAL)");
    case EACCES:
        return QStringLiteral("gerade nicht einstellbar (EACCES)");
    case ENODEV:
    case ENXIO:
        return QStringLiteral("Gerät getrennt");
    default:
        return QStringLiteral("Gerätefehler (%1)")
            .arg(QString::fromLocal8Bit(std::strerror(std::abs(error))));
    }
}

bool isAutomaticExposure(int menuValue) {
    return menuValue == V4L2_EXPOSURE_AUTO || menuValue == V4L2_EXPOSURE_APERTURE_PRIORITY;
}

} // namespace

unsigned v4l2ControlId(CameraControlId id) {
    switch (id) {
    case CameraControlId::powerLineFrequency:
        return V4L2_CID_POWER_LINE_FREQUENCY;
    case CameraControlId::exposureAuto:
        return V4L2_CID_EXPOSURE_AUTO;
    case CameraControlId::exposure:
        return V4L2_CID_EXPOSURE_ABSOLUTE;
    case CameraControlId::whiteBalanceAuto:
        return V4L2_CID_AUTO_WHITE_BALANCE;
    case CameraControlId::whiteBalanceTemperature:
        return V4L2_CID_WHITE_BALANCE_TEMPERATURE;
    case CameraControlId::focusAuto:
        return V4L2_CID_FOCUS_AUTO;
    case CameraControlId::focus:
        return V4L2_CID_FOCUS_ABSOLUTE;
    case CameraControlId::brightness:
        return V4L2_CID_BRIGHTNESS;
    case CameraControlId::contrast:
        return V4L2_CID_CONTRAST;
    case CameraControlId::saturation:
        return V4L2_CID_SATURATION;
    case CameraControlId::sharpness:
        return V4L2_CID_SHARPNESS;
    }
    return 0;
}

std::optional<CameraControl> V4l2Controls::query(CameraControlId id) {
    v4l2_queryctrl info{};
    info.id = v4l2ControlId(id);
    if (m_fd->ioctl(VIDIOC_QUERYCTRL, &info) < 0)
        return std::nullopt;
    if (info.flags & (V4L2_CTRL_FLAG_DISABLED | V4L2_CTRL_FLAG_READ_ONLY))
        return std::nullopt;
    CameraControl control;
    control.id = id;
    control.minimum = info.minimum;
    control.maximum = info.maximum;
    control.step = std::max(1, info.step);
    control.defaultValue = info.default_value;
    control.inactive = info.flags & V4L2_CTRL_FLAG_INACTIVE;
    v4l2_control current{};
    current.id = info.id;
    control.value = m_fd->ioctl(VIDIOC_G_CTRL, &current) < 0 ? info.default_value : current.value;

    if (info.type == V4L2_CTRL_TYPE_BOOLEAN) {
        control.kind = CameraControlKind::toggle;
    } else if (info.type == V4L2_CTRL_TYPE_MENU) {
        control.kind = CameraControlKind::choice;
        for (int index = info.minimum; index <= info.maximum; ++index) {
            v4l2_querymenu item{};
            item.id = info.id;
            item.index = std::uint32_t(index);
            if (m_fd->ioctl(VIDIOC_QUERYMENU, &item) == 0)
                control.choices.push_back(index);
        }
    } else if (info.type == V4L2_CTRL_TYPE_INTEGER) {
        control.kind = CameraControlKind::range;
    } else {
        return std::nullopt;
    }

    if (id == CameraControlId::exposureAuto) {
        // A switch between the camera's automatic mode and manual; useless without both.
        const auto& offered = control.choices;
        const bool manual =
            std::find(offered.begin(), offered.end(), int(V4L2_EXPOSURE_MANUAL)) != offered.end();
        if (!manual || !std::any_of(offered.begin(), offered.end(), isAutomaticExposure))
            return std::nullopt;
        control.kind = CameraControlKind::toggle;
        control.minimum = 0;
        control.maximum = 1;
        control.step = 1;
        control.value = isAutomaticExposure(control.value) ? 1 : 0;
        control.defaultValue = isAutomaticExposure(control.defaultValue) ? 1 : 0;
        control.choices.clear();
    }
    return control;
}

std::vector<CameraControl> V4l2Controls::list() {
    std::vector<CameraControl> controls;
    for (int i = 0; i < cameraControlCount; ++i)
        if (auto control = query(CameraControlId(i)))
            controls.push_back(*control);
    // Older drivers do not flag a manual value inactive while its automatic mode is on.
    for (CameraControl& control : controls)
        if (const auto automatic = automaticSwitchOf(control.id))
            for (const CameraControl& other : controls)
                if (other.id == *automatic && other.value == 1)
                    control.inactive = true;
    return controls;
}

std::optional<int> V4l2Controls::automaticExposureValue() {
    for (int candidate : {int(V4L2_EXPOSURE_APERTURE_PRIORITY), int(V4L2_EXPOSURE_AUTO)}) {
        v4l2_querymenu item{};
        item.id = V4L2_CID_EXPOSURE_AUTO;
        item.index = std::uint32_t(candidate);
        if (m_fd->ioctl(VIDIOC_QUERYMENU, &item) == 0)
            return candidate;
    }
    return std::nullopt;
}

std::optional<QString> V4l2Controls::set(CameraControlId id, int value) {
    const std::optional<CameraControl> control = query(id);
    if (!control)
        return QStringLiteral("wird von der Kamera nicht angeboten");
    if (!control->accepts(value))
        return QStringLiteral("Wert %1 außerhalb des Bereichs").arg(value);
    int written = value;
    if (id == CameraControlId::exposureAuto) {
        const auto automatic = automaticExposureValue();
        if (!automatic)
            return QStringLiteral("wird von der Kamera nicht angeboten");
        written = value ? *automatic : int(V4L2_EXPOSURE_MANUAL);
    }
    v4l2_control request{};
    request.id = v4l2ControlId(id);
    request.value = written;
    if (const int error = m_fd->ioctl(VIDIOC_S_CTRL, &request); error < 0)
        return controlErrorText(error);
    return std::nullopt;
}
