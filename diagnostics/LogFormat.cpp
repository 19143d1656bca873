#include "diagnostics/LogFormat.h"

#include <QDate>
#include <QFile>
#include <QStringDecoder>

#include <ctime>

namespace logformat {

namespace {

const QLatin1String kGap("  ");

qint64 floorDiv(qint64 a, qint64 b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

std::tm localParts(qint64 secondsSinceEpoch) {
    std::time_t t = static_cast<std::time_t>(secondsSinceEpoch);
    std::tm parts{};
    localtime_r(&t, &parts);
    return parts;
}

void putDigits(char* out, int value, int count) {
    for (int i = count - 1; i >= 0; --i) {
        out[i] = char('0' + value % 10);
        value /= 10;
    }
}

int digitsAt(QStringView text, int from, int count) {
    int value = 0;
    for (int i = from; i < from + count; ++i) {
        const QChar c = text[i];
        if (c < u'0' || c > u'9')
            return -1;
        value = value * 10 + (c.unicode() - u'0');
    }
    return value;
}

std::optional<QDateTime> parseFullTimestamp(QStringView text) {
    if (text.size() != 19 || text[4] != u'-' || text[7] != u'-' || text[10] != u' ' ||
        text[13] != u':' || text[16] != u':')
        return std::nullopt;
    const int year = digitsAt(text, 0, 4), month = digitsAt(text, 5, 2), day = digitsAt(text, 8, 2);
    const int hour = digitsAt(text, 11, 2), minute = digitsAt(text, 14, 2);
    const int second = digitsAt(text, 17, 2);
    if (year < 0 || month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0)
        return std::nullopt;
    if (!QDate::isValid(year, month, day) || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    const std::time_t t = std::mktime(&parts);
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(t));
}

} // namespace

QString fullTimestamp(const QDateTime& date) {
    const std::tm p = localParts(floorDiv(date.toMSecsSinceEpoch(), 1000));
    char text[19];
    putDigits(text, p.tm_year + 1900, 4);
    text[4] = '-';
    putDigits(text + 5, p.tm_mon + 1, 2);
    text[7] = '-';
    putDigits(text + 8, p.tm_mday, 2);
    text[10] = ' ';
    putDigits(text + 11, p.tm_hour, 2);
    text[13] = ':';
    putDigits(text + 14, p.tm_min, 2);
    text[16] = ':';
    putDigits(text + 17, p.tm_sec, 2);
    return QString::fromLatin1(text, 19);
}

QString exportTime(const QDateTime& date) {
    const qint64 ms = date.toMSecsSinceEpoch();
    const std::tm p = localParts(floorDiv(ms, 1000));
    char text[12];
    putDigits(text, p.tm_hour, 2);
    text[2] = ':';
    putDigits(text + 3, p.tm_min, 2);
    text[5] = ':';
    putDigits(text + 6, p.tm_sec, 2);
    text[8] = '.';
    putDigits(text + 9, int(ms - floorDiv(ms, 1000) * 1000), 3);
    return QString::fromLatin1(text, 12);
}

QByteArray fileLine(const QDateTime& date, LogLevel level, const QString& message) {
    QString line = fullTimestamp(date);
    line += kGap;
    line += logLevelText(level);
    line += kGap;
    line += message;
    line += u'\n';
    return line.toUtf8();
}

std::optional<LogEntry> parseLine(QStringView line) {
    // Split at every two-space gap: part 1 is the time, part 2 the level, the rest the message
    // (joined again with its gaps, so a message with two spaces comes back unchanged).
    const qsizetype firstGap = line.indexOf(kGap);
    if (firstGap < 0)
        return std::nullopt;
    const qsizetype secondGap = line.indexOf(kGap, firstGap + 2);
    if (secondGap < 0)
        return std::nullopt;
    const auto date = parseFullTimestamp(line.first(firstGap));
    if (!date)
        return std::nullopt;
    const auto level = logLevelFromText(line.sliced(firstGap + 2, secondGap - firstGap - 2));
    if (!level)
        return std::nullopt;
    return LogEntry{QUuid::createUuid(), *date, *level, line.sliced(secondGap + 2).toString()};
}

std::vector<LogEntry> parseTail(QStringView text, int maxLines) {
    std::vector<QStringView> lines;
    qsizetype end = text.size();
    // Walk back from the end, collecting the last `maxLines` non-empty lines.
    while (end > 0 && int(lines.size()) < maxLines) {
        const qsizetype feed = text.lastIndexOf(u'\n', end - 1);
        const qsizetype start = feed < 0 ? 0 : feed + 1;
        if (end > start)
            lines.push_back(text.sliced(start, end - start));
        if (feed < 0)
            break;
        end = feed;
    }
    std::vector<LogEntry> entries;
    entries.reserve(lines.size());
    for (auto it = lines.rbegin(); it != lines.rend(); ++it)
        if (auto entry = parseLine(*it))
            entries.push_back(std::move(*entry));
    return entries;
}

std::vector<LogEntry> readTail(const QString& path, int maxLines) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const qint64 size = file.size();
    qint64 chunk = 64 * 1024;
    QByteArray tail;
    qsizetype firstWholeLine = 0;
    for (;;) {
        const qint64 start = std::max<qint64>(0, size - chunk);
        if (!file.seek(start))
            return {};
        tail = file.read(size - start);
        if (tail.size() != size - start)
            return {};
        // Unless the tail reaches the file's start, its first line may be cut: skip it.
        firstWholeLine = 0;
        if (start > 0) {
            const qsizetype feed = tail.indexOf('\n');
            firstWholeLine = feed < 0 ? tail.size() : feed + 1;
        }
        if (start == 0)
            break;
        int lines = 0;
        bool inLine = false;
        for (qsizetype i = firstWholeLine; i < tail.size(); ++i) {
            if (tail[i] == '\n') {
                lines += inLine;
                inLine = false;
            } else {
                inLine = true;
            }
        }
        lines += inLine;
        if (lines >= maxLines)
            break;
        chunk *= 4;
    }

    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(QByteArrayView(tail).sliced(firstWholeLine));
    if (decoder.hasError())
        return {};
    return parseTail(text, maxLines);
}

QString exportLine(const LogEntry& entry) {
    QString line = exportTime(entry.date);
    line += kGap;
    line += logLevelText(entry.level).leftJustified(6, u' ');
    line += kGap;
    line += entry.message;
    return line;
}

} // namespace logformat
