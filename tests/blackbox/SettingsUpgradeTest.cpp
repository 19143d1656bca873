// A user of an earlier version updates: the recording folder stored under the earlier key is
// still where photos go, and the settings file then holds it under the new key only.

#include "blackbox/AppRun.h"

#include <QSettings>

#include <gtest/gtest.h>

TEST(SettingsUpgrade, TheRecordingFolderOfAnEarlierVersionIsKeptAndMovedToTheNewKey) {
    AppRun app;
    const QString conf = app.home() + QStringLiteral("/.config/ostrel/ostrel.conf");
    const QString legacyFolderKey = QStringLiteral("recordingFolderBookmark");
    {
        // The file as the earlier version left it: the folder under its earlier key.
        QSettings file(conf, QSettings::IniFormat);
        const QVariant folder = file.value(QStringLiteral("recordingFolderPath"));
        ASSERT_EQ(folder.toByteArray(), app.recordingFolder().toUtf8());
        file.remove(QStringLiteral("recordingFolderPath"));
        file.setValue(legacyFolderKey, folder);
    }

    const auto error = app.startLive();
    ASSERT_FALSE(error) << error->toStdString();
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+p")));
    EXPECT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.jpg"), 3))
        << app.logLines().join(QLatin1Char('\n')).toStdString();
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0);

    QSettings file(conf, QSettings::IniFormat);
    EXPECT_FALSE(file.contains(legacyFolderKey));
    EXPECT_EQ(file.value(QStringLiteral("recordingFolderPath")).toByteArray(),
              app.recordingFolder().toUtf8());
}
