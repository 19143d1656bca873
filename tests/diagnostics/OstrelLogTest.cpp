#include "diagnostics/OstrelLog.h"
#include "diagnostics/LogFormat.h"
#include "diagnostics/LogLocation.h"
#include "runtime/SerialQueue.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

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

TEST_F(OstrelLogTest, StartUpEntryHoldsBothVersionLinesOnOneLine) {
    OstrelLog log(path(), kVersion);
    ASSERT_EQ(log.entries().size(), 1u);
    const LogEntry& entry = log.entries().back();
    EXPECT_EQ(entry.level, LogLevel::event);
    EXPECT_EQ(entry.message, QStringLiteral("App gestartet — PC · Debian GNU/Linux 12 (bookworm) · "
                                            "Linux 6.1 · OSTREL App v1.0 (42)"));
    log.flush();
    const auto lines = fileLines(path());
    ASSERT_EQ(lines.size(), 1);
    EXPECT_EQ(lines[0].mid(19), QStringLiteral("  EVENT  App gestartet — PC · Debian GNU/Linux 12 "
                                               "(bookworm) · Linux 6.1 · OSTREL App v1.0 (42)")
                                    .toUtf8());
    EXPECT_FALSE(lines[0].contains('\r'));
}

TEST_F(OstrelLogTest, RoundTripsThroughTheFileIntoTheNextRun) {
    const QStringList messages{QStringLiteral("Kamera Wide verbunden"),
                               QStringLiteral("zwei  Leerzeichen"),
                               QStringLiteral("Speicherplatz: 12,5 GB frei — Ä Ö Ü ß")};
    std::vector<qint64> seconds;
    {
        OstrelLog first(path(), kVersion);
        first.log(LogLevel::info, messages[0]);
        first.log(LogLevel::warn, messages[1]);
        first.log(LogLevel::error, messages[2]);
        for (const LogEntry& e : first.entries())
            seconds.push_back(e.date.toSecsSinceEpoch());
    } // the destructor writes what is still queued

    OstrelLog second(path(), kVersion);
    const auto& entries = second.entries();
    ASSERT_EQ(entries.size(), 5u); // four from the first run plus the new start-up entry
    EXPECT_EQ(entries[1].message, messages[0]);
    EXPECT_EQ(entries[2].message, messages[1]);
    EXPECT_EQ(entries[2].level, LogLevel::warn);
    EXPECT_EQ(entries[3].message, messages[2]);
    EXPECT_EQ(entries[3].level, LogLevel::error);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(entries[i].date.toSecsSinceEpoch(), seconds[i]);
        EXPECT_EQ(entries[i].date.toMSecsSinceEpoch() % 1000, 0);
    }
    EXPECT_NE(entries[0].id, entries[1].id);
    // Read-back entries export with zero milliseconds.
    const QString exported = second.exportText();
    EXPECT_TRUE(exported.contains(QStringLiteral(".000  WARN    zwei  Leerzeichen")));
}

TEST_F(OstrelLogTest, CapsTheListAt1000AndDropsTheOldestFirst) {
    OstrelLog log(path(), kVersion);
    log.clear(); // list: just "Protokoll geleert"
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

TEST_F(OstrelLogTest, ClearLeavesExactlyOneEntryInTheListAndOneLineInTheFile) {
    OstrelLog log(path(), kVersion);
    for (int i = 0; i < 20; ++i)
        log.log(LogLevel::warn, QStringLiteral("vorher"));
    log.clear();
    ASSERT_EQ(log.entries().size(), 1u);
    EXPECT_EQ(log.entries()[0].level, LogLevel::event);
    EXPECT_EQ(log.entries()[0].message, QStringLiteral("Protokoll geleert"));
    log.flush();
    const auto lines = fileLines(path());
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].endsWith("  EVENT  Protokoll geleert"));
}

TEST_F(OstrelLogTest, ExportHasHeaderRuleAndAlignedEntryLines) {
    OstrelLog log(path(), kVersion);
    log.log(LogLevel::info, QStringLiteral("eins"));
    log.log(LogLevel::event, QStringLiteral("zwei"));
    log.log(LogLevel::warn, QStringLiteral("drei"));
    log.log(LogLevel::error, QStringLiteral("vier"));
    const QStringList lines = log.exportText().split(u'\n');
    ASSERT_EQ(lines.size(), 5 + 5);
    EXPECT_EQ(lines[0], QStringLiteral("OSTREL Diagnose-Protokoll"));
    EXPECT_EQ(lines[1], kVersion.section(u'\n', 0, 0));
    EXPECT_EQ(lines[2], kVersion.section(u'\n', 1, 1));
    EXPECT_TRUE(lines[3].startsWith(QStringLiteral("Erstellt: ")));
    EXPECT_EQ(lines[3].size(), 10 + 19);
    EXPECT_EQ(lines[4], QString(32, QChar(0x2014)));
    for (int i = 6; i < 10; ++i) {
        EXPECT_EQ(lines[i].indexOf(QStringList{"eins", "zwei", "drei", "vier"}[i - 6]), 22)
            << lines[i].toStdString();
    }
    EXPECT_FALSE(log.exportText().endsWith(u'\n'));
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
