#pragma once

#include <QDBusConnection>
#include <QObject>

class QDBusMessage;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

// The desktop's light/dark preference, read from the freedesktop settings portal
// (org.freedesktop.appearance color-scheme) and followed as it changes. Without a portal, or
// when the desktop states no preference, `preference` is noPreference and the windows fall
// back to the palette.
class DesktopColorScheme : public QObject {
    Q_OBJECT
    Q_PROPERTY(int preference READ preferenceCode NOTIFY preferenceChanged)

public:
    // The portal's own values.
    enum class Preference { noPreference = 0, dark = 1, light = 2 };

    explicit DesktopColorScheme(QObject* parent = nullptr);
    ~DesktopColorScheme() override;

    // Reads and follows the portal on `bus` (the session bus in the application); replaces a
    // bus given before. Never waits for the portal.
    void listenOn(const QDBusConnection& bus);

    Preference preference() const { return m_preference; }
    int preferenceCode() const { return int(m_preference); }

signals:
    void preferenceChanged();

private slots:
    void settingChanged(const QDBusMessage& signal);

private:
    void read();
    void readFinished(QDBusPendingCallWatcher* call);
    void setPreference(Preference preference);
    void stopListening();

    QDBusConnection m_bus{QString()};
    QDBusServiceWatcher* m_serviceWatcher = nullptr;
    QDBusPendingCallWatcher* m_pendingRead = nullptr;
    Preference m_preference = Preference::noPreference;
};

// The portal's color-scheme value, as it arrives (possibly wrapped in variants); anything
// but 1 and 2 is no preference.
DesktopColorScheme::Preference colorSchemePreference(const QVariant& value);
