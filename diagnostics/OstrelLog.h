#pragma once

#include "diagnostics/LogEntry.h"
#include "diagnostics/SystemLog.h"
#include "runtime/SerialQueue.h"

#include <QObject>
#include <QString>

#include <deque>
#include <memory>

// The process-wide diagnostic log: the newest 1000 entries in memory, every entry mirrored to
// the system log and appended to a text file that the next run reads back.
class OstrelLog : public QObject {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY entriesChanged)

public:
    static constexpr int maxEntries = 1000;

    // The single instance, made on first use, which must happen on the main thread. Its file is
    // in the documents folder, or where logLocation() says when that cannot take it.
    static OstrelLog& shared();

    // Reads back the tail of `filePath` and records the start-up entry. `versionText` is the
    // two-line text of the machine and build.
    OstrelLog(const QString& filePath, const QString& versionText, QObject* parent = nullptr);
    ~OstrelLog() override; // writes what is still queued

    // Main thread only.
    void log(LogLevel level, const QString& message);
    void clear();
    QString exportText() const;

    // Any thread: hands the entry to the main thread and returns at once.
    void post(LogLevel level, const QString& message);

    const std::deque<LogEntry>& entries() const { return m_entries; }
    int count() const { return int(m_entries.size()); }
    const QString& filePath() const { return m_filePath; }
    const QString& versionText() const { return m_versionText; }

    // Waits until every queued file write has happened (tests and shutdown).
    void flush() { m_fileQueue->drain(); }

signals:
    void entriesChanged();
    // After `log`: one entry was appended at the end and `dropped` of the oldest were removed
    // from the front to keep the cap. Emitted before entriesChanged.
    void entryAppended(int dropped);
    // After the list was emptied by `clear`, before the entry that records it is appended.
    void entriesCleared();

private:
    void appendToFile(const QByteArray& line);

    std::deque<LogEntry> m_entries;
    const QString m_filePath;
    const QString m_versionText;
    SystemLog m_systemLog;            // used on the file queue only
    bool m_fileFolderChecked = false; // used on the file queue only
    std::unique_ptr<SerialQueue> m_fileQueue;
};

// Shorthands for the shared log, named for the thread they may be called on.
inline void logOnMainThread(LogLevel level, const QString& message) {
    OstrelLog::shared().log(level, message);
}
inline void logFromAnyThread(LogLevel level, const QString& message) {
    OstrelLog::shared().post(level, message);
}
