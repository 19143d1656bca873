#include "devices/DeviceStore.h"

#include "capture/virtual/VirtualDevices.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"

#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

CaptureDevice camera(const char* id, const char* name) {
    return {QString::fromUtf8(id), QString::fromUtf8(name), DeviceType::external};
}

QStringList displayNames(const QList<DeviceInfo>& infos) {
    QStringList names;
    for (const DeviceInfo& info : infos)
        names << info.displayName;
    return names;
}

QStringList ids(const QList<DeviceInfo>& infos) {
    QStringList result;
    for (const DeviceInfo& info : infos)
        result << info.id;
    return result;
}

class DeviceStoreTest : public ::testing::Test {
protected:
    QString iniPath() const { return dir.filePath(QStringLiteral("ostrel.conf")); }
    std::unique_ptr<DeviceStore> makeStore() {
        return std::make_unique<DeviceStore>(devices, settings);
    }
    // What a fresh reader of the file sees.
    QVariant stored(const char* key) const {
        QSettings file(iniPath(), QSettings::IniFormat);
        return file.value(QString::fromLatin1(key));
    }

    QTemporaryDir dir;
    SettingsStore settings{iniPath()};
    VirtualDevices devices;
    const QString cam1 = VirtualDevices::camera1ID;
    const QString cam2 = VirtualDevices::camera2ID;
};

} // namespace

TEST(DeviceNaming, SameNamesAreNumberedInPlainTextIdOrderOthersKeepTheirName) {
    struct Case {
        std::vector<CaptureDevice> devices;
        QStringList ids, names;
    };
    const Case cases[] = {
        {{camera("B", "USB Camera"), camera("C", "Loupe"), camera("A", "USB Camera")},
         {"A", "B", "C"},
         {"USB Camera #1", "USB Camera #2", "Loupe"}},
        {{camera("2", "Eins"), camera("1", "Zwei")}, {"1", "2"}, {"Zwei", "Eins"}},
        {{}, {}, {}},
        // Upper case before lower case, "10" before "9"; odd and empty names.
        {{camera("b", ""), camera("9", "Ä \"x\" #1"), camera("B", ""), camera("10", "Ä \"x\" #1")},
         {"10", "9", "B", "b"},
         {"Ä \"x\" #1 #1", "Ä \"x\" #1 #2", " #1", " #2"}},
        {{camera("x", "Cam"), camera("y", "cam")}, {"x", "y"}, {"Cam", "cam"}}, // case counts
        {{camera("same", "Zweite"), camera("same", "Erste")},
         {"same", "same"},
         {"Zweite", "Erste"}},
    };
    for (const Case& c : cases) {
        const auto infos = makeDeviceInfos(c.devices);
        EXPECT_EQ(ids(infos), c.ids);
        EXPECT_EQ(displayNames(infos), c.names);
    }
    EXPECT_EQ(makeDeviceInfos(cases[0].devices)[0].name, QStringLiteral("USB Camera"));
}

TEST_F(DeviceStoreTest, MicrophonesAreNumberedIndependentlyOfCameras) {
    devices.plugIn({QStringLiteral("mic-2"), VirtualDevices::cameraName, DeviceType::microphone});
    auto store = makeStore();
    EXPECT_EQ(displayNames(store->audioDevices()),
              (QStringList{"OSTREL Kamera", "OSTREL Mikrofon"}));
    EXPECT_EQ(displayNames(store->videoDevices()),
              (QStringList{"OSTREL Kamera #1", "OSTREL Kamera #2"}));
}

TEST_F(DeviceStoreTest, HotPlugRereadsTheListsOnTheMainThread) {
    auto store = makeStore();
    QSignalSpy videoChanged(store.get(), &DeviceStore::videoDevicesChanged);
    store->setWideUID(cam1);
    store->setMacroUID(cam2);
    ASSERT_TRUE(store->isAssignmentComplete());

    std::thread([&] { devices.unplug(cam2); }).join();
    EXPECT_EQ(store->videoDevices().size(), 2); // nothing changes off the main thread
    ASSERT_TRUE(pumpUntil([&] { return videoChanged.count() == 1; }));
    EXPECT_EQ(displayNames(store->videoDevices()), (QStringList{"OSTREL Kamera"}));
    // The assignment stays, but is not complete while Macro is missing.
    EXPECT_EQ(store->macroUID(), cam2);
    EXPECT_FALSE(store->isAssignmentComplete());
    EXPECT_FALSE(store->videoDisplayName(cam2));

    devices.replug(cam2);
    ASSERT_TRUE(pumpUntil([&] { return videoChanged.count() == 2; }));
    EXPECT_EQ(store->videoDisplayName(cam2), QStringLiteral("OSTREL Kamera #2"));
    EXPECT_TRUE(store->isAssignmentComplete());
}

TEST_F(DeviceStoreTest, BurstOfHotPlugEventsEndsInOneRefreshWithTheFinalState) {
    auto store = makeStore();
    const int before = store->refreshCount();
    std::thread storm([&] {
        for (int i = 0; i < 50; ++i) {
            devices.unplug(i % 2 ? cam1 : cam2);
            devices.replug(i % 2 ? cam1 : cam2);
        }
        devices.unplug(cam1);
    });
    storm.join();
    pumpPosted();
    EXPECT_EQ(store->refreshCount(), before + 1);
    EXPECT_EQ(ids(store->videoDevices()), (QStringList{cam2}));
    EXPECT_EQ(displayNames(store->videoDevices()), (QStringList{"OSTREL Kamera"}));
}

TEST_F(DeviceStoreTest, AssignmentIsCompleteOnlyForTwoDifferentPresentCameras) {
    auto store = makeStore();
    QSignalSpy complete(store.get(), &DeviceStore::assignmentCompleteChanged);
    store->setWideUID(cam1);
    EXPECT_FALSE(store->isAssignmentComplete());
    store->setMacroUID(cam1); // accepted by the store, but not complete
    EXPECT_EQ(store->macroUID(), cam1);
    EXPECT_FALSE(store->isAssignmentComplete());
    store->setMacroUID(QStringLiteral("not-present"));
    EXPECT_FALSE(store->isAssignmentComplete());
    store->setMacroUID(VirtualDevices::microphoneID); // present, but no camera
    EXPECT_FALSE(store->isAssignmentComplete());
    store->setMacroUID(cam2);
    EXPECT_TRUE(store->isAssignmentComplete());
    EXPECT_EQ(complete.count(), 1);
    EXPECT_EQ(store->videoDisplayName(cam1), QStringLiteral("OSTREL Kamera #1"));
    EXPECT_FALSE(store->audioDisplayName(cam1));
    EXPECT_FALSE(store->videoDisplayName(QString()));
}
