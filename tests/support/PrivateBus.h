#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <functional>

// A session bus of the test's own (a dbus-daemon with no service files, so nothing is started
// on demand): desktop services are stood in for by fakes that the test registers on it.
class PrivateBus {
public:
    PrivateBus() {
        const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.write(
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
            " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig><type>session</type>"
            "<listen>unix:dir=" +
            m_dir.path().toUtf8() +
            "</listen>"
            "<auth>EXTERNAL</auth>"
            "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
        file.close();
        m_daemon.setProgram(QStringLiteral("dbus-daemon"));
        m_daemon.setArguments({QStringLiteral("--config-file=") + config,
                               QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        m_daemon.setProcessChannelMode(QProcess::SeparateChannels);
        m_daemon.start();
        if (!m_daemon.waitForStarted(30000))
            return;
        while (!m_daemon.canReadLine()) {
            if (!m_daemon.waitForReadyRead(30000))
                return;
        }
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }

    ~PrivateBus() {
        for (const QString& name : m_names)
            QDBusConnection::disconnectFromBus(name);
        m_daemon.kill();
        m_daemon.waitForFinished(30000);
    }

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    bool isValid() const { return !m_address.isEmpty(); }
    QString address() const { return m_address; }

    // A new connection to this bus (each one a client of its own, as separate programs are).
    QDBusConnection connect() {
        const QString name = m_address + QStringLiteral("#%1").arg(m_names.size());
        m_names << name;
        return QDBusConnection::connectToBus(m_address, name);
    }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
    QStringList m_names;
};

// A fake service object on a private bus: answers every call through `handle` (which may keep
// the message and answer later) and records what it was asked.
class FakeBusObject : public QDBusVirtualObject {
public:
    using Handler = std::function<void(const QDBusMessage& call, const QDBusConnection& bus)>;

    explicit FakeBusObject(Handler handle) : m_handle(std::move(handle)) {}

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.type() != QDBusMessage::MethodCallMessage)
            return false;
        calls << message;
        m_handle(message, connection);
        return true;
    }

    QList<QDBusMessage> calls;

private:
    Handler m_handle;
};
