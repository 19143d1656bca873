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

TEST(DeviceNaming, SameNamesAreNumberedInIdOrderOthersKeepTheirName) {
    const auto infos = makeDeviceInfos(
        {camera("B", "USB Camera"), camera("C", "Loupe"), camera("A", "USB Camera")});
    EXPECT_EQ(ids(infos), (QStringList{"A", "B", "C"}));
    EXPECT_EQ(displayNames(infos), (QStringList{"USB Camera #1", "USB Camera #2", "Loupe"}));
    EXPECT_EQ(infos[0].name, QStringLiteral("USB Camera"));

    EXPECT_EQ(displayNames(makeDeviceInfos({camera("2", "Eins"), camera("1", "Zwei")})),
              (QStringList{"Zwei", "Eins"}));
    EXPECT_TRUE(makeDeviceInfos({}).isEmpty());
}

TEST(DeviceNaming, OddAndEmptyNamesAndPlainTextIdOrder) {
    // Plain text order: upper case before lower case, "10" before "9".
    const auto infos = makeDeviceInfos(
        {camera("b", ""), camera("9", "Ä \"x\" #1"), camera("B", ""), camera("10", "Ä \"x\" #1")});
    EXPECT_EQ(ids(infos), (QStringList{"10", "9", "B", "b"}));
    EXPECT_EQ(displayNames(infos), (QStringList{"Ä \"x\" #1 #1", "Ä \"x\" #1 #2", " #1", " #2"}));
    // Names differing only in case are different names.
    EXPECT_EQ(displayNames(makeDeviceInfos({camera("x", "Cam"), camera("y", "cam")})),
              (QStringList{"Cam", "cam"}));
    // Equal ids keep their order (the sort is stable).
    const auto twins = makeDeviceInfos({camera("same", "Zweite"), camera("same", "Erste")});
    EXPECT_EQ(twins[0].name, QStringLiteral("Zweite"));
}

TEST(DeviceNaming, InfosCompareAndHashOverAllFields) {
    const DeviceInfo a{"id", "Name", "Name"};
    DeviceInfo b = a;
    EXPECT_EQ(a, b);
    EXPECT_EQ(qHash(a), qHash(b));
    b.displayName = QStringLiteral("Name #1");
    EXPECT_NE(a, b);
    EXPECT_NE(qHash(a), qHash(b));
}

TEST_F(DeviceStoreTest, ListsTheVirtualDevicesWithNumberedCameraNames) {
    auto store = makeStore();
    EXPECT_EQ(displayNames(store->videoDevices()),
              (QStringList{"OSTREL Kamera #1", "OSTREL Kamera #2"}));
    EXPECT_EQ(ids(store->videoDevices()), (QStringList{cam1, cam2}));
    EXPECT_EQ(displayNames(store->audioDevices()), (QStringList{"OSTREL Mikrofon"}));
    EXPECT_TRUE(store->micUID().isEmpty()); // "Kein Ton" by default
    EXPECT_FALSE(store->isAssignmentComplete());
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

TEST_F(DeviceStoreTest, AssignmentIsWrittenAtOnceAndReadBackByTheNextStore) {
    {
        auto store = makeStore();
        QSignalSpy wide(store.get(), &DeviceStore::wideUIDChanged);
        store->setWideUID(cam2);
        store->setMacroUID(cam1);
        store->setMicUID(VirtualDevices::microphoneID);
        EXPECT_EQ(wide.count(), 1);
        EXPECT_EQ(stored("wideDeviceUID"), cam2);
        EXPECT_EQ(stored("macroDeviceUID"), cam1);
        EXPECT_EQ(stored("micDeviceUID"), VirtualDevices::microphoneID);
        EXPECT_EQ(store->audioDisplayName(store->micUID()), QStringLiteral("OSTREL Mikrofon"));
    }
    SettingsStore reopened(iniPath());
    DeviceStore store(devices, reopened);
    EXPECT_EQ(store.wideUID(), cam2);
    EXPECT_EQ(store.macroUID(), cam1);
    EXPECT_EQ(store.micUID(), VirtualDevices::microphoneID);
    EXPECT_TRUE(store.isAssignmentComplete());

    store.setMicUID(QString()); // back to "Kein Ton"
    EXPECT_EQ(stored("micDeviceUID"), QString());
}

TEST_F(DeviceStoreTest, SwapExchangesWideAndMacroAndWritesBothKeys) {
    auto store = makeStore();
    store->setWideUID(cam1);
    store->setMacroUID(cam2);
    store->swapWideMacro();
    EXPECT_EQ(store->wideUID(), cam2);
    EXPECT_EQ(store->macroUID(), cam1);
    EXPECT_EQ(stored("wideDeviceUID"), cam2);
    EXPECT_EQ(stored("macroDeviceUID"), cam1);

    // With Macro empty, Wide becomes empty and Macro takes the former Wide id.
    store->setMacroUID(QString());
    store->swapWideMacro();
    EXPECT_TRUE(store->wideUID().isEmpty());
    EXPECT_EQ(store->macroUID(), cam2);
    EXPECT_EQ(stored("wideDeviceUID"), QString());
    EXPECT_TRUE(QSettings(iniPath(), QSettings::IniFormat).contains("wideDeviceUID"));
    EXPECT_EQ(stored("macroDeviceUID"), cam2);
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

TEST_F(DeviceStoreTest, QmlBindsToListsAndAssignment) {
    auto store = makeStore();
    QQmlEngine engine;
    engine.rootContext()->setContextProperty(QStringLiteral("devices"), store.get());
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQuick
        Item {
            property int cameras: devices.videoDevices.length
            property string first: devices.videoDevices[0].displayName
            property string microphone: devices.audioDevices[0].displayName
            property bool complete: devices.assignmentComplete
            property string wideName: devices.videoDisplayNameOf(devices.wideUID)
            function assign(wide, macro) { devices.wideUID = wide; devices.macroUID = macro }
        })",
                      QUrl());
    std::unique_ptr<QObject> view(component.create());
    ASSERT_TRUE(view) << component.errorString().toStdString();
    EXPECT_EQ(view->property("cameras").toInt(), 2);
    EXPECT_EQ(view->property("first").toString(), QStringLiteral("OSTREL Kamera #1"));
    EXPECT_EQ(view->property("microphone").toString(), QStringLiteral("OSTREL Mikrofon"));
    EXPECT_FALSE(view->property("complete").toBool());

    ASSERT_TRUE(QMetaObject::invokeMethod(view.get(), "assign", Q_ARG(QVariant, cam2),
                                          Q_ARG(QVariant, cam1)));
    EXPECT_TRUE(view->property("complete").toBool());
    EXPECT_EQ(view->property("wideName").toString(), QStringLiteral("OSTREL Kamera #2"));
    EXPECT_EQ(settings.wideDeviceUID(), cam2);

    devices.unplug(cam1);
    ASSERT_TRUE(pumpUntil([&] { return view->property("cameras").toInt() == 1; }));
    EXPECT_EQ(view->property("first").toString(), QStringLiteral("OSTREL Kamera"));
    EXPECT_FALSE(view->property("complete").toBool());
}
