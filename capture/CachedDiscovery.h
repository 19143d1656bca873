#pragma once

#include "capture/DeviceDiscovery.h"

#include <functional>
#include <memory>
#include <mutex>

class SerialQueue;

// A discovery whose listing is made on a worker thread and kept: opening and querying every
// video node wakes autosuspended cameras and can take tens of milliseconds each, which must
// never happen on the GUI thread. `allDevices` hands out the kept listing; `refresh` makes a
// new one (several requests while one is pending make one listing). A device's change notice
// is passed on once the kept listing shows the change.
class CachedDiscovery : public DeviceDiscovery {
    Q_OBJECT

public:
    explicit CachedDiscovery(DeviceDiscovery& source, QObject* parent = nullptr);
    ~CachedDiscovery() override;

    std::vector<CaptureDevice> allDevices() const override;
    void refresh() override;
    // Runs `task` on the listing's worker, before the listings requested after it.
    void runOnWorker(std::function<void()> task);
    // Tests: waits until the requested listings are made.
    void drain();

private:
    void list();

    DeviceDiscovery& m_source;
    mutable std::mutex m_lock;
    std::vector<CaptureDevice> m_devices;
    bool m_pending = false;
    std::unique_ptr<SerialQueue> m_worker;
};
