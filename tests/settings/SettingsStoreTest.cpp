#include "settings/SettingsStore.h"

#include <QFile>
#include <QSignalSpy>
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

TEST_F(SettingsStoreTest, WrongTypesInTheFileReadAsDefaultsAndAreRefusedWhenWritten) {
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
    const SettingsStore defaults(dir.filePath(QStringLiteral("leer.conf")));
    for (Setting setting : {Setting::watermarkOn, Setting::resolutionHigh,
                            Setting::didCompleteOnboarding, Setting::appearanceMode,
                            Setting::stabGain, Setting::stabSmoothing, Setting::stabCropZoom})
        EXPECT_EQ(store.value(setting), defaults.value(setting)) << settingSpec(setting).key;
    EXPECT_DOUBLE_EQ(store.stabLead(), 0.2); // well-formed values still count
    EXPECT_TRUE(store.devShowFPS());
    EXPECT_FALSE(store.contains(Setting::recordingFolderPath));

    EXPECT_FALSE(store.setValue(Setting::watermarkOn, QStringLiteral("abc")));
    EXPECT_FALSE(store.setValue(Setting::stabGain, QStringLiteral("viel")));
    EXPECT_FALSE(store.setValue(Setting::stabGain, std::numeric_limits<double>::infinity()));
    EXPECT_EQ(store.value(Setting::stabGain), defaults.value(Setting::stabGain));
    EXPECT_TRUE(store.setValue(Setting::appearanceMode, 1.0)); // QML numbers are doubles
    EXPECT_EQ(store.appearanceMode(), 1);
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
