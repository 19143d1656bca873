#include "capture/v4l2/V4l2Backend.h"

#include "capture/CameraErrorTexts.h"
#include "capture/v4l2/DeviceHolder.h"
#include "capture/v4l2/V4l2Controls.h"
#include "capture/v4l2/V4l2Errors.h"
#include "capture/v4l2/V4l2Input.h"

#include <cerrno>
#include <unistd.h>

V4l2Backend::V4l2Backend(std::shared_ptr<V4l2Io> io) : m_io(io), m_discovery(std::move(io)) {
}

std::unique_ptr<CaptureSession> V4l2Backend::makeSession() {
    return std::make_unique<CaptureSession>();
}

DeviceInputResult V4l2Backend::makeDeviceInput(const CaptureDevice& device) {
    auto devnode = m_discovery.devnodeOf(device.uniqueID);
    if (!devnode) {
        m_discovery.allDevices(); // a device plugged in since the last listing
        devnode = m_discovery.devnodeOf(device.uniqueID);
    }
    if (!devnode)
        return {nullptr, v4l2ErrorText(ENOENT)};
    const int fd = m_io->open(devnode->c_str());
    if (fd == -EBUSY)
        return {nullptr, CameraErrorTexts::busy(deviceHolder(*devnode, ::getpid()))};
    if (fd < 0)
        return {nullptr, v4l2ErrorText(fd)};
    auto handle = std::make_shared<V4l2Fd>(m_io, fd);
    // The node must still be a camera that streams: it may have gone since the listing. Which
    // device it is is not checked here; the listing maps ids to nodes.
    UdevVideoNode node;
    node.devnode = *devnode;
    const auto probed = probeVideoNode(*m_io, node);
    if (!probed)
        return {nullptr, v4l2ErrorText(ENODEV)};
    return {std::make_shared<V4l2Input>(device, *devnode, std::move(handle)), {}};
}

std::unique_ptr<CameraControls> V4l2Backend::cameraControls(const CaptureDevice& device) {
    auto devnode = m_discovery.devnodeOf(device.uniqueID);
    if (!devnode) {
        m_discovery.allDevices();
        devnode = m_discovery.devnodeOf(device.uniqueID);
    }
    if (!devnode)
        return nullptr;
    // A second open of the node: controls may be set while another open streams.
    const int fd = m_io->open(devnode->c_str());
    if (fd < 0)
        return nullptr;
    return std::make_unique<V4l2Controls>(std::make_shared<V4l2Fd>(m_io, fd));
}
