#include "storage/RecordingsStore.h"

#include "desktop/ShowInFileManager.h"
#include "diagnostics/OstrelLog.h"
#include "settings/SettingsStore.h"
#include "storage/StorageBudget.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QStandardPaths>

namespace {

// Why `path` cannot serve as the recording folder, or none when it can.
std::optional<QString> folderProblem(const QString& path) {
    if (path.isEmpty())
        return QStringLiteral("kein Pfad");
    const QFileInfo info(path);
    if (!info.isAbsolute())
        return QStringLiteral("kein absoluter Pfad: ") + path;
    if (!info.exists())
        return QStringLiteral("Ordner nicht gefunden: ") + path;
    if (!info.isDir())
        return QStringLiteral("kein Ordner: ") + path;
    return std::nullopt;
}

} // namespace

RecordingsStore::RecordingsStore(SettingsStore& settings, QObject* parent)
    : QObject(parent), m_settings(settings) {
    if (const auto folder = resolveStoredFolder())
        m_folderURL = *folder;
}

std::optional<QUrl> RecordingsStore::resolveStoredFolder() {
    const QByteArray stored = m_settings.bytes(Setting::recordingFolderPath);
    if (stored.isEmpty())
        return std::nullopt;
    const QString path = QString::fromUtf8(stored);
    if (const auto problem = folderProblem(path)) {
        // The stored path stays: the drive may be back at the next launch.
        logOnMainThread(LogLevel::warn,
                        QStringLiteral("Aufnahmeordner konnte nicht aufgelöst werden: ") +
                            *problem);
        return std::nullopt;
    }
    return QUrl::fromLocalFile(QDir::cleanPath(path));
}

bool RecordingsStore::setFolder(const QUrl& folder) {
    const QString path = folder.isLocalFile() ? folder.toLocalFile() : QString();
    if (const auto problem = folderProblem(path)) {
        logOnMainThread(LogLevel::error,
                        QStringLiteral("Aufnahmeordner-Bookmark fehlgeschlagen: ") + *problem);
        return false;
    }
    const QString clean = QDir::cleanPath(path);
    m_settings.setValue(Setting::recordingFolderPath, clean.toUtf8());
    setFolderURL(QUrl::fromLocalFile(clean));
    logOnMainThread(LogLevel::event, QStringLiteral("Aufnahmeordner gesetzt: ") + clean);
    return true;
}

QString RecordingsStore::defaultFolderName() {
    return QCoreApplication::translate("RecordingsStore", "OSTREL Aufnahmen");
}

QUrl RecordingsStore::defaultFolder() const {
    QString base = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    if (base.isEmpty())
        base = QDir::homePath();
    return QUrl::fromLocalFile(QDir(base).filePath(defaultFolderName()));
}

QUrl RecordingsStore::chooserStartFolder(const QUrl& suggested) const {
    const QUrl folder = suggested.isLocalFile() ? suggested : defaultFolder();
    const QString home = QDir::homePath();
    QString start = QFileInfo(folder.toLocalFile()).absolutePath();
    const bool inHome = start == home || start.startsWith(home + u'/');
    while (!QFileInfo(start).isDir() && start != home && start != QStringLiteral("/"))
        start = QFileInfo(start).absolutePath();
    if (inHome && !start.startsWith(home))
        start = home;
    return QUrl::fromLocalFile(start);
}

void RecordingsStore::revealInFileManager(const QString& path) {
    const QUrl item = path.isEmpty() ? m_folderURL : QUrl::fromLocalFile(path);
    if (item.isEmpty())
        return;
    QPointer<RecordingsStore> weak(this);
    ::revealInFileManager(item, [weak, item] {
        if (weak)
            emit weak->fileManagerMissing(item.toLocalFile());
    });
}

std::optional<qint64> RecordingsStore::availableCapacity() const {
    if (m_folderURL.isEmpty())
        return std::nullopt;
    return volumeFreeBytes(folderPath());
}

bool RecordingsStore::isReachable() const {
    if (m_folderURL.isEmpty())
        return false;
    const QFileInfo info(folderPath());
    return info.isDir() && info.isReadable();
}

void RecordingsStore::setFolderURL(const QUrl& url) {
    if (url == m_folderURL)
        return;
    m_folderURL = url;
    emit folderURLChanged();
}
