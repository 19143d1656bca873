#include "app/Localisation.h"
#include "app/MainWindow.h"
#include "capture/SystemBackend.h"
#include "devices/DeviceStore.h"
#include "diagnostics/OstrelLog.h"
#include "resources/Fonts.h"
#include "settings/SettingsStore.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlContext>
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
    // Only the virtual devices with OSTREL_VIRTUAL_DEVICES=1, else the real ones.
    const std::unique_ptr<CaptureBackend> capture = makeCaptureBackend();
    DeviceStore devices(capture->discovery(), settings);

    QQmlApplicationEngine engine;
    engine.rootContext()->setContextProperty(QStringLiteral("devices"), &devices);
    if (const auto error = loadMainWindow(engine, settings)) {
        log.log(LogLevel::error, *error);
        return 1;
    }
    return app.exec();
}
