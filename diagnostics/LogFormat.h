#pragma once

#include "diagnostics/LogEntry.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <optional>
#include <vector>

// Text forms of the log: file lines, read-back, export. Pure functions, local time zone.
namespace logformat {

// "yyyy-MM-dd HH:mm:ss"
QString fullTimestamp(const QDateTime& date);
// "HH:mm:ss.SSS"
QString exportTime(const QDateTime& date);

// One file line including its final line feed, as UTF-8.
QByteArray fileLine(const QDateTime& date, LogLevel level, const QString& message);

// Parses one line (without its line feed); nullopt when it is not a log line.
std::optional<LogEntry> parseLine(QStringView line);

// Parses the text of a file tail: splits at line feeds, drops empty lines, keeps the last
// `maxLines`, parses them oldest first and skips every line that does not parse.
std::vector<LogEntry> parseTail(QStringView text, int maxLines);

// Reads the entries of the last `maxLines` lines of a log file, reading from its end so that
// start-up does not grow with the file. Missing, unreadable or non-UTF-8 text gives no entries.
std::vector<LogEntry> readTail(const QString& path, int maxLines);

// One line of the export: time with milliseconds, level padded to 6, message.
QString exportLine(const LogEntry& entry);

} // namespace logformat
