#include "app/AppController.h"
#include "app/AppShell.h"
#include "app/CommandLine.h"
#include "app/Localisation.h"
#include "app/TerminationSignals.h"
#include "capture/SystemBackend.h"
#include "diagnostics/OstrelLog.h"
#include "resources/Fonts.h"
#include "runtime/HeapMemory.h"
#include "settings/SettingsStore.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QTranslator>

int main(int argc, char* argv[]) {
    // Before any thread starts: every recording starts new encoder threads (see HeapMemory.h).
    limitHeapArenas();
    // --help and --version answer without a window, a log entry or a camera.
    if (const std::optional<int> code = answerCommandLine(argc, argv))
        return *code;
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("ostrel"));
    QGuiApplication::setApplicationName(QStringLiteral("ostrel"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("OSTREL"));
    // Closing a window goes through the quit request, which may have to wait for a recording.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));

    registerBrandFont();

    QTranslator translator;
    installTranslation(app, translator, QLocale::system());

    OstrelLog& log = OstrelLog::shared(); // writes the start-up entry
    SettingsStore settings;
    // Only the virtual devices with OSTREL_VIRTUAL_DEVICES=1, else the real ones.
    const std::unique_ptr<CaptureBackend> capture = makeCaptureBackend();
    AppShell shell(settings, *capture);

    TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::terminationRequested, &shell.controller(),
                     &AppController::requestQuit);

    QQmlApplicationEngine engine;
    if (const auto error = shell.load(engine)) {
        log.log(LogLevel::error, *error);
        return 1;
    }
    const int code = app.exec();
    log.flush();
    return code;
}
