#include "diagnostics/OstrelLog.h"

#include "diagnostics/LogFormat.h"
#include "diagnostics/LogLocation.h"
#include "diagnostics/VersionText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

// The process's log in its file's place, saying once when that is not where it belongs.
struct SharedLog {
    LogLocation location = logLocation();
    OstrelLog log{location.filePath, versionText()};

    SharedLog() {
        if (!location.warning.isEmpty())
            log.log(LogLevel::warn, location.warning);
    }
};

} // namespace

OstrelLog& OstrelLog::shared() {
    static SharedLog instance;
    return instance.log;
}

OstrelLog::OstrelLog(const QString& filePath, const QString& versionText, QObject* parent)
    : QObject(parent), m_filePath(filePath), m_versionText(versionText),
      m_fileQueue(std::make_unique<SerialQueue>("com.ostrel.log.file")) {
    for (LogEntry& entry : logformat::readTail(m_filePath, maxEntries))
        m_entries.push_back(std::move(entry));

    QString oneLine = m_versionText;
    oneLine.replace(u'\n', QStringLiteral(" · "));
    log(LogLevel::event, QStringLiteral("App gestartet — ") + oneLine);
}

OstrelLog::~OstrelLog() {
    m_fileQueue.reset();
}

void OstrelLog::log(LogLevel level, const QString& message) {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    m_entries.push_back(LogEntry{QUuid::createUuid(), now, level, message});
    int dropped = 0;
    while (m_entries.size() > size_t(maxEntries)) {
        m_entries.pop_front();
        ++dropped;
    }

    // The system log and the file are written off the main thread, in logging order.
    m_fileQueue->async(
        [this, level, message = message.toUtf8(), line = logformat::fileLine(now, level, message)] {
            m_systemLog.write(level, message);
            appendToFile(line);
        });
    emit entryAppended(dropped);
    emit entriesChanged();
}

void OstrelLog::post(LogLevel level, const QString& message) {
    QMetaObject::invokeMethod(
        this, [this, level, message] { log(level, message); }, Qt::QueuedConnection);
}

void OstrelLog::clear() {
    m_entries.clear();
    emit entriesCleared();
    m_fileQueue->async([path = m_filePath] { QFile::remove(path); });
    log(LogLevel::event, QStringLiteral("Protokoll geleert"));
}

QString OstrelLog::exportText() const {
    QString text = QStringLiteral("OSTREL Diagnose-Protokoll\n");
    text += m_versionText + u'\n';
    text += QStringLiteral("Erstellt: ") +
            logformat::fullTimestamp(QDateTime::currentDateTimeUtc()) + u'\n';
    text += QString(32, QChar(0x2014)) + u'\n';
    bool first = true;
    for (const LogEntry& entry : m_entries) {
        if (!first)
            text += u'\n';
        first = false;
        text += logformat::exportLine(entry);
    }
    return text;
}

void OstrelLog::appendToFile(const QByteArray& line) {
    if (!m_fileFolderChecked) {
        m_fileFolderChecked = true;
        QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    }
    QFile file(m_filePath);
    // Append creates the file when it does not exist yet; failures leave the entry in memory
    // and in the system log only.
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(line);
}
