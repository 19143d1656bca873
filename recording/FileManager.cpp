#include "recording/FileManager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QStorageInfo>

void revealInFileManager(const QUrl& item) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{item.toString(QUrl::FullyEncoded)} << QString();
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 2000);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return;
    const QFileInfo info(item.toLocalFile());
    QDesktopServices::openUrl(
        QUrl::fromLocalFile(info.isDir() ? info.absoluteFilePath() : info.absolutePath()));
}

std::optional<qint64> volumeFreeBytes(const QString& path) {
    if (path.isEmpty())
        return std::nullopt;
    const QStorageInfo storage(path);
    if (!storage.isValid() || !storage.isReady())
        return std::nullopt;
    const qint64 free = storage.bytesAvailable();
    if (free < 0)
        return std::nullopt;
    return free;
}
