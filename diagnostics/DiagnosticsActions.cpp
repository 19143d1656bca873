#include "diagnostics/DiagnosticsActions.h"

#include "diagnostics/OstrelLog.h"

#include <QClipboard>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

DiagnosticsActions::DiagnosticsActions(OstrelLog& log, QObject* parent)
    : QObject(parent), m_log(&log) {
}

QString DiagnosticsActions::versionText() const {
    return m_log ? m_log->versionText() : QString();
}

void DiagnosticsActions::copyToClipboard() const {
    if (!m_log)
        return;
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(m_log->exportText());
}

QString DiagnosticsActions::saveExport(const QUrl& file) const {
    if (!m_log)
        return {};
    if (!file.isLocalFile())
        return tr("Kein gültiger Speicherort.");
    QSaveFile out(file.toLocalFile());
    if (!out.open(QIODevice::WriteOnly | QIODevice::Text) ||
        out.write(m_log->exportText().toUtf8()) < 0 || !out.commit())
        return tr("Das Protokoll konnte nicht gespeichert werden: %1").arg(out.errorString());
    return {};
}

QUrl DiagnosticsActions::suggestedExportFile() const {
    // Beside the log file: the documents folder, or the folder the log had to move to when
    // that cannot be written.
    const QString folder =
        m_log ? QFileInfo(m_log->filePath()).absolutePath()
              : QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QUrl::fromLocalFile(QDir(folder).filePath(QStringLiteral("OSTREL-Diagnose.txt")));
}

QUrl DiagnosticsActions::exportFolder() const {
    return suggestedExportFile().adjusted(QUrl::RemoveFilename | QUrl::StripTrailingSlash);
}

QString DiagnosticsActions::fileName(const QUrl& file) {
    return file.fileName();
}

void DiagnosticsActions::clearLog() {
    if (m_log)
        m_log->clear();
}

QString DiagnosticsActions::videoGroupCommand() {
    return QStringLiteral("sudo usermod -aG video $USER");
}

void DiagnosticsActions::copyVideoGroupCommand() const {
    QGuiApplication::clipboard()->setText(videoGroupCommand());
}

QStringList DiagnosticsActions::privacySettingsCommand(const QString& desktop) {
    // GNOME's settings refuse to run on other desktops; its camera page is "camera".
    const bool gnome = desktop.split(u':').contains(QStringLiteral("GNOME"), Qt::CaseInsensitive);
    const QString program = QStandardPaths::findExecutable(QStringLiteral("gnome-control-center"));
    if (!gnome || program.isEmpty())
        return {};
    return {program, QStringLiteral("camera")};
}

bool DiagnosticsActions::privacySettingsAvailable() const {
    return !privacySettingsCommand(qEnvironmentVariable("XDG_CURRENT_DESKTOP")).isEmpty();
}

void DiagnosticsActions::openPrivacySettings() const {
    const QStringList command = privacySettingsCommand(qEnvironmentVariable("XDG_CURRENT_DESKTOP"));
    if (!command.isEmpty())
        QProcess::startDetached(command.first(), command.mid(1));
}
