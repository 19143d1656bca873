#include "desktop/DesktopColorScheme.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceNamespace = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

// Read answers with the value in a variant inside a variant (older portals: one level less).
QVariant unwrapped(QVariant value) {
    for (int depth = 0; depth < 4 && value.userType() == qMetaTypeId<QDBusVariant>(); ++depth)
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

DesktopColorScheme::Preference colorSchemePreference(const QVariant& value) {
    const QVariant plain = unwrapped(value);
    bool ok = false;
    const uint code = plain.toUInt(&ok);
    if (!ok || plain.typeId() == QMetaType::QString)
        return DesktopColorScheme::Preference::noPreference;
    switch (code) {
    case 1:
        return DesktopColorScheme::Preference::dark;
    case 2:
        return DesktopColorScheme::Preference::light;
    default:
        return DesktopColorScheme::Preference::noPreference;
    }
}

DesktopColorScheme::DesktopColorScheme(QObject* parent) : QObject(parent) {
}

DesktopColorScheme::~DesktopColorScheme() {
    stopListening();
}

void DesktopColorScheme::listenOn(const QDBusConnection& bus) {
    stopListening();
    m_bus = bus;
    if (!m_bus.isConnected()) {
        setPreference(Preference::noPreference);
        return;
    }
    m_bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"),
                  this, SLOT(settingChanged(QDBusMessage)));
    // A portal that starts (or restarts) after us is read again; one that goes away leaves
    // the palette in charge.
    m_serviceWatcher = new QDBusServiceWatcher(portalService, m_bus,
                                               QDBusServiceWatcher::WatchForRegistration |
                                                   QDBusServiceWatcher::WatchForUnregistration,
                                               this);
    connect(m_serviceWatcher, &QDBusServiceWatcher::serviceRegistered, this,
            &DesktopColorScheme::read);
    connect(m_serviceWatcher, &QDBusServiceWatcher::serviceUnregistered, this,
            [this] { setPreference(Preference::noPreference); });
    read();
}

void DesktopColorScheme::stopListening() {
    if (m_bus.isConnected())
        m_bus.disconnect(portalService, portalPath, settingsInterface,
                         QStringLiteral("SettingChanged"), this,
                         SLOT(settingChanged(QDBusMessage)));
    delete m_serviceWatcher;
    m_serviceWatcher = nullptr;
    delete m_pendingRead;
    m_pendingRead = nullptr;
    m_bus = QDBusConnection(QString());
}

void DesktopColorScheme::read() {
    QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                       QStringLiteral("Read"));
    call << appearanceNamespace << colorSchemeKey;
    // A newer read replaces an older one still on its way, so the last answer is the newest.
    delete m_pendingRead;
    m_pendingRead = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(m_pendingRead, &QDBusPendingCallWatcher::finished, this,
            &DesktopColorScheme::readFinished);
}

void DesktopColorScheme::readFinished(QDBusPendingCallWatcher* call) {
    if (call != m_pendingRead)
        return;
    m_pendingRead = nullptr;
    call->deleteLater();
    const QDBusMessage reply = call->reply();
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        setPreference(Preference::noPreference);
        return;
    }
    setPreference(colorSchemePreference(reply.arguments().first()));
}

void DesktopColorScheme::settingChanged(const QDBusMessage& signal) {
    const QList<QVariant> arguments = signal.arguments();
    if (arguments.size() < 3 || arguments.at(0).toString() != appearanceNamespace ||
        arguments.at(1).toString() != colorSchemeKey)
        return;
    // A change overtakes a read still on its way.
    delete m_pendingRead;
    m_pendingRead = nullptr;
    setPreference(colorSchemePreference(arguments.at(2)));
}

void DesktopColorScheme::setPreference(Preference preference) {
    if (preference == m_preference)
        return;
    m_preference = preference;
    emit preferenceChanged();
}
