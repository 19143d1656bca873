#include "capture/RecordingFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool sameFileSystem(const QString& a, const QString& b) {
    struct stat sa {
    }, sb{};
    return ::stat(a.toLocal8Bit().constData(), &sa) == 0 &&
           ::stat(b.toLocal8Bit().constData(), &sb) == 0 && sa.st_dev == sb.st_dev;
}

} // namespace

TEST(RecordingFiles, NamesFollowThePatterns) {
    const QDateTime start = QDateTime::fromSecsSinceEpoch(1763301909, Qt::UTC);
    EXPECT_EQ(temporaryRecordingPath(QStringLiteral("/tmp"), start),
              QStringLiteral("/tmp/ostrel-1763301909.mp4"));
    EXPECT_EQ(finalRecordingName(QStringLiteral("2026-11-16_14-05-09")),
              QStringLiteral("OSTREL-2026-11-16_14-05-09.mp4"));
}

TEST(RecordingFiles, MoveReplacesAFileOfTheSameName) {
    QTemporaryDir dir;
    const QString source = dir.filePath(QStringLiteral("ostrel-1.mp4"));
    const QString destination = dir.filePath(QStringLiteral("OSTREL-x.mp4"));
    ASSERT_TRUE(writeFile(source, "neu"));
    ASSERT_TRUE(writeFile(destination, "alt und länger"));
    EXPECT_EQ(moveFileReplacing(source, destination), std::nullopt);
    EXPECT_EQ(readFile(destination), QByteArray("neu"));
    EXPECT_FALSE(QFileInfo::exists(source));
}

TEST(RecordingFiles, FailedMoveKeepsTheRecordingWhereItWas) {
    QTemporaryDir dir;
    const QString source = dir.filePath(QStringLiteral("ostrel-2.mp4"));
    ASSERT_TRUE(writeFile(source, QByteArray(4096, 'v')));
    const auto error =
        moveFileReplacing(source, dir.filePath(QStringLiteral("entfernt/OSTREL-y.mp4")));
    ASSERT_TRUE(error);
    EXPECT_EQ(*error, QStringLiteral("Datei oder Ordner nicht gefunden"));
    EXPECT_EQ(readFile(source).size(), 4096);
    EXPECT_TRUE(moveFileReplacing(dir.filePath(QStringLiteral("gibt-es-nicht.mp4")),
                                  dir.filePath(QStringLiteral("ziel.mp4"))));
}

TEST(RecordingFiles, MoveAcrossFileSystemsCopiesThenRemoves) {
    QTemporaryDir here;
    QTemporaryDir there(QStringLiteral("/dev/shm/ostrel-test-XXXXXX"));
    if (!there.isValid() || sameFileSystem(here.path(), there.path()))
        GTEST_SKIP() << "needs a second file system at /dev/shm";
    const QString source = here.filePath(QStringLiteral("ostrel-3.mp4"));
    const QByteArray bytes(3 << 20, 'm');
    ASSERT_TRUE(writeFile(source, bytes));
    const QString destination = there.filePath(QStringLiteral("OSTREL-z.mp4"));
    EXPECT_EQ(moveFileReplacing(source, destination), std::nullopt);
    EXPECT_EQ(readFile(destination), bytes);
    EXPECT_FALSE(QFileInfo::exists(source));
    EXPECT_EQ(QDir(there.path()).entryList(QDir::Files | QDir::Hidden).size(), 1)
        << "no partial copy may stay behind";

    // Into a folder that vanished on the other file system: the source stays, nothing half-copied.
    ASSERT_TRUE(writeFile(source, bytes));
    EXPECT_TRUE(moveFileReplacing(source, there.filePath(QStringLiteral("weg/OSTREL-z.mp4"))));
    EXPECT_EQ(readFile(source), bytes);
}

TEST(RecordingFiles, LeftoversAreOldTemporaryRecordingsOnly) {
    QTemporaryDir dir;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const char* name : {"ostrel-100.mp4", "ostrel-200.mp4", "ostrel-diagnose.log",
                             "OSTREL-2026-11-16_14-05-09.mp4", "anderes.mp4"})
        ASSERT_TRUE(writeFile(dir.filePath(QString::fromLatin1(name)), "x"));
    QFile old(dir.filePath(QStringLiteral("ostrel-100.mp4")));
    ASSERT_TRUE(old.open(QIODevice::ReadWrite));
    ASSERT_TRUE(old.setFileTime(now.addSecs(-3600), QFileDevice::FileModificationTime));
    old.close();

    const QStringList found = leftoverRecordings(dir.path(), now);
    EXPECT_EQ(found, QStringList{dir.filePath(QStringLiteral("ostrel-100.mp4"))})
        << "ostrel-200.mp4 was written just now and may still be recording";
    EXPECT_EQ(leftoverRecordings(dir.path(), now.addSecs(60)).size(), 2);
    EXPECT_TRUE(leftoverRecordings(dir.filePath(QStringLiteral("fehlt")), now).isEmpty());
}
