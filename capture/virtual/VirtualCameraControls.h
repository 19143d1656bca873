#pragma once

#include "capture/CameraControls.h"
#include "media/PixelBuffer.h"

#include <array>
#include <memory>

class VirtualDevices;

// Every control of a virtual camera, its value by `CameraControlId`.
using VirtualControlValues = std::array<int, cameraControlCount>;

// What a virtual camera offers, with the defaults of a typical UVC camera (its values are
// the defaults).
const std::vector<CameraControl>& virtualControlTable();
VirtualControlValues virtualControlDefaults();

// The controls of one virtual camera, kept in its device state: exposure and brightness make
// the scene darker or lighter, a manual white balance tints it, the rest are only kept.
class VirtualCameraControls : public CameraControls {
public:
    VirtualCameraControls(std::shared_ptr<VirtualDevices> devices, QString id)
        : m_devices(std::move(devices)), m_id(std::move(id)) {}

    std::vector<CameraControl> list() override;
    std::optional<QString> set(CameraControlId id, int value) override;

private:
    std::shared_ptr<VirtualDevices> m_devices;
    QString m_id;
};

// The change of the picture the values ask for: a lookup table per channel (blue, green, red).
struct PictureAdjustment {
    std::array<std::array<std::uint8_t, 256>, 3> table;
    void apply(const PixelBuffer& picture) const;
};
// None while the values leave the picture as it is.
std::optional<PictureAdjustment> pictureAdjustment(const VirtualControlValues& values);
