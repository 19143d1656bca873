#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <optional>

class QWindow;

// The running instance on the session bus: it owns the application id as its name and answers
// the freedesktop application interface there, so that a later start, or the desktop, can
// bring its window to the front.
class ApplicationService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit ApplicationService(QObject* parent = nullptr);
    ~ApplicationService() override;

    // Takes the name on `bus`; the reason, for the log, when it could not.
    std::optional<QString> registerOn(const QDBusConnection& bus);

    static QString objectPath();

public slots:
    // The interface's methods, spelled as it spells them. There is nothing to open and no
    // action, so each one asks for the window.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    Q_SCRIPTABLE void ActivateAction(const QString& action, const QVariantList& parameter,
                                     const QVariantMap& platformData);

signals:
    void activationRequested(const QVariantMap& platformData);

private:
    std::optional<QDBusConnection> m_bus;
};

// What a later start hands on: the launcher's activation token (Wayland) and startup id (X11).
QVariantMap launchPlatformData();

// Asks the instance on `bus` to bring its window to the front. It may hold the instance lock
// a moment before it has taken its name, so a missing name is asked again for up to
// `waitMs`. The reason, translated, when it could not be asked.
std::optional<QString> activateRunningInstance(const QDBusConnection& bus,
                                               const QVariantMap& platformData, int waitMs = 5000);

// A later start: asks the running instance for its window and says on standard error why
// when it could not. Makes its own QCoreApplication. Returns the exit code.
int handOverToRunningInstance(int& argc, char** argv);

// Un-minimises, shows and raises `window` and makes it active where the window system lets
// it; `platformData` may carry the launcher's activation token for that.
void bringToFront(QWindow& window, const QVariantMap& platformData);
