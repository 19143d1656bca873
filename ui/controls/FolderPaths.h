#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

// What the folder chooser asks of the file system: a typed path as a folder, whether it is
// there, its parent, and making a new one.
class FolderPaths : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    // A typed path ("~" for home) as a folder; empty when it is not absolute.
    Q_INVOKABLE static QUrl fromText(const QString& text);
    Q_INVOKABLE static QString toText(const QUrl& folder);
    Q_INVOKABLE static bool isFolder(const QUrl& folder);
    Q_INVOKABLE static QUrl parentOf(const QUrl& folder);
    Q_INVOKABLE static QUrl childOf(const QUrl& folder, const QString& name);
    // Makes the folder and any missing above it; the error text, or an empty text when it
    // exists afterwards.
    Q_INVOKABLE static QString create(const QUrl& folder);
};
