#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>

class OstrelLog;

// What the diagnostics window does beyond showing the log: copy, share as a file, clear, and
// the command that gives the user access to cameras.
class DiagnosticsActions : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString versionText READ versionText CONSTANT)
    Q_PROPERTY(QString videoGroupCommand READ videoGroupCommand CONSTANT)
    Q_PROPERTY(bool privacySettingsAvailable READ privacySettingsAvailable CONSTANT)
public:
    explicit DiagnosticsActions(OstrelLog& log, QObject* parent = nullptr);

    QString versionText() const;
    Q_INVOKABLE void copyToClipboard() const;
    // Writes the export to `file`; the error text, or an empty text on success.
    Q_INVOKABLE QString saveExport(const QUrl& file) const;
    Q_INVOKABLE QUrl suggestedExportFile() const;
    Q_INVOKABLE QUrl exportFolder() const;
    Q_INVOKABLE static QString fileName(const QUrl& file);
    Q_INVOKABLE void clearLog();
    // Camera device nodes belong to the group "video"; a user outside it gets EACCES.
    static QString videoGroupCommand();
    Q_INVOKABLE void copyVideoGroupCommand() const;

    // The desktop's privacy panel for the camera, where there is one (GNOME's settings):
    // the program and its arguments, for `desktop` as in XDG_CURRENT_DESKTOP.
    static QStringList privacySettingsCommand(const QString& desktop);
    bool privacySettingsAvailable() const;
    // Fire and forget: nothing is shown when the panel does not open.
    Q_INVOKABLE void openPrivacySettings() const;

private:
    QPointer<OstrelLog> m_log;
};
