#include "app/AppController.h"
#include "app/AppShell.h"
#include "app/ApplicationIdentity.h"
#include "app/CommandLine.h"
#include "app/InstanceLock.h"
#include "app/KeyRepeatFilter.h"
#include "app/Localisation.h"
#include "app/RunningInstance.h"
#include "app/SceneGraphChoice.h"
#include "app/TerminationSignals.h"
#include "app/UiTextDump.h"
#include "capture/BackendSelection.h"
#include "diagnostics/OstrelLog.h"
#include "resources/Fonts.h"
#include "runtime/HeapMemory.h"
#include "settings/SettingsStore.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QTranslator>
#include <QWindow>

int main(int argc, char* argv[]) {
    // Before any thread starts: every recording starts new encoder threads (see HeapMemory.h).
    limitHeapArenas();
    // --help and --version answer without a window, a log entry or a camera.
    if (const std::optional<int> code = answerCommandLine(argc, argv))
        return *code;
    // One instance per user: a later start brings the running one's window to the front and
    // ends, with no window and no log entry of its own.
    const InstanceLock instance(InstanceLock::defaultPath());
    if (instance.state() == InstanceLock::State::heldElsewhere)
        return handOverToRunningInstance(argc, argv);

    QGuiApplication app(argc, argv);
    KeyRepeatFilter keyRepeat;
    app.installEventFilter(&keyRepeat);
    nameApplication();
    QGuiApplication::setApplicationDisplayName(QStringLiteral("OSTREL"));
    // Closing a window goes through the quit request, which may have to wait for a recording.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));

    registerBrandFont();

    QTranslator translator;
    installTranslation(app, translator, QLocale::system());
    QTranslator qtTranslator;
    installQtTranslation(app, qtTranslator, QLocale::system());

    const std::optional<QString> sceneGraph = chooseSceneGraph();
    OstrelLog& log = OstrelLog::shared(); // writes the start-up entry
    if (sceneGraph)
        log.log(LogLevel::info, *sceneGraph);
    if (instance.state() == InstanceLock::State::unavailable)
        log.log(LogLevel::warn,
                QStringLiteral("Sperre gegen einen zweiten Start nicht möglich (%1)")
                    .arg(instance.error()));
    ApplicationService service;
    if (const auto error = service.registerOn(QDBusConnection::sessionBus()))
        log.log(LogLevel::warn,
                QStringLiteral("Ein weiterer Start kann dieses Fenster nicht nach vorne holen: ") +
                    *error);
    SettingsStore settings;
    // Only the virtual devices with OSTREL_VIRTUAL_DEVICES=1, else the real ones.
    const std::unique_ptr<CaptureBackend> capture = makeCaptureBackend();
    AppShell shell(settings, *capture);

    TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::terminationRequested, &shell.controller(),
                     &AppController::requestQuit);

    const UiTextDump textDump(qEnvironmentVariable("OSTREL_UI_TEXT_DUMP"));

    QQmlApplicationEngine engine;
    if (const auto error = shell.load(engine)) {
        log.log(LogLevel::error, *error);
        return 1;
    }
    QObject::connect(&service, &ApplicationService::activationRequested, &app,
                     [&engine, &log](const QVariantMap& platformData) {
                         auto* window = qobject_cast<QWindow*>(engine.rootObjects().value(0));
                         if (!window)
                             return;
                         log.log(LogLevel::info,
                                 QStringLiteral("Erneuter Start: Fenster nach vorne geholt"));
                         bringToFront(*window, platformData);
                     });
    const int code = app.exec();
    log.flush();
    // Gone from the screen at once: tearing down may still wait for a drive that does not
    // answer, to write what a recording left in memory.
    for (QWindow* window : QGuiApplication::allWindows())
        window->hide();
    QCoreApplication::processEvents();
    return code;
}
