#include "desktop/ShowInFileManager.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace {

// A file manager started on demand by the bus may take a few seconds to answer; the window
// never waits for it, so only a dead one is given up on.
constexpr int showItemsTimeoutMs = 10000;

QUrl folderOf(const QUrl& item) {
    const QFileInfo info(item.toLocalFile());
    return QUrl::fromLocalFile(info.isDir() ? info.absoluteFilePath() : info.absolutePath());
}

} // namespace

void openFolderExternally(const QUrl& folder, std::function<void()> failed) {
    const QString xdgOpen = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (xdgOpen.isEmpty()) {
        if (!QDesktopServices::openUrl(folder) && failed)
            QMetaObject::invokeMethod(QCoreApplication::instance(), failed, Qt::QueuedConnection);
        return;
    }
    // Not detached: only its exit says whether a file manager took the folder. Unowned, so that
    // quitting the app never ends a file manager that xdg-open waits for.
    auto* open = new QProcess;
    QObject::connect(open, &QProcess::finished, open,
                     [open, failed](int code, QProcess::ExitStatus status) {
                         if ((status != QProcess::NormalExit || code != 0) && failed)
                             failed();
                         open->deleteLater();
                     });
    QObject::connect(open, &QProcess::errorOccurred, open,
                     [open, failed](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart)
                             return;
                         if (failed)
                             failed();
                         open->deleteLater();
                     });
    open->start(xdgOpen, {folder.toString(QUrl::PreferLocalFile)});
}

void revealInFileManager(const QUrl& item, const QDBusConnection& bus, FolderOpener openFolder) {
    const QUrl folder = folderOf(item);
    if (!bus.isConnected()) {
        openFolder(folder);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{item.toString(QUrl::FullyEncoded)} << QString();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, showItemsTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [folder, openFolder = std::move(openFolder)](QDBusPendingCallWatcher* done) {
                         if (done->isError())
                             openFolder(folder);
                         done->deleteLater();
                     });
}

void revealInFileManager(const QUrl& item, std::function<void()> failed) {
    revealInFileManager(item, QDBusConnection::sessionBus(),
                        [failed](const QUrl& folder) { openFolderExternally(folder, failed); });
}
