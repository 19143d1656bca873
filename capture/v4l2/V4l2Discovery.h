#pragma once

#include "capture/DeviceDiscovery.h"
#include "capture/v4l2/V4l2Io.h"

#include <QHash>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

struct udev_monitor;

// What udev tells about one video4linux node.
struct UdevVideoNode {
    std::string devnode; // /dev/videoN
    QString idPath;      // the USB port path, e.g. pci-0000:00:14.0-usb-0:2:1.0
    QString vendorId;    // e.g. 046d
    QString productId;   // e.g. 0825
    QString model;       // udev's model name, a fallback for the card name
    int index = 0;       // the node's index on its device (0 for the picture node)
    bool fixed = false;  // built into the machine rather than plugged into a port
    // What udev's own probe (run as root) read from the node: the driver's card name and the
    // capability list, ":capture:" for a picture node; empty when udev did not probe it.
    QString product;
    QString capabilities;
};

// The id that stays the same for a camera on the same port across replugging and restarts,
// and differs for two identical cameras on two ports.
QString stableDeviceId(const UdevVideoNode& node);

// The camera behind a node, or none when it cannot capture pictures by streaming (metadata
// nodes, output devices) or is gone. A picture node the user may not open is a camera all the
// same, as udev describes it: opening it then tells the user about the `video` group.
std::optional<CaptureDevice> probeVideoNode(V4l2Io& io, const UdevVideoNode& node);

// USB cameras found through libudev, with hot-plug from a udev monitor thread.
class V4l2Discovery : public DeviceDiscovery {
    Q_OBJECT

public:
    explicit V4l2Discovery(std::shared_ptr<V4l2Io> io, QObject* parent = nullptr);
    ~V4l2Discovery() override;

    std::vector<CaptureDevice> allDevices() const override;

    // The device node of a camera seen by the last listing or event.
    std::optional<std::string> devnodeOf(const QString& uniqueID) const;

    // Starts following udev's add and remove events; the reason when the monitor cannot be made.
    std::optional<QString> startMonitoring();

    // One udev event, as the monitor thread hands it on ("add" or "remove").
    void handleEvent(const QString& action, const UdevVideoNode& node);

    V4l2Io& io() const { return *m_io; }

private:
    void follow(udev_monitor* monitor, int stopFd);

    std::shared_ptr<V4l2Io> m_io;
    mutable std::mutex m_lock;
    mutable QHash<QString, std::string> m_nodes; // unique id -> devnode
    QHash<QString, CaptureDevice> m_byNode;      // devnode -> device, for removals
    int m_stopFd = -1;
    std::thread m_monitor;
};
