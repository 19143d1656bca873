#include "app/RunningInstance.h"

#include "app/ApplicationIdentity.h"
#include "app/Localisation.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QThread>
#include <QTranslator>
#include <QWindow>

#include <cstdio>

namespace {

struct RunningInstance {
    Q_DECLARE_TR_FUNCTIONS(RunningInstance)
};

const QString kActivationToken = QStringLiteral("activation-token");
const QString kStartupId = QStringLiteral("desktop-startup-id");

} // namespace

ApplicationService::ApplicationService(QObject* parent) : QObject(parent) {
}

ApplicationService::~ApplicationService() {
    if (m_bus) {
        m_bus->unregisterService(applicationId());
        m_bus->unregisterObject(objectPath());
    }
}

QString ApplicationService::objectPath() {
    return QStringLiteral("/de/ostrel/ostrel");
}

std::optional<QString> ApplicationService::registerOn(const QDBusConnection& bus) {
    if (!bus.isConnected())
        return QStringLiteral("kein D-Bus-Sitzungsbus (%1)").arg(bus.lastError().message());
    QDBusConnection connection = bus;
    if (!connection.registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots))
        return QStringLiteral("Objekt %1 auf dem Sitzungsbus belegt").arg(objectPath());
    if (!connection.registerService(applicationId())) {
        connection.unregisterObject(objectPath());
        return QStringLiteral("Name %1 auf dem Sitzungsbus nicht erhalten (%2)")
            .arg(applicationId(), connection.lastError().message());
    }
    m_bus = connection;
    return std::nullopt;
}

void ApplicationService::Activate(const QVariantMap& platformData) {
    emit activationRequested(platformData);
}

void ApplicationService::Open(const QStringList&, const QVariantMap& platformData) {
    emit activationRequested(platformData);
}

void ApplicationService::ActivateAction(const QString&, const QVariantList&,
                                        const QVariantMap& platformData) {
    emit activationRequested(platformData);
}

QVariantMap launchPlatformData() {
    QVariantMap data;
    if (const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN"); !token.isEmpty())
        data.insert(kActivationToken, token);
    if (const QString id = qEnvironmentVariable("DESKTOP_STARTUP_ID"); !id.isEmpty())
        data.insert(kStartupId, id);
    return data;
}

std::optional<QString> activateRunningInstance(const QDBusConnection& bus,
                                               const QVariantMap& platformData, int waitMs) {
    if (!bus.isConnected())
        return RunningInstance::tr("keine D-Bus-Sitzung (%1)").arg(bus.lastError().message());
    QDBusMessage call = QDBusMessage::createMethodCall(
        applicationId(), ApplicationService::objectPath(),
        QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"));
    call << platformData;
    const QDeadlineTimer deadline(waitMs);
    while (true) {
        const QDBusMessage reply =
            bus.call(call, QDBus::Block, int(std::max<qint64>(deadline.remainingTime(), 1000)));
        if (reply.type() == QDBusMessage::ReplyMessage)
            return std::nullopt;
        const bool notThereYet =
            reply.errorName() == QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown");
        if (!notThereYet || deadline.hasExpired())
            return RunningInstance::tr("keine Antwort auf dem Sitzungsbus (%1)")
                .arg(reply.errorMessage());
        QThread::msleep(100);
    }
}

int handOverToRunningInstance(int& argc, char** argv) {
    QCoreApplication core(argc, argv);
    nameApplication();
    QTranslator translator;
    installTranslation(core, translator, QLocale::system());
    const std::optional<QString> error =
        activateRunningInstance(QDBusConnection::sessionBus(), launchPlatformData());
    if (!error)
        return 0;
    const QByteArray text =
        (RunningInstance::tr("OSTREL läuft bereits. Sein Fenster konnte nicht nach vorne geholt "
                             "werden: %1")
             .arg(*error) +
         u'\n')
            .toLocal8Bit();
    std::fwrite(text.constData(), 1, size_t(text.size()), stderr);
    return 1;
}

void bringToFront(QWindow& window, const QVariantMap& platformData) {
    // Wayland lets a window take the focus only with the launcher's token, which Qt reads from
    // the environment when the window asks to be activated.
    const QString token = platformData.value(kActivationToken).toString();
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith(QStringLiteral("wayland")))
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    if (window.windowStates() & Qt::WindowMinimized)
        window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.requestActivate();
}
