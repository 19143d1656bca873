#pragma once

#include "capture/CaptureDevice.h"

#include <QObject>

#include <optional>
#include <vector>

// Lists the capture devices that are present and reports every connect and disconnect.
class DeviceDiscovery : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Any thread. The present devices of the media type whose type is one of `types`, ordered
    // by the position of their type in `types`, then in the backend's order.
    std::vector<CaptureDevice> devices(const std::vector<DeviceType>& types,
                                       MediaType mediaType) const;

    // Any thread. Every present device, in the backend's order.
    virtual std::vector<CaptureDevice> allDevices() const = 0;

    // Any thread. Asks for a new listing where listings are kept (`listingRefreshed` follows);
    // a discovery that lists afresh at every call has nothing to do.
    virtual void refresh() {}

signals:
    // Emitted on any thread when a new listing was made after `refresh`.
    void listingRefreshed();
    // Emitted on any thread, once per device that came or went.
    void devicesChanged(DeviceChange change, const CaptureDevice& device);
};

// The device types every camera (microphone) listing of the program uses, in this order.
const std::vector<DeviceType>& cameraDeviceTypes();
const std::vector<DeviceType>& microphoneDeviceTypes();

// The present camera (microphone) whose unique id is exactly `uniqueID`; none for an empty id.
std::optional<CaptureDevice> videoDevice(const DeviceDiscovery& discovery, const QString& uniqueID);
std::optional<CaptureDevice> audioDevice(const DeviceDiscovery& discovery, const QString& uniqueID);
