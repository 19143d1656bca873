#pragma once

#include <QObject>
#include <QPointer>
#include <QUrl>

class OstrelLog;

// What the diagnostics window does beyond showing the log: copy, share as a file, clear, and
// the way to the desktop's privacy settings.
class DiagnosticsActions : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString versionText READ versionText CONSTANT)
public:
    explicit DiagnosticsActions(OstrelLog& log, QObject* parent = nullptr);

    QString versionText() const;
    Q_INVOKABLE void copyToClipboard() const;
    // Writes the export to `file`; the error text, or an empty text on success.
    Q_INVOKABLE QString saveExport(const QUrl& file) const;
    Q_INVOKABLE QUrl suggestedExportFile() const;
    Q_INVOKABLE void clearLog();
    // Opens the desktop's privacy settings where there are any; otherwise does nothing.
    Q_INVOKABLE bool openPrivacySettings() const;

private:
    QPointer<OstrelLog> m_log;
};
