#include "capture/SystemBackend.h"
#include "capture/audio/QtAudioBackend.h"
#include "capture/virtual/VirtualBackend.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

// Sets an environment variable for the scope of a test.
struct ScopedEnv {
    ScopedEnv(const char* name, const QByteArray& value) : name(name) { qputenv(name, value); }
    ~ScopedEnv() { qunsetenv(name); }
    const char* name;
};

} // namespace

TEST(BackendSelection, VirtualDevicesAloneWhenAskedFor) {
    ScopedEnv on("OSTREL_VIRTUAL_DEVICES", "1");
    ScopedEnv faults("OSTREL_VIRTUAL_FAULTS", "silent=ostrel-virtual-camera-2");
    ASSERT_TRUE(virtualDevicesRequested());
    auto backend = makeCaptureBackend();
    auto* virtualBackend = dynamic_cast<VirtualBackend*>(backend.get());
    ASSERT_TRUE(virtualBackend);
    const auto devices = backend->discovery().allDevices();
    ASSERT_EQ(devices.size(), 3u); // no real device mixed in
    for (const CaptureDevice& device : devices)
        EXPECT_TRUE(device.uniqueID.startsWith(QStringLiteral("ostrel-virtual-")));
    EXPECT_TRUE(virtualBackend->devices().state(VirtualDevices::camera2ID)->silent);
}

TEST(BackendSelection, RealDevicesOtherwise) {
    ScopedEnv off("OSTREL_VIRTUAL_DEVICES", "0");
    EXPECT_FALSE(virtualDevicesRequested());
    auto backend = makeCaptureBackend();
    EXPECT_TRUE(dynamic_cast<SplitBackend*>(backend.get()));
    for (const CaptureDevice& device : backend->discovery().allDevices())
        EXPECT_FALSE(device.uniqueID.startsWith(QStringLiteral("ostrel-virtual-")));
    const auto made = backend->makeDeviceInput(
        {QStringLiteral("gone"), QStringLiteral("Mikrofon"), DeviceType::microphone});
    EXPECT_FALSE(made.input);
    EXPECT_EQ(made.error, QStringLiteral("Gerät nicht gefunden"));
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
