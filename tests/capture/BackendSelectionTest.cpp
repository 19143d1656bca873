#include "capture/BackendSelection.h"
#include "capture/CachedDiscovery.h"
#include "capture/audio/QtAudioBackend.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <thread>

namespace {

// Sets an environment variable for the scope of a test.
struct ScopedEnv {
    ScopedEnv(const char* name, const QByteArray& value) : name(name) { qputenv(name, value); }
    ~ScopedEnv() { qunsetenv(name); }
    const char* name;
};

} // namespace

TEST(BackendSelection, RealDevicesOtherwise) {
    ScopedEnv off("OSTREL_VIRTUAL_DEVICES", "0");
    EXPECT_FALSE(virtualDevicesRequested());
    auto backend = makeCaptureBackend();
    EXPECT_TRUE(dynamic_cast<SplitBackend*>(backend.get()));
    // Listed through udev and Qt; none on a machine without cameras and microphones.
    for (const CaptureDevice& device : backend->discovery().allDevices())
        EXPECT_FALSE(device.uniqueID.isEmpty() ||
                     device.uniqueID.startsWith(QStringLiteral("ostrel-virtual-")));
    for (const DeviceType type : {DeviceType::microphone, DeviceType::external}) {
        const auto made = backend->makeDeviceInput({QStringLiteral("gone"), {}, type});
        EXPECT_FALSE(made.input);
        EXPECT_EQ(made.error, QStringLiteral("Gerät nicht gefunden"));
    }
}

TEST(QtAudioDiscovery, ListChangesBecomeOneNoticePerDevice) {
    QtAudioDiscovery discovery;
    const QList<QAudioDevice> present = QMediaDevices::audioInputs();
    ASSERT_EQ(discovery.allDevices().size(), std::size_t(present.size()));
    for (const CaptureDevice& device : discovery.allDevices())
        EXPECT_EQ(device.deviceType, DeviceType::microphone);
    QSignalSpy changes(&discovery, &DeviceDiscovery::devicesChanged);
    discovery.update({});
    EXPECT_TRUE(discovery.allDevices().empty());
    EXPECT_EQ(changes.count(), present.size());
    discovery.update(present);
    discovery.update(present); // unchanged: no notice
    EXPECT_EQ(changes.count(), 2 * present.size());
    for (int i = 0; i < changes.count(); ++i)
        EXPECT_EQ(changes[i][0].value<DeviceChange>(),
                  i < present.size() ? DeviceChange::disconnected : DeviceChange::connected);
}

namespace {

// A source of devices that notes on which thread it was asked.
class ThreadNotingDiscovery : public DeviceDiscovery {
public:
    std::vector<CaptureDevice> allDevices() const override {
        std::lock_guard guard(lock);
        threads.push_back(std::this_thread::get_id());
        return present;
    }
    mutable std::mutex lock;
    mutable std::vector<std::thread::id> threads;
    std::vector<CaptureDevice> present;
};

} // namespace

// Listing opens every video node (and wakes sleeping cameras): never on the GUI thread, once
// per burst of requests, and a hot-plug notice reaches its listeners only once the listing
// shows the device.
TEST(CachedDiscovery, ListsOnItsWorkerOnlyAndANoticeComesAfterTheListingShowsTheDevice) {
    ThreadNotingDiscovery source;
    const CaptureDevice wide{QStringLiteral("usb-1"), QStringLiteral("Kamera"),
                             DeviceType::external};
    const CaptureDevice macro{QStringLiteral("usb-2"), QStringLiteral("Kamera"),
                              DeviceType::external};
    source.present = {wide};
    CachedDiscovery cached(source);
    QSignalSpy listed(&cached, &DeviceDiscovery::listingRefreshed);
    cached.drain();
    EXPECT_EQ(cached.allDevices().size(), 1u);
    // Requests while the worker is busy make one listing.
    std::promise<void> release;
    cached.runOnWorker([busy = release.get_future().share()] { busy.wait(); });
    const std::size_t before = [&] {
        std::lock_guard guard(source.lock);
        return source.threads.size();
    }();
    for (int i = 0; i < 10; ++i) {
        cached.refresh();
        cached.allDevices();
    }
    release.set_value();
    cached.drain();
    {
        std::lock_guard guard(source.lock);
        EXPECT_EQ(source.threads.size(), before + 1) << "one listing per burst of requests";
        for (std::thread::id thread : source.threads)
            EXPECT_NE(thread, std::this_thread::get_id()) << "never on the GUI thread";
    }
    EXPECT_GE(listed.count(), 1);

    bool listedAtNotice = false;
    QObject::connect(
        &cached, &DeviceDiscovery::devicesChanged, &cached,
        [&](DeviceChange, const CaptureDevice& device) {
            for (const CaptureDevice& present : cached.allDevices())
                listedAtNotice = listedAtNotice || present.uniqueID == device.uniqueID;
        },
        Qt::DirectConnection);
    {
        std::lock_guard guard(source.lock);
        source.present.push_back(macro);
    }
    emit source.devicesChanged(DeviceChange::connected, macro);
    cached.drain();
    EXPECT_TRUE(listedAtNotice);
}
