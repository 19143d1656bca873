#include "capture/CachedDiscovery.h"

#include "runtime/SerialQueue.h"

CachedDiscovery::CachedDiscovery(DeviceDiscovery& source, QObject* parent)
    : DeviceDiscovery(parent), m_source(source),
      m_worker(std::make_unique<SerialQueue>("com.ostrel.devices")) {
    // The notice comes on the source's thread (udev's monitor, or the main thread). It is
    // passed on from the worker once the kept listing shows the change, in order with the
    // other listings, so whoever reacts to it finds the device.
    connect(
        &m_source, &DeviceDiscovery::devicesChanged, this,
        [this](DeviceChange change, const CaptureDevice& device) {
            m_worker->async([this, change, device] {
                std::vector<CaptureDevice> devices = m_source.allDevices();
                {
                    std::lock_guard guard(m_lock);
                    m_devices.swap(devices);
                }
                emit devicesChanged(change, device);
            });
        },
        Qt::DirectConnection);
    refresh();
}

CachedDiscovery::~CachedDiscovery() {
    m_worker.reset(); // runs what is queued, while the source still exists
}

std::vector<CaptureDevice> CachedDiscovery::allDevices() const {
    std::lock_guard guard(m_lock);
    return m_devices;
}

void CachedDiscovery::refresh() {
    {
        std::lock_guard guard(m_lock);
        if (m_pending)
            return;
        m_pending = true;
    }
    m_worker->async([this] { list(); });
}

void CachedDiscovery::list() {
    {
        std::lock_guard guard(m_lock);
        m_pending = false;
    }
    std::vector<CaptureDevice> devices = m_source.allDevices();
    {
        std::lock_guard guard(m_lock);
        m_devices.swap(devices);
    }
    emit listingRefreshed();
}

void CachedDiscovery::runOnWorker(std::function<void()> task) {
    m_worker->async(std::move(task));
}

void CachedDiscovery::drain() {
    m_worker->drain();
}
