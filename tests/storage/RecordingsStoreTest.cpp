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

TEST_F(RecordingsStoreTest, DeletedFolderWarnsOnceAndKeepsTheStoredPath) {
    const QString folder = dir.filePath(QStringLiteral("USB-Stick"));
    ASSERT_TRUE(QDir().mkpath(folder));
    {
        SettingsStore settings(iniPath());
        RecordingsStore store(settings);
        ASSERT_TRUE(store.setFolder(QUrl::fromLocalFile(folder)));
        settings.sync();
    }
    ASSERT_TRUE(QDir(folder).removeRecursively());

    SettingsStore settings(iniPath());
    RecordingsStore store(settings);
    EXPECT_TRUE(store.folderURL().isEmpty());
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[1].first, LogLevel::warn);
    EXPECT_TRUE(entries[1].second.startsWith(
        QStringLiteral("Aufnahmeordner konnte nicht aufgelöst werden: ")));
    EXPECT_EQ(settings.bytes(Setting::recordingFolderPath), folder.toUtf8());

    // The drive is back: the next launch finds the folder again.
    ASSERT_TRUE(QDir().mkpath(folder));
    RecordingsStore later(settings);
    EXPECT_EQ(later.folderPath(), folder);
}

TEST_F(RecordingsStoreTest, UnusableFolderIsAnErrorAndChangesNothing) {
    const QString folder = dir.filePath(QStringLiteral("gut"));
    ASSERT_TRUE(QDir().mkpath(folder));
    QFile file(dir.filePath(QStringLiteral("datei.txt")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();

    SettingsStore settings(iniPath());
    RecordingsStore store(settings);
    ASSERT_TRUE(store.setFolder(QUrl::fromLocalFile(folder)));
    QSignalSpy changed(&store, &RecordingsStore::folderURLChanged);
    for (const QUrl& bad : {QUrl::fromLocalFile(dir.filePath(QStringLiteral("fehlt"))),
                            QUrl::fromLocalFile(file.fileName()),
                            QUrl(QStringLiteral("https://ostrel.de/")), QUrl()}) {
        EXPECT_FALSE(store.setFolder(bad)) << bad.toString().toStdString();
    }
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(store.folderPath(), folder);
    EXPECT_EQ(settings.bytes(Setting::recordingFolderPath), folder.toUtf8());
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 5u);
    for (std::size_t i = 1; i < entries.size(); ++i) {
        EXPECT_EQ(entries[i].first, LogLevel::error);
        EXPECT_TRUE(entries[i].second.startsWith(
            QStringLiteral("Aufnahmeordner-Bookmark fehlgeschlagen: ")));
    }
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
