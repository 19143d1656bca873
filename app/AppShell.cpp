#include "app/AppShell.h"

#include "app/AppController.h"
#include "control/CameraControlKeeper.h"
#include "control/CameraManager.h"
#include "control/PowerLineRegion.h"
#include "desktop/DesktopColorScheme.h"
#include "devices/DeviceStore.h"
#include "diagnostics/DiagnosticsActions.h"
#include "diagnostics/LogListModel.h"
#include "diagnostics/OstrelLog.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"
#include "ui/setup/CaptureBackendHandle.h"

#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(OstrelPlugin)

AppShell::AppShell(SettingsStore& settings, CaptureBackend& backend,
                   std::function<void()> terminate)
    : m_settings(settings), m_backend(backend) {
    m_devices = std::make_unique<DeviceStore>(backend.discovery(), settings);
    m_recordings = std::make_unique<RecordingsStore>(settings);
    m_backendHandle = std::make_unique<CaptureBackendHandle>(backend);
    m_cameraControls = std::make_unique<CameraControlKeeper>(
        backend, settings,
        powerLineFrequencyOf(
            userTerritory(QLocale::system(), QProcessEnvironment::systemEnvironment())));
    CameraManager::Options options;
    options.cameraControls = m_cameraControls.get();
    m_camera = std::make_unique<CameraManager>(backend, settings, options);
    m_controller = std::make_unique<AppController>(std::move(terminate));
    m_logModel = std::make_unique<LogListModel>(OstrelLog::shared());
    m_diagnostics = std::make_unique<DiagnosticsActions>(OstrelLog::shared());
    m_colorScheme = std::make_unique<DesktopColorScheme>();
    m_colorScheme->listenOn(QDBusConnection::sessionBus());

    // Setting the folder also recovers what a crash left behind in it.
    m_camera->setSaveURL(m_recordings->folderURL());
}

AppShell::~AppShell() = default;

std::optional<QString> AppShell::load(QQmlApplicationEngine& engine) {
    QQmlContext* context = engine.rootContext();
    context->setContextProperty(QStringLiteral("settings"), &m_settings);
    context->setContextProperty(QStringLiteral("devices"), m_devices.get());
    context->setContextProperty(QStringLiteral("recordings"), m_recordings.get());
    context->setContextProperty(QStringLiteral("captureBackend"), m_backendHandle.get());
    context->setContextProperty(QStringLiteral("cam"), m_camera.get());
    context->setContextProperty(QStringLiteral("cameraControls"), m_cameraControls.get());
    context->setContextProperty(QStringLiteral("appController"), m_controller.get());
    context->setContextProperty(QStringLiteral("logModel"), m_logModel.get());
    context->setContextProperty(QStringLiteral("diagnostics"), m_diagnostics.get());
    context->setContextProperty(QStringLiteral("desktopColorScheme"), m_colorScheme.get());
    engine.load(QUrl(QStringLiteral("qrc:/Ostrel/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return QStringLiteral("Das Hauptfenster konnte nicht geladen werden.");
    return std::nullopt;
}
