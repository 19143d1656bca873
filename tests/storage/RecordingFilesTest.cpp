#include "storage/RecordingFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
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
    EXPECT_TRUE(isPartialRecordingName(QStringLiteral(".ostrel-1763301909.partial.mp4")));
    EXPECT_TRUE(isPartialRecordingName(QStringLiteral(".ostrel-1763301909-2.partial.mp4")));
    for (const char* other : {"ostrel-1763301909.mp4", "OSTREL-2026-11-16_14-05-09.mp4",
                              ".ostrel-x.partial.mp4", ".ostrel-1.partial.mp4.part"})
        EXPECT_FALSE(isPartialRecordingName(QString::fromLatin1(other))) << other;
    EXPECT_EQ(unsavedRecordingName(QStringLiteral("/a/.ostrel-1763301909-2.partial.mp4")),
              QStringLiteral("ostrel-1763301909.mp4"));
}

TEST(RecordingFiles, APartialFileIsHiddenLockedAndFreedWithItsOwner) {
    QTemporaryDir dir;
    auto created = PartialRecording::create(dir.path(), 1763301909);
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<PartialRecording>>(created));
    auto owner = std::move(std::get<std::unique_ptr<PartialRecording>>(created));
    EXPECT_EQ(owner->path(), dir.filePath(QStringLiteral(".ostrel-1763301909.partial.mp4")));
    EXPECT_EQ(partialRecordings(dir.path()), QStringList{owner->path()});

    // Nobody else takes it while it is held, however recently it was written.
    EXPECT_EQ(PartialRecording::adopt(owner->path()), nullptr);
    QProcess other; // another process, as another instance of the app would be
    other.start(QStringLiteral("flock"),
                {QStringLiteral("-n"), owner->path(), QStringLiteral("true")});
    ASSERT_TRUE(other.waitForFinished());
    EXPECT_NE(other.exitCode(), 0);

    const QString path = owner->path();
    owner.reset(); // as when the process dies
    auto adopted = PartialRecording::adopt(path);
    ASSERT_NE(adopted, nullptr);
    EXPECT_EQ(PartialRecording::adopt(path), nullptr) << "now the adopter holds it";

    // The lock moves with the file when it gets its final name.
    const QString saved = dir.filePath(QStringLiteral("OSTREL-x.mp4"));
    EXPECT_EQ(adopted->moveTo(saved), std::nullopt);
    EXPECT_FALSE(QFileInfo::exists(path));
    other.start(QStringLiteral("flock"), {QStringLiteral("-n"), saved, QStringLiteral("true")});
    ASSERT_TRUE(other.waitForFinished());
    EXPECT_NE(other.exitCode(), 0);
    EXPECT_EQ(PartialRecording::adopt(dir.filePath(QStringLiteral("fehlt.mp4"))), nullptr);
}

TEST(RecordingFiles, MoveReplacesAFileOfTheSameNameAndAFailedOneKeepsTheSource) {
    QTemporaryDir dir;
    const QString source = dir.filePath(QStringLiteral("ostrel-1.mp4"));
    const QString destination = dir.filePath(QStringLiteral("OSTREL-x.mp4"));
    ASSERT_TRUE(writeFile(source, "neu"));
    ASSERT_TRUE(writeFile(destination, "alt und länger"));
    EXPECT_EQ(moveFileReplacing(source, destination), std::nullopt);
    EXPECT_EQ(readFile(destination), QByteArray("neu"));
    EXPECT_FALSE(QFileInfo::exists(source));

    ASSERT_TRUE(writeFile(source, QByteArray(4096, 'v')));
    EXPECT_EQ(moveFileReplacing(source, dir.filePath(QStringLiteral("entfernt/OSTREL-y.mp4"))),
              QStringLiteral("Datei oder Ordner nicht gefunden"));
    EXPECT_EQ(readFile(source).size(), 4096);
    EXPECT_TRUE(moveFileReplacing(dir.filePath(QStringLiteral("gibt-es-nicht.mp4")), destination));
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
