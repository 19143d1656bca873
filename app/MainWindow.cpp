#include "app/MainWindow.h"

#include "settings/SettingsStore.h"

#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(OstrelPlugin)

std::optional<QString> loadMainWindow(QQmlApplicationEngine& engine, SettingsStore& settings) {
    engine.rootContext()->setContextProperty(QStringLiteral("settings"), &settings);
    engine.load(QUrl(QStringLiteral("qrc:/Ostrel/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return QStringLiteral("Das Hauptfenster konnte nicht geladen werden.");
    return std::nullopt;
}
