#pragma once

#include "support/PrivateBus.h"

#include <QDBusMessage>
#include <QDBusVariant>

#include <memory>
#include <optional>

// The freedesktop settings portal on a private bus, holding one color-scheme value (none: the
// key is unknown to it). Answers Read the way xdg-desktop-portal does, with the value in a
// variant inside a variant, and announces changes with SettingChanged.
class FakePortal {
public:
    explicit FakePortal(PrivateBus& bus) : m_bus(bus) {}
    ~FakePortal() { stop(); }

    bool start(std::optional<uint> colorScheme) {
        m_colorScheme = colorScheme;
        m_connection = m_bus.connect();
        m_object = std::make_unique<FakeBusObject>([this](const QDBusMessage& call,
                                                          const QDBusConnection& connection) {
            const QList<QVariant> args = call.arguments();
            const bool asked =
                call.member() == QStringLiteral("Read") && args.size() == 2 &&
                args.at(0).toString() == QStringLiteral("org.freedesktop.appearance") &&
                args.at(1).toString() == QStringLiteral("color-scheme");
            if (asked && m_colorScheme) {
                const QDBusVariant inner(QVariant::fromValue(*m_colorScheme));
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

    void stop() {
        if (!m_object)
            return;
        m_connection.unregisterService(QStringLiteral("org.freedesktop.portal.Desktop"));
        m_connection.unregisterObject(QStringLiteral("/org/freedesktop/portal/desktop"));
        m_object.reset();
    }

    // The desktop changes a setting: the value is stored and the change announced.
    void change(const QString& ns, const QString& key, uint value) {
        if (ns == QStringLiteral("org.freedesktop.appearance") &&
            key == QStringLiteral("color-scheme"))
            m_colorScheme = value;
        QDBusMessage signal = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
        signal << ns << key << QVariant::fromValue(QDBusVariant(QVariant::fromValue(value)));
        m_connection.send(signal);
    }
    void changeColorScheme(uint value) {
        change(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"), value);
    }

    int reads() const { return m_object ? int(m_object->calls.size()) : 0; }

private:
    PrivateBus& m_bus;
    QDBusConnection m_connection{QString()};
    std::unique_ptr<FakeBusObject> m_object;
    std::optional<uint> m_colorScheme;
};
