#include "capture/v4l2/V4l2Discovery.h"

#include "diagnostics/OstrelLog.h"

#include <libudev.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

struct UdevUnref {
    void operator()(udev* u) const { udev_unref(u); }
    void operator()(udev_enumerate* e) const { udev_enumerate_unref(e); }
    void operator()(udev_device* d) const { udev_device_unref(d); }
    void operator()(udev_monitor* m) const { udev_monitor_unref(m); }
};
template <typename T> using UdevPtr = std::unique_ptr<T, UdevUnref>;

QString text(const char* value) {
    return value ? QString::fromUtf8(value) : QString();
}

UdevVideoNode readNode(udev_device* device) {
    UdevVideoNode node;
    if (const char* devnode = udev_device_get_devnode(device))
        node.devnode = devnode;
    node.idPath = text(udev_device_get_property_value(device, "ID_PATH"));
    node.vendorId = text(udev_device_get_property_value(device, "ID_VENDOR_ID"));
    node.productId = text(udev_device_get_property_value(device, "ID_MODEL_ID"));
    node.model = text(udev_device_get_property_value(device, "ID_MODEL"));
    node.index = text(udev_device_get_sysattr_value(device, "index")).toInt();
    node.product = text(udev_device_get_property_value(device, "ID_V4L_PRODUCT"));
    node.capabilities = text(udev_device_get_property_value(device, "ID_V4L_CAPABILITIES"));
    // The parent is owned by the child; it must not be unreferenced.
    if (udev_device* usb =
            udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device")) {
        if (node.vendorId.isEmpty())
            node.vendorId = text(udev_device_get_sysattr_value(usb, "idVendor"));
        if (node.productId.isEmpty())
            node.productId = text(udev_device_get_sysattr_value(usb, "idProduct"));
        node.fixed = text(udev_device_get_sysattr_value(usb, "removable")) == u"fixed";
    } else {
        node.fixed = true;
    }
    return node;
}

QString fallbackName(const UdevVideoNode& node) {
    return QString(node.model).replace(u'_', u' ').trimmed();
}

DeviceType deviceType(const UdevVideoNode& node) {
    return node.fixed ? DeviceType::builtIn : DeviceType::external;
}

// A node that refused to open: a camera when udev saw a picture node there (without udev's
// probe, the first node of a device is the picture node, as with UVC).
std::optional<CaptureDevice> cameraNotOpened(const UdevVideoNode& node) {
    const bool picture = node.capabilities.isEmpty()
                             ? node.index == 0
                             : node.capabilities.contains(QStringLiteral(":capture:"));
    if (!picture)
        return std::nullopt;
    QString name = node.product.trimmed();
    if (name.isEmpty())
        name = fallbackName(node);
    return CaptureDevice{stableDeviceId(node), name, deviceType(node)};
}

} // namespace

QString stableDeviceId(const UdevVideoNode& node) {
    if (node.idPath.isEmpty())
        return QStringLiteral("v4l2:") + QString::fromStdString(node.devnode);
    QString id = node.idPath;
    if (!node.vendorId.isEmpty() || !node.productId.isEmpty())
        id += u'-' + node.vendorId + u':' + node.productId;
    if (node.index > 0)
        id += QStringLiteral("-index%1").arg(node.index);
    return id;
}

std::optional<CaptureDevice> probeVideoNode(V4l2Io& io, const UdevVideoNode& node) {
    if (node.devnode.empty())
        return std::nullopt;
    const int fd = io.open(node.devnode.c_str());
    if (fd == -EACCES || fd == -EPERM)
        return cameraNotOpened(node);
    if (fd < 0)
        return std::nullopt;
    V4l2Fd device(std::shared_ptr<V4l2Io>(&io, [](V4l2Io*) {}), fd);
    v4l2_capability capability{};
    if (device.ioctl(VIDIOC_QUERYCAP, &capability) < 0)
        return std::nullopt;
    const std::uint32_t caps = (capability.capabilities & V4L2_CAP_DEVICE_CAPS)
                                   ? capability.device_caps
                                   : capability.capabilities;
    if (!(caps & V4L2_CAP_VIDEO_CAPTURE) || !(caps & V4L2_CAP_STREAMING))
        return std::nullopt;
    const char* card = reinterpret_cast<const char*>(capability.card);
    QString name = QString::fromUtf8(card, int(strnlen(card, sizeof capability.card))).trimmed();
    if (name.isEmpty())
        name = fallbackName(node);
    return CaptureDevice{stableDeviceId(node), name, deviceType(node)};
}

V4l2Discovery::V4l2Discovery(std::shared_ptr<V4l2Io> io, QObject* parent)
    : DeviceDiscovery(parent), m_io(std::move(io)) {
}

V4l2Discovery::~V4l2Discovery() {
    if (m_monitor.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(m_stopFd, &one, sizeof one);
        m_monitor.join();
    }
    if (m_stopFd >= 0)
        ::close(m_stopFd);
}

std::vector<CaptureDevice> V4l2Discovery::allDevices() const {
    std::vector<CaptureDevice> devices;
    UdevPtr<udev> context(udev_new());
    if (!context)
        return devices;
    UdevPtr<udev_enumerate> enumerate(udev_enumerate_new(context.get()));
    if (!enumerate)
        return devices;
    udev_enumerate_add_match_subsystem(enumerate.get(), "video4linux");
    udev_enumerate_scan_devices(enumerate.get());
    QHash<QString, std::string> nodes;
    for (udev_list_entry* entry = udev_enumerate_get_list_entry(enumerate.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        UdevPtr<udev_device> device(
            udev_device_new_from_syspath(context.get(), udev_list_entry_get_name(entry)));
        if (!device)
            continue;
        const UdevVideoNode node = readNode(device.get());
        if (auto camera = probeVideoNode(*m_io, node)) {
            nodes.insert(camera->uniqueID, node.devnode);
            devices.push_back(*camera);
        }
    }
    std::lock_guard guard(m_lock);
    for (auto it = nodes.begin(); it != nodes.end(); ++it)
        m_nodes.insert(it.key(), it.value());
    return devices;
}

std::optional<std::string> V4l2Discovery::devnodeOf(const QString& uniqueID) const {
    std::lock_guard guard(m_lock);
    const auto it = m_nodes.constFind(uniqueID);
    if (it == m_nodes.constEnd())
        return std::nullopt;
    return *it;
}

void V4l2Discovery::handleEvent(const QString& action, const UdevVideoNode& node) {
    const QString devnode = QString::fromStdString(node.devnode);
    if (action == u"add") {
        const auto camera = probeVideoNode(*m_io, node);
        if (!camera)
            return;
        {
            std::lock_guard guard(m_lock);
            m_nodes.insert(camera->uniqueID, node.devnode);
            m_byNode.insert(devnode, *camera);
        }
        emit devicesChanged(DeviceChange::connected, *camera);
    } else if (action == u"remove") {
        std::optional<CaptureDevice> camera;
        {
            std::lock_guard guard(m_lock);
            const auto it = m_byNode.find(devnode);
            if (it != m_byNode.end()) {
                camera = *it;
                m_byNode.erase(it);
            } else {
                // Not seen by an event: find it among the listed nodes.
                for (auto n = m_nodes.begin(); n != m_nodes.end(); ++n)
                    if (n.value() == node.devnode)
                        camera = CaptureDevice{n.key(), QString(), DeviceType::external};
            }
        }
        if (camera)
            emit devicesChanged(DeviceChange::disconnected, *camera);
    }
}

std::optional<QString> V4l2Discovery::startMonitoring() {
    if (m_monitor.joinable())
        return std::nullopt;
    // Set up here, not on the thread, so a failure reaches the caller (and the log).
    UdevPtr<udev> context(udev_new());
    if (!context)
        return QStringLiteral("udev_new fehlgeschlagen");
    UdevPtr<udev_monitor> monitor(udev_monitor_new_from_netlink(context.get(), "udev"));
    if (!monitor)
        return QStringLiteral("kein udev-Netlink-Monitor (%1)")
            .arg(QString::fromLocal8Bit(std::strerror(errno)));
    udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), "video4linux", nullptr);
    if (const int error = udev_monitor_enable_receiving(monitor.get()); error < 0)
        return QStringLiteral("udev-Monitor empfängt nicht (%1)")
            .arg(QString::fromLocal8Bit(std::strerror(-error)));
    m_stopFd = ::eventfd(0, EFD_CLOEXEC);
    if (m_stopFd < 0)
        return QStringLiteral("eventfd fehlgeschlagen (%1)")
            .arg(QString::fromLocal8Bit(std::strerror(errno)));
    // Remember what is there now, so a removal can name the camera it took away.
    for (const CaptureDevice& device : allDevices())
        if (const auto devnode = devnodeOf(device.uniqueID)) {
            std::lock_guard guard(m_lock);
            m_byNode.insert(QString::fromStdString(*devnode), device);
        }
    m_monitor = std::thread([this, stopFd = m_stopFd, context = std::move(context),
                             monitor = std::move(monitor)]() mutable {
        follow(monitor.get(), stopFd);
        monitor.reset();
        context.reset();
    });
    return std::nullopt;
}

void V4l2Discovery::follow(udev_monitor* monitor, int stopFd) {
    pollfd fds[2] = {{udev_monitor_get_fd(monitor), POLLIN, 0}, {stopFd, POLLIN, 0}};
    for (;;) {
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            logFromAnyThread(LogLevel::error,
                             QStringLiteral("Geräteüberwachung (udev) beendet (%1) — an- und "
                                            "abgesteckte Kameras werden nicht mehr bemerkt")
                                 .arg(QString::fromLocal8Bit(std::strerror(errno))));
            return;
        }
        if (fds[1].revents)
            return;
        if (!(fds[0].revents & POLLIN))
            continue;
        UdevPtr<udev_device> device(udev_monitor_receive_device(monitor));
        if (!device)
            continue;
        handleEvent(text(udev_device_get_action(device.get())), readNode(device.get()));
    }
}
