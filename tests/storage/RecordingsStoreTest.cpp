#include "storage/RecordingsStore.h"

#include "diagnostics/OstrelLog.h"
#include "settings/SettingsStore.h"
#include "support/LogProbe.h"

#include <QDir>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class RecordingsStoreTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString iniPath() const { return dir.filePath(QStringLiteral("ostrel.ini")); }

    LogProbe log;
};

} // namespace

TEST_F(RecordingsStoreTest, FirstLaunchHasNoFolderAndLogsNothing) {
    SettingsStore settings(iniPath());
    RecordingsStore store(settings);
    EXPECT_TRUE(store.folderURL().isEmpty());
    EXPECT_TRUE(log.entries().empty());
    EXPECT_FALSE(store.isReachable());
    EXPECT_FALSE(store.availableCapacity().has_value());
    store.revealInFileManager(); // nothing to show, nothing happens
}

TEST_F(RecordingsStoreTest, ChosenFolderIsLoggedOnceAndSurvivesARestart) {
    const QString folder = dir.filePath(QStringLiteral("Aufnahmen mit  Leerzeichen"));
    ASSERT_TRUE(QDir().mkpath(folder));
    {
        SettingsStore settings(iniPath());
        RecordingsStore store(settings);
        QSignalSpy changed(&store, &RecordingsStore::folderURLChanged);
        ASSERT_TRUE(store.setFolder(QUrl::fromLocalFile(folder + QStringLiteral("/"))));
        EXPECT_EQ(changed.count(), 1);
        EXPECT_EQ(store.folderPath(), folder);
        EXPECT_TRUE(store.isReachable());
        ASSERT_TRUE(store.availableCapacity().has_value());
        EXPECT_GT(*store.availableCapacity(), 0);
        settings.sync();
    }
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].first, LogLevel::event);
    EXPECT_EQ(entries[0].second, QStringLiteral("Aufnahmeordner gesetzt: ") + folder);

    SettingsStore settings(iniPath());
    RecordingsStore reopened(settings);
    EXPECT_EQ(reopened.folderPath(), folder);
    EXPECT_EQ(log.entries().size(), 1u);
}

TEST_F(RecordingsStoreTest, ChooserStartsBesideTheSuggestedFolderNeverInsideIt) {
    SettingsStore settings(iniPath());
    RecordingsStore store(settings);
    const QString movies = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    EXPECT_EQ(store.defaultFolder().toLocalFile(),
              QDir(movies).filePath(QStringLiteral("OSTREL Aufnahmen")));
    EXPECT_EQ(store.chooserStartFolder().toLocalFile(),
              QFileInfo(movies).isDir() ? movies : QDir::homePath());
    EXPECT_FALSE(QFileInfo::exists(store.defaultFolder().toLocalFile()));
    // A missing folder on the way: the nearest one above that exists, never above home.
    QTemporaryDir stick;
    const struct {
        QString suggested;
        QString start;
    } cases[] = {
        {stick.filePath(QStringLiteral("Praxis")), stick.path()},
        {stick.filePath(QStringLiteral("fehlt/auch/Praxis")), stick.path()},
        {QDir::home().filePath(QStringLiteral("ostrel-fehlt-1/ostrel-fehlt-2/Aufnahmen")),
         QDir::homePath()},
    };
    for (const auto& c : cases)
        EXPECT_EQ(store.chooserStartFolder(QUrl::fromLocalFile(c.suggested)).toLocalFile(), c.start)
            << c.suggested.toStdString();
}
