// Renders the main view on the virtual cameras into the folder given as the first argument
// (docs/screenshots): controls shown, controls hidden, stabiliser overlay on, recording running,
// and the microphone pulled during it.
#include "capture/virtual/VirtualBackend.h"
#include "capture/virtual/VirtualDevices.h"
#include "control/CameraManager.h"
#include "devices/DeviceStore.h"
#include "resources/Fonts.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"
#include "support/EventLoop.h"
#include "ui/main/MainViewState.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <memory>

Q_IMPORT_QML_PLUGIN(OstrelPlugin)

using namespace std::chrono_literals;

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: main_screenshots <folder>\n");
        return 2;
    }
    registerBrandFont();
    const QString out = QString::fromLocal8Bit(argv[1]);
    QTemporaryDir home;
    QDir().mkpath(home.filePath(QStringLiteral("Aufnahmen")));

    SettingsStore settings(home.filePath(QStringLiteral("ostrel.conf")));
    settings.setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
    settings.setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
    settings.setValue(Setting::micDeviceUID, VirtualDevices::microphoneID);
    settings.setPraxisText(QStringLiteral("Zahnarztpraxis Dr. Muster"));
    VirtualBackend backend;
    DeviceStore devices(backend.discovery(), settings);
    RecordingsStore recordings(settings);
    recordings.setFolder(QUrl::fromLocalFile(home.filePath(QStringLiteral("Aufnahmen"))));
    ManualScheduler scheduler;
    CameraManager::Options options;
    options.scheduler = &scheduler;
    options.tempFolder = home.path();
    options.macroStartPause = 0ms;
    CameraManager cam(backend, settings, options);

    QQmlEngine engine;
    QQuickWindow window;
    window.resize(1280, 800);
    window.setColor(Qt::black);
    QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Ostrel/ContentView.qml")));
    QObject* object = component.beginCreate(engine.rootContext());
    if (!object) {
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
        return 1;
    }
    std::unique_ptr<QQuickItem> view(qobject_cast<QQuickItem*>(object));
    component.setInitialProperties(
        object, {{QStringLiteral("cam"), QVariant::fromValue(&cam)},
                 {QStringLiteral("devices"), QVariant::fromValue(&devices)},
                 {QStringLiteral("recordings"), QVariant::fromValue(&recordings)},
                 {QStringLiteral("settings"), QVariant::fromValue(&settings)}});
    view->setParentItem(window.contentItem());
    view->setSize(window.size());
    component.completeCreate();
    window.show();
    auto* state = view->findChild<MainViewState*>(QStringLiteral("mainViewState"));
    state->setScheduler(scheduler);
    state->bumpActivity();

    pumpUntil([&] { return cam.running(); }, 5000);
    auto framesShown = [&](const char* name) {
        auto* item = view->findChild<QQuickItem*>(QString::fromLatin1(name));
        return item ? item->property("framesShown").toInt() : 0;
    };
    pumpUntil([&] { return framesShown("wideView") > 5 && framesShown("macroView") > 5; }, 5000);
    scheduler.advance(1s); // the frame-rate figures
    pumpUntil([] { return false; }, 400);

    auto save = [&](const char* name) {
        pumpUntil([] { return false; }, 600); // animations settle
        const QString path = out + QStringLiteral("/main-%1.png").arg(QString::fromLatin1(name));
        if (!window.grabWindow().save(path))
            std::fprintf(stderr, "could not write %s\n", qPrintable(path));
    };
    save("controls");
    scheduler.advance(6s);
    save("hidden");

    settings.setDevStabSliders(true);
    settings.setDevStabFrame(true);
    settings.setDevShowFPS(true);
    settings.setStabilizeMacro(true);
    state->bumpActivity();
    pumpUntil([] { return false; }, 800);
    save("stabilizer");
    settings.setDevStabSliders(false);
    settings.setDevStabFrame(false);

    QMetaObject::invokeMethod(view.get(), "toggleRecording", Q_ARG(QVariant, false));
    pumpUntil([&] { return cam.isRecording(); }, 5000);
    for (int i = 0; i < 12; ++i) {
        scheduler.advance(1s);
        pumpUntil([] { return false; }, 40);
    }
    state->bumpActivity();
    save("recording");
    backend.devices().unplug(VirtualDevices::microphoneID);
    pumpUntil([&] { return cam.microphoneMissing(); }, 5000);
    state->bumpActivity();
    save("microphone-missing");
    cam.stopRecording();
    pumpUntil([&] { return !cam.isRecording(); }, 10000);
    return 0;
}
