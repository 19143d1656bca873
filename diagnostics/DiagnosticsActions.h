#pragma once

#include <QObject>
#include <QPointer>
#include <QUrl>

class OstrelLog;

// What the diagnostics window does beyond showing the log: copy, share as a file, clear, and
// the command that gives the user access to cameras.
class DiagnosticsActions : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString versionText READ versionText CONSTANT)
    Q_PROPERTY(QString videoGroupCommand READ videoGroupCommand CONSTANT)
public:
    explicit DiagnosticsActions(OstrelLog& log, QObject* parent = nullptr);

    QString versionText() const;
    Q_INVOKABLE void copyToClipboard() const;
    // Writes the export to `file`; the error text, or an empty text on success.
    Q_INVOKABLE QString saveExport(const QUrl& file) const;
    Q_INVOKABLE QUrl suggestedExportFile() const;
    Q_INVOKABLE void clearLog();
    // Camera device nodes belong to the group "video"; a user outside it gets EACCES.
    static QString videoGroupCommand();
    Q_INVOKABLE void copyVideoGroupCommand() const;

private:
    QPointer<OstrelLog> m_log;
};
