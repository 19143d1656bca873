#include "diagnostics/OstrelLog.h"
#include "diagnostics/LogFormat.h"
#include "runtime/SerialQueue.h"
#include "support/EventLoop.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QString kVersion = QStringLiteral("PC · Debian GNU/Linux 12 (bookworm) · Linux 6.1\n"
                                        "OSTREL App v1.0 (42)");

QByteArray readAll(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QList<QByteArray> fileLines(const QString& path) {
    QList<QByteArray> lines = readAll(path).split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

class OstrelLogTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path() const { return dir.filePath(QStringLiteral("ostrel-diagnose.log")); }
};

} // namespace

// The line format itself is LogFileLine's; this finds faults in writing at the end and
// reading back at the start.
TEST_F(OstrelLogTest, RoundTripsThroughTheFileIntoTheNextRun) {
    const QString message = QStringLiteral("zwei  Leerzeichen — Ä Ö Ü ß");
    {
        OstrelLog first(path(), kVersion);
        first.log(LogLevel::warn, message);
    } // the destructor writes what is still queued
    EXPECT_EQ(fileLines(path()).size(), 2) << "the start-up entry's two version lines on one";

    OstrelLog second(path(), kVersion);
    const auto& entries = second.entries();
    ASSERT_EQ(entries.size(), 3u); // two from the first run plus the new start-up entry
    EXPECT_EQ(entries[1].message, message);
    EXPECT_EQ(entries[1].level, LogLevel::warn);
    EXPECT_NE(entries[0].id, entries[1].id);
    // Read-back entries export with zero milliseconds.
    EXPECT_TRUE(second.exportText().contains(QStringLiteral(".000  WARN    ") + message));
}

TEST_F(OstrelLogTest, ClearLeavesOneEntryAndOneLineAndTheListIsCappedAt1000OldestFirst) {
    OstrelLog log(path(), kVersion);
    for (int i = 0; i < 20; ++i)
        log.log(LogLevel::warn, QStringLiteral("vorher"));
    log.clear();
    ASSERT_EQ(log.entries().size(), 1u);
    EXPECT_EQ(log.entries()[0].level, LogLevel::event);
    EXPECT_EQ(log.entries()[0].message, QStringLiteral("Protokoll geleert"));
    log.flush();
    ASSERT_EQ(fileLines(path()).size(), 1);
    EXPECT_TRUE(fileLines(path())[0].endsWith("  EVENT  Protokoll geleert"));

    for (int i = 2; i <= 1001; ++i)
        log.log(LogLevel::info, QString::number(i));
    ASSERT_EQ(log.entries().size(), 1000u);
    EXPECT_EQ(log.entries().front().message, QStringLiteral("2"));
    EXPECT_EQ(log.entries().back().message, QStringLiteral("1001"));
    log.log(LogLevel::info, QStringLiteral("1002"));
    EXPECT_EQ(log.entries().front().message, QStringLiteral("3"));
    log.flush();
    EXPECT_EQ(fileLines(path()).size(), 1002); // the file keeps everything since the clear
}

TEST_F(OstrelLogTest, PostFromOtherThreadsArrivesOnTheMainThreadInOrder) {
    OstrelLog log(path(), kVersion);
    {
        SerialQueue worker("com.ostrel.test");
        worker.sync([&] {
            for (int i = 0; i < 100; ++i)
                log.post(LogLevel::info, QString::number(i));
        });
    }
    EXPECT_EQ(log.entries().size(), 1u); // nothing until the main thread runs
    ASSERT_TRUE(pumpUntil([&] { return log.entries().size() == 101; }));
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(log.entries()[size_t(i) + 1].message, QString::number(i));
}

TEST_F(OstrelLogTest, UnwritableLocationKeepsTheLogInMemory) {
    // The "documents folder" is a plain file, so nothing can be created below it.
    const QString blocker = dir.filePath(QStringLiteral("Dokumente"));
    {
        QFile file(blocker);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    OstrelLog log(blocker + QStringLiteral("/ostrel-diagnose.log"), kVersion);
    log.log(LogLevel::error, QStringLiteral("trotzdem da"));
    log.flush();
    EXPECT_EQ(log.entries().size(), 2u);
    EXPECT_EQ(log.entries().back().message, QStringLiteral("trotzdem da"));
    log.clear(); // removing a file that cannot exist is ignored too
    EXPECT_EQ(log.entries().size(), 1u);
}
