// Renders every page of the first-run setup and every settings tab, in German and English, on
// the virtual cameras, into the folder given as the first argument (docs/screenshots).
#include "capture/virtual/VirtualBackend.h"
#include "devices/DeviceStore.h"
#include "resources/Fonts.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"
#include "support/EventLoop.h"
#include "ui/setup/CameraPreviewView.h"
#include "ui/setup/CaptureBackendHandle.h"
#include "ui/setup/OnboardingController.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <memory>

Q_IMPORT_QML_PLUGIN(OstrelPlugin)

namespace {

const char* const stepNames[] = {"welcome", "connect", "mount", "cable", "folder",
                                 "cameras", "mic",     "tour",  "done"};
const char* const tabNames[] = {"general", "recording", "cameras", "sound", "help"};

struct Shell {
    explicit Shell(const QString& home)
        : settings(home + QStringLiteral("/ostrel.conf")), devices(backend.discovery(), settings),
          recordings(settings), handle(backend) {}
    SettingsStore settings;
    VirtualBackend backend;
    DeviceStore devices;
    RecordingsStore recordings;
    CaptureBackendHandle handle;
};

class Shooter {
public:
    Shooter(QQmlEngine& engine, Shell& shell, QString out, QString language)
        : m_engine(engine), m_shell(shell), m_out(std::move(out)), m_language(std::move(language)) {
    }

    std::unique_ptr<QQuickItem> load(const char* file, QSize size, QVariantMap extra = {}) {
        m_window = std::make_unique<QQuickWindow>();
        m_window->resize(size);
        QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/Ostrel/") + file));
        QVariantMap properties{
            {QStringLiteral("devices"), QVariant::fromValue(&m_shell.devices)},
            {QStringLiteral("recordings"), QVariant::fromValue(&m_shell.recordings)},
            {QStringLiteral("settings"), QVariant::fromValue(&m_shell.settings)}};
        properties.insert(extra);
        std::unique_ptr<QQuickItem> view(
            qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties)));
        if (!view) {
            std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
            return nullptr;
        }
        view->setParentItem(m_window->contentItem());
        view->setSize(size);
        m_window->show();
        pumpPosted();
        return view;
    }

    void save(const QString& name) {
        pumpPosted();
        const QString path = QStringLiteral("%1/%2-%3.png").arg(m_out, name, m_language);
        if (!m_window->grabWindow().save(path))
            std::fprintf(stderr, "could not write %s\n", qPrintable(path));
        else
            std::printf("%s\n", qPrintable(path));
    }

private:
    QQmlEngine& m_engine;
    Shell& m_shell;
    QString m_out;
    QString m_language;
    std::unique_ptr<QQuickWindow> m_window;
};

template <typename T> T* named(QObject* root, const char* name) {
    return root->findChild<T*>(QString::fromLatin1(name));
}

// Every visual descendant of that name (repeater delegates are only visual children).
QQuickItem* namedItem(QQuickItem* root, const QString& name) {
    if (root->objectName() == name)
        return root;
    for (QQuickItem* child : root->childItems())
        if (QQuickItem* found = namedItem(child, name))
            return found;
    return nullptr;
}

void shootSetup(QQmlEngine& engine, Shell& shell, Shooter& shooter, const QString& folder) {
    auto view = shooter.load("OnboardingView.qml", {720, 600},
                             {{QStringLiteral("backend"), QVariant::fromValue(&shell.handle)}});
    if (!view)
        return;
    Q_UNUSED(engine);
    auto* controller = named<OnboardingController>(view.get(), "onboardingController");
    for (int step = 0; step < onboardingStepCount; ++step) {
        if (step == int(OnboardingStep::cameras)) {
            // Both previews showing pictures.
            pumpUntil([&] {
                auto* wide = qobject_cast<CameraPreviewView*>(
                    namedItem(view.get(), QStringLiteral("widePreview")));
                auto* macro = qobject_cast<CameraPreviewView*>(
                    namedItem(view.get(), QStringLiteral("macroPreview")));
                return wide && macro && wide->framesShown() > 2 && macro->framesShown() > 2;
            });
        }
        shooter.save(QStringLiteral("setup-%1-%2").arg(step).arg(stepNames[step]));
        if (step == int(OnboardingStep::folder)) {
            shell.recordings.setFolder(QUrl::fromLocalFile(folder));
            shooter.save(QStringLiteral("setup-%1-%2-chosen").arg(step).arg(stepNames[step]));
        }
        if (step == int(OnboardingStep::cameras)) {
            shell.backend.devices().unplug(VirtualDevices::camera2ID);
            pumpUntil([&] { return shell.devices.videoDevices().size() == 1; });
            shooter.save(QStringLiteral("setup-%1-%2-waiting").arg(step).arg(stepNames[step]));
            shell.backend.devices().replug(VirtualDevices::camera2ID);
            pumpUntil([&] { return shell.devices.videoDevices().size() == 2; });
        }
        controller->next();
        pumpPosted();
    }
}

void shootSettings(Shooter& shooter) {
    auto view = shooter.load("SettingsView.qml", {560, 480});
    if (!view)
        return;
    for (int tab = 0; tab < 5; ++tab) {
        view->setProperty("selection", tab);
        shooter.save(QStringLiteral("settings-%1-%2").arg(tab).arg(tabNames[tab]));
    }
    view->setProperty("selection", 2);
    QMetaObject::invokeMethod(namedItem(view.get(), QStringLiteral("developerDisclosure")),
                              "clicked");
    pumpPosted();
    if (auto* tabView = namedItem(view.get(), QStringLiteral("cameraSettings"))) {
        // Scrolled to the end, where the developer options are.
        for (QQuickItem* child : tabView->childItems())
            if (child->property("contentHeight").isValid())
                child->setProperty("contentY",
                                   child->property("contentHeight").toDouble() - child->height());
    }
    shooter.save(QStringLiteral("settings-2-cameras-developer"));
}

} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/.config").toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: ui_screenshots <folder>\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(out);
    registerBrandFont();
    const QString folder = home.path() + QStringLiteral("/Videos/OSTREL Aufnahmen");
    QDir().mkpath(folder);

    for (const QString& language : {QStringLiteral("de"), QStringLiteral("en")}) {
        QTranslator translator;
        if (language == QStringLiteral("en")) {
            if (!translator.load(QStringLiteral(":/i18n/ostrel_en.qm")))
                return 1;
            app.installTranslator(&translator);
        }
        QTemporaryDir state;
        Shell shell(state.path());
        QQmlEngine engine;
        Shooter shooter(engine, shell, out, language);
        shootSetup(engine, shell, shooter, folder);
        shell.settings.setPraxisText(QStringLiteral("Praxis Dr. Muster"));
        shootSettings(shooter);
        app.removeTranslator(&translator);
    }
    return 0;
}
