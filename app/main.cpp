#include "app/Localisation.h"
#include "app/MainWindow.h"
#include "diagnostics/OstrelLog.h"
#include "resources/Fonts.h"
#include "settings/SettingsStore.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QTranslator>

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("ostrel"));
    QGuiApplication::setApplicationName(QStringLiteral("ostrel"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("OSTREL"));

    registerBrandFont();

    QTranslator translator;
    installTranslation(app, translator, QLocale::system());

    OstrelLog& log = OstrelLog::shared(); // writes the start-up entry
    SettingsStore settings;

    QQmlApplicationEngine engine;
    if (const auto error = loadMainWindow(engine, settings)) {
        log.log(LogLevel::error, *error);
        return 1;
    }
    return app.exec();
}
