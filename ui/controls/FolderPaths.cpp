#include "ui/controls/FolderPaths.h"

#include <QDir>
#include <QFileInfo>

QUrl FolderPaths::fromText(const QString& text) {
    QString path = text.trimmed();
    if (path == u'~')
        path = QDir::homePath();
    else if (path.startsWith(QStringLiteral("~/")))
        path = QDir::homePath() + path.mid(1);
    if (!QDir::isAbsolutePath(path))
        return {};
    return QUrl::fromLocalFile(QDir::cleanPath(path));
}

QString FolderPaths::toText(const QUrl& folder) {
    return folder.toLocalFile();
}

bool FolderPaths::isFolder(const QUrl& folder) {
    return folder.isLocalFile() && QFileInfo(folder.toLocalFile()).isDir();
}

QUrl FolderPaths::parentOf(const QUrl& folder) {
    return QUrl::fromLocalFile(QFileInfo(folder.toLocalFile()).absolutePath());
}

QUrl FolderPaths::childOf(const QUrl& folder, const QString& name) {
    return QUrl::fromLocalFile(QDir(folder.toLocalFile()).filePath(name.trimmed()));
}

QString FolderPaths::create(const QUrl& folder) {
    if (!folder.isLocalFile())
        return tr("Kein gültiger Ordner.");
    const QString path = folder.toLocalFile();
    if (QFileInfo(path).isDir())
        return {};
    if (QFileInfo::exists(path))
        return tr("„%1“ ist eine Datei, kein Ordner.").arg(path);
    if (!QDir().mkpath(path))
        return tr("Der Ordner „%1“ konnte nicht angelegt werden.").arg(path);
    return {};
}
