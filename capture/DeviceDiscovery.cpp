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
