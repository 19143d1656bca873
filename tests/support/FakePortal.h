#pragma once

#include "support/PrivateBus.h"

#include <QDBusMessage>
#include <QDBusVariant>

#include <memory>

// The freedesktop settings portal on a private bus, holding one color-scheme value (other keys
// are unknown to it). Answers Read the way xdg-desktop-portal does, with the value in a
// variant inside a variant, and announces changes with SettingChanged.
class FakePortal {
public:
    explicit FakePortal(PrivateBus& bus) : m_bus(bus) {}
    ~FakePortal() {
        if (!m_object)
            return;
        m_connection.unregisterService(QStringLiteral("org.freedesktop.portal.Desktop"));
        m_connection.unregisterObject(QStringLiteral("/org/freedesktop/portal/desktop"));
    }

    bool start(uint colorScheme) {
        m_colorScheme = colorScheme;
        m_connection = m_bus.connect();
        m_object = std::make_unique<FakeBusObject>([this](const QDBusMessage& call,
                                                          const QDBusConnection& connection) {
            const QList<QVariant> args = call.arguments();
            const bool asked =
                call.member() == QStringLiteral("Read") && args.size() == 2 &&
                args.at(0).toString() == QStringLiteral("org.freedesktop.appearance") &&
                args.at(1).toString() == QStringLiteral("color-scheme");
            if (asked) {
                const QDBusVariant inner(QVariant::fromValue(m_colorScheme));
                connection.send(call.createReply(
                    QVariant::fromValue(QDBusVariant(QVariant::fromValue(inner)))));
            } else {
                connection.send(
                    call.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                                          QStringLiteral("Requested setting not found")));
            }
        });
        return m_connection.registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                  m_object.get()) &&
               m_connection.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }

    // The desktop changes its color scheme: the value is stored and the change announced.
    void changeColorScheme(uint value) {
        m_colorScheme = value;
        QDBusMessage signal = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
        signal << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme")
               << QVariant::fromValue(QDBusVariant(QVariant::fromValue(value)));
        m_connection.send(signal);
    }

private:
    PrivateBus& m_bus;
    QDBusConnection m_connection{QString()};
    std::unique_ptr<FakeBusObject> m_object;
    uint m_colorScheme = 0;
};
