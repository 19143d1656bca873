#include "settings/SettingsStore.h"
#include "settings/AppearanceMode.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

class SettingsStoreTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path() const { return dir.filePath(QStringLiteral("ostrel.conf")); }

    void writeFile(const QByteArray& content) {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
};

} // namespace

TEST_F(SettingsStoreTest, EveryKeyOfTheTableIsAPropertyOfTheSameName) {
    SettingsStore store(path());
    for (int i = 0; i < settingCount; ++i) {
        const SettingSpec& spec = settingSpec(Setting(i));
        EXPECT_EQ(spec.setting, Setting(i));
        EXPECT_EQ(settingFromKey(QString::fromLatin1(spec.key)), Setting(i));
        const int index = store.metaObject()->indexOfProperty(spec.key);
        ASSERT_GE(index, 0) << spec.key;
        EXPECT_TRUE(store.metaObject()->property(index).hasNotifySignal()) << spec.key;
    }
    EXPECT_FALSE(settingFromKey(QStringLiteral("unknownKey")).has_value());
}

TEST_F(SettingsStoreTest, ValuesSurviveARestartWithTheirTypes) {
    {
        SettingsStore store(path());
        store.setWideDeviceUID(QStringLiteral("usb-0000:00:14.0-1:1.0|046d:0825"));
        store.setPraxisText(QStringLiteral("Zahnarztpraxis Köhler, Berlin"));
        store.setWatermarkOn(false);
        store.setResolutionHigh(true);
        store.setAppearanceMode(2);
        store.setStabGain(0.25);
        store.setStabLead(-0.1);
        store.setRecordingFolderPath(QByteArray("/home/ärztin/Aufnahmen"));
        store.setDidCompleteOnboarding(true);
    } // QSettings writes on destruction
    SettingsStore store(path());
    EXPECT_EQ(store.wideDeviceUID(), QStringLiteral("usb-0000:00:14.0-1:1.0|046d:0825"));
    EXPECT_EQ(store.praxisText(), QStringLiteral("Zahnarztpraxis Köhler, Berlin"));
    EXPECT_FALSE(store.watermarkOn());
    EXPECT_TRUE(store.resolutionHigh());
    EXPECT_EQ(store.appearanceMode(), 2);
    EXPECT_DOUBLE_EQ(store.stabGain(), 0.25);
    EXPECT_DOUBLE_EQ(store.stabLead(), -0.1);
    EXPECT_EQ(store.recordingFolderPath(), QByteArray("/home/ärztin/Aufnahmen"));
    EXPECT_TRUE(store.didCompleteOnboarding());
}

TEST_F(SettingsStoreTest, WrongTypesInTheFileReadAsDefaults) {
    writeFile("[General]\n"
              "watermarkOn=abc\n"
              "resolutionHigh=1\n"
              "didCompleteOnboarding=yes\n"
              "appearanceMode=abc\n"
              "stabGain=viel\n"
              "stabSmoothing=nan\n"
              "stabCropZoom=inf\n"
              "stabLead=0.2\n"
              "recordingFolderPath=/kein/bytes\n"
              "devShowFPS=true\n");
    SettingsStore store(path());
    EXPECT_TRUE(store.watermarkOn());
    EXPECT_FALSE(store.resolutionHigh());
    EXPECT_FALSE(store.didCompleteOnboarding());
    EXPECT_EQ(store.appearanceMode(), 0);
    EXPECT_DOUBLE_EQ(store.stabGain(), 0.5);
    EXPECT_DOUBLE_EQ(store.stabSmoothing(), 0.85);
    EXPECT_DOUBLE_EQ(store.stabCropZoom(), 1.15);
    EXPECT_DOUBLE_EQ(store.stabLead(), 0.2); // well-formed values still count
    EXPECT_FALSE(store.contains(Setting::recordingFolderPath));
    EXPECT_TRUE(store.devShowFPS());
}

TEST_F(SettingsStoreTest, WritingNotifiesOnlyTheChangedKey) {
    SettingsStore store(path());
    QSignalSpy gain(&store, &SettingsStore::stabGainChanged);
    QSignalSpy text(&store, &SettingsStore::praxisTextChanged);
    QSignalSpy any(&store, &SettingsStore::settingChanged);
    store.setStabGain(0.7);
    store.setStabGain(0.7); // unchanged: no second notification
    EXPECT_EQ(gain.count(), 1);
    EXPECT_EQ(text.count(), 0);
    ASSERT_EQ(any.count(), 1);
    EXPECT_EQ(any.at(0).at(0).value<Setting>(), Setting::stabGain);
}

TEST_F(SettingsStoreTest, ValuesOfTheWrongTypeAreRefused) {
    SettingsStore store(path());
    EXPECT_FALSE(store.setValue(Setting::watermarkOn, QStringLiteral("abc")));
    EXPECT_FALSE(store.setValue(Setting::stabGain, QStringLiteral("viel")));
    EXPECT_FALSE(store.setValue(Setting::stabGain, std::numeric_limits<double>::infinity()));
    EXPECT_TRUE(store.watermarkOn());
    EXPECT_DOUBLE_EQ(store.stabGain(), 0.5);
    EXPECT_TRUE(store.setValue(Setting::appearanceMode, 1.0)); // QML numbers are doubles
    EXPECT_EQ(store.appearanceMode(), 1);
}

TEST_F(SettingsStoreTest, ReadersOnOtherThreadsSeeOldOrNewValuesNeverTornOnes) {
    SettingsStore store(path());
    std::atomic<bool> stop{false};
    std::atomic<long> reads{0};
    std::atomic<long> bad{0};
    std::thread reader([&] {
        while (!stop) {
            const double gain = store.stabGain();
            const QString text = store.praxisText();
            if (gain != 0.5 && gain != 0.25)
                ++bad;
            if (text != QStringLiteral("Praxis Dr. Muster") && text != QStringLiteral("Praxis B"))
                ++bad;
            ++reads;
        }
    });
    for (int i = 0; i < 2000; ++i) {
        store.setStabGain(i % 2 ? 0.5 : 0.25);
        store.setPraxisText(i % 2 ? QStringLiteral("Praxis Dr. Muster")
                                  : QStringLiteral("Praxis B"));
    }
    while (reads < 1000)
        std::this_thread::yield();
    stop = true;
    reader.join();
    EXPECT_EQ(bad.load(), 0);
}
