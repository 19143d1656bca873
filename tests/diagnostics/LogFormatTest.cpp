#include "diagnostics/LogFormat.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace logformat;

namespace {

QDateTime localTime(int y, int mo, int d, int h, int mi, int s, int ms = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms));
}

QString writeFile(const QTemporaryDir& dir, const QByteArray& content) {
    const QString path = dir.filePath(QStringLiteral("ostrel-diagnose.log"));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    return path;
}

QByteArray validLine(int i) {
    return QStringLiteral("2026-11-20 08:%1:%2  INFO  Zeile %3\n")
        .arg((i / 60) % 60, 2, 10, QChar('0'))
        .arg(i % 60, 2, 10, QChar('0'))
        .arg(i)
        .toUtf8();
}

} // namespace

TEST(LogFileLine, ParsesBackWithWholeSecondsAndUnchangedMessage) {
    const QDateTime when = localTime(2026, 11, 23, 14, 30, 15, 456);
    for (const QString& message :
         {QStringLiteral("Aufnahme gestartet"), QStringLiteral("zwei  Leerzeichen  zweimal"),
          QStringLiteral("  führende Lücke"), QStringLiteral("endet mit Lücke  "), QString()}) {
        for (LogLevel level : allLogLevels) {
            QByteArray line = fileLine(when, level, message);
            line.chop(1);
            const auto entry = parseLine(QString::fromUtf8(line));
            ASSERT_TRUE(entry.has_value()) << line.constData();
            EXPECT_EQ(entry->message, message);
            EXPECT_EQ(entry->level, level);
            EXPECT_EQ(entry->date.toSecsSinceEpoch(), when.toSecsSinceEpoch());
            EXPECT_EQ(entry->date.toMSecsSinceEpoch() % 1000, 0);
        }
    }
}

TEST(LogFileLine, RejectsLinesThatAreNotEntries) {
    const char* bad[] = {
        "2026-11-23 14:30:15  INFO",               // one gap only
        "2026-11-23 14:30:15  info  klein",        // lower-case level
        "2026-11-23 14:30:15  Warn  gemischt",     // mixed case
        "2026-11-23 14:30:15  DEBUG  unbekannt",   // no such level
        "2026-11-23 14:30:15   INFO  drei Spaces", // the level part starts with a space
        "2026-11-23 14:30:15 INFO  eine Lücke",    // timestamp and level not separated
        "2026-13-23 14:30:15  INFO  Monat 13",     // invalid date
        "2026-02-30 14:30:15  INFO  30. Februar",  // invalid day
        "2026-11-23 24:00:00  INFO  Stunde 24",    // invalid time
        "2026-11-23T14:30:15  INFO  ISO",          // wrong pattern
        "26-11-23 14:30:15  INFO  kurz",           // short year
        "  Fortsetzung einer Meldung mit Umbruch", // continuation line
        "\x01\x02\x03  \x04  \x05",                // binary
    };
    for (const char* line : bad)
        EXPECT_FALSE(parseLine(QString::fromUtf8(line)).has_value()) << line;
    EXPECT_TRUE(parseLine(u"2026-11-23 14:30:15  FEHLER  ok").has_value());
}

TEST(LogReadBack, MissingOrGarbageFilesGiveNoEntriesAndNeverCrash) {
    QTemporaryDir dir;
    EXPECT_TRUE(readTail(dir.filePath("fehlt.log"), 1000).empty());
    EXPECT_TRUE(readTail(dir.path(), 1000).empty()); // a folder

    QByteArray binary;
    for (int i = 0; i < 300000; ++i)
        binary.append(char((unsigned(i) * 7919u) % 256u));
    EXPECT_NO_THROW(readTail(writeFile(dir, binary), 1000));

    // Not UTF-8: the read fails as a whole.
    QByteArray invalid =
        validLine(1) + QByteArray("2026-11-20 08:00:02  INFO  \xff\xfe\n") + validLine(3);
    EXPECT_TRUE(readTail(writeFile(dir, invalid), 1000).empty());

    // A message written with line feeds: its continuation lines are skipped.
    QByteArray multiline = validLine(1) +
                           QByteArray("2026-11-20 08:00:02  WARN  erste Zeile\nzweite Zeile\n") +
                           validLine(3);
    const auto entries = readTail(writeFile(dir, multiline), 1000);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[1].message, QStringLiteral("erste Zeile"));
}

TEST(LogReadBack, ReadsTheLastLinesOfALargeFileSkippingEmptyAndBadOnes) {
    QTemporaryDir dir;
    QByteArray content;
    // 10 MB of lines with a garbage head that must not matter.
    content += QByteArray(1 << 20, '\xff') + '\n'; // never read: not UTF-8
    int i = 0;
    while (content.size() < 10 * 1024 * 1024)
        content += validLine(i++);
    // Within the last 1000 lines: empty ones are dropped, bad ones take a place.
    content += "\n\nkaputt\n" + validLine(i++);
    const auto entries = readTail(writeFile(dir, content), 1000);
    ASSERT_EQ(entries.size(), 999u);
    EXPECT_EQ(entries.back().message, QStringLiteral("Zeile %1").arg(i - 1));
    EXPECT_EQ(entries[entries.size() - 2].message, QStringLiteral("Zeile %1").arg(i - 2));
    EXPECT_EQ(entries.front().message, QStringLiteral("Zeile %1").arg(i - 999));
}

TEST(LogExport, MessageColumnIsTheSameForEveryLevel) {
    const QDateTime when = localTime(2026, 11, 23, 7, 8, 9, 45);
    const std::pair<LogLevel, const char*> cases[] = {{LogLevel::info, "INFO    "},
                                                      {LogLevel::event, "EVENT   "},
                                                      {LogLevel::warn, "WARN    "},
                                                      {LogLevel::error, "FEHLER  "}};
    for (const auto& [level, text] : cases)
        EXPECT_EQ(exportLine(LogEntry{QUuid(), when, level, QStringLiteral("x")}),
                  QStringLiteral("07:08:09.045  ") + QLatin1String(text) + u'x');
}
