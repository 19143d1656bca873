#include "capture/DeviceDiscovery.h"

std::vector<CaptureDevice> DeviceDiscovery::devices(const std::vector<DeviceType>& types,
                                                    MediaType mediaType) const {
    const std::vector<CaptureDevice> all = allDevices();
    std::vector<CaptureDevice> result;
    for (DeviceType type : types)
        for (const CaptureDevice& device : all)
            if (device.deviceType == type && device.mediaType() == mediaType)
                result.push_back(device);
    return result;
}

const std::vector<DeviceType>& cameraDeviceTypes() {
    static const std::vector<DeviceType> types{DeviceType::external, DeviceType::builtIn};
    return types;
}

const std::vector<DeviceType>& microphoneDeviceTypes() {
    static const std::vector<DeviceType> types{DeviceType::microphone};
    return types;
}

namespace {

std::optional<CaptureDevice> findDevice(const DeviceDiscovery& discovery, const QString& uniqueID,
                                        const std::vector<DeviceType>& types, MediaType media) {
    if (uniqueID.isEmpty())
        return std::nullopt;
    for (const CaptureDevice& device : discovery.devices(types, media))
        if (device.uniqueID == uniqueID)
            return device;
    return std::nullopt;
}

} // namespace

std::optional<CaptureDevice> videoDevice(const DeviceDiscovery& discovery,
                                         const QString& uniqueID) {
    return findDevice(discovery, uniqueID, cameraDeviceTypes(), MediaType::video);
}

std::optional<CaptureDevice> audioDevice(const DeviceDiscovery& discovery,
                                         const QString& uniqueID) {
    return findDevice(discovery, uniqueID, microphoneDeviceTypes(), MediaType::audio);
}
