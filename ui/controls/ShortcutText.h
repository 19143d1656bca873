#pragma once

#include <QObject>
#include <QString>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

// How a menu shows an action's shortcut: in the desktop's words and the user's language
// ("Strg+R" in German), for a key sequence text or a standard key alike.
class ShortcutText : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    // Empty for no shortcut.
    Q_INVOKABLE static QString of(const QVariant& shortcut);
};
