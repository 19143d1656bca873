#include "storage/RecordingsStore.h"

#include "settings/SettingsStore.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(RecordingsStore, ChooserStartsBesideTheSuggestedFolderNeverInsideIt) {
    QTemporaryDir dir;
    SettingsStore settings(dir.filePath(QStringLiteral("ostrel.ini")));
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
