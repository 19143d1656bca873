#pragma once

#include "settings/SettingsTable.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVariant>

#include <array>
#include <memory>
#include <shared_mutex>

class QSettings;

// The per-user persisted settings: a typed view over QSettings with the defaults of the
// settings table. Every value is cached in memory, so reads are cheap and safe from any thread;
// writes come from the main thread, go to the file and notify observers of that key.
class SettingsStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        QString wideDeviceUID READ wideDeviceUID WRITE setWideDeviceUID NOTIFY wideDeviceUIDChanged)
    Q_PROPERTY(QString macroDeviceUID READ macroDeviceUID WRITE setMacroDeviceUID NOTIFY
                   macroDeviceUIDChanged)
    Q_PROPERTY(
        QString micDeviceUID READ micDeviceUID WRITE setMicDeviceUID NOTIFY micDeviceUIDChanged)
    Q_PROPERTY(QByteArray recordingFolderPath READ recordingFolderPath WRITE setRecordingFolderPath
                   NOTIFY recordingFolderPathChanged)
    Q_PROPERTY(
        int appearanceMode READ appearanceMode WRITE setAppearanceMode NOTIFY appearanceModeChanged)
    Q_PROPERTY(bool watermarkOn READ watermarkOn WRITE setWatermarkOn NOTIFY watermarkOnChanged)
    Q_PROPERTY(QString praxisText READ praxisText WRITE setPraxisText NOTIFY praxisTextChanged)
    Q_PROPERTY(bool resolutionHigh READ resolutionHigh WRITE setResolutionHigh NOTIFY
                   resolutionHighChanged)
    Q_PROPERTY(bool stabilizeMacro READ stabilizeMacro WRITE setStabilizeMacro NOTIFY
                   stabilizeMacroChanged)
    Q_PROPERTY(bool didCompleteOnboarding READ didCompleteOnboarding WRITE setDidCompleteOnboarding
                   NOTIFY didCompleteOnboardingChanged)
    Q_PROPERTY(bool devShowFPS READ devShowFPS WRITE setDevShowFPS NOTIFY devShowFPSChanged)
    Q_PROPERTY(bool devStabSliders READ devStabSliders WRITE setDevStabSliders NOTIFY
                   devStabSlidersChanged)
    Q_PROPERTY(bool devStabFrame READ devStabFrame WRITE setDevStabFrame NOTIFY devStabFrameChanged)
    Q_PROPERTY(bool devStabDiag READ devStabDiag WRITE setDevStabDiag NOTIFY devStabDiagChanged)
    Q_PROPERTY(double stabGain READ stabGain WRITE setStabGain NOTIFY stabGainChanged)
    Q_PROPERTY(
        double stabSmoothing READ stabSmoothing WRITE setStabSmoothing NOTIFY stabSmoothingChanged)
    Q_PROPERTY(
        double stabCropZoom READ stabCropZoom WRITE setStabCropZoom NOTIFY stabCropZoomChanged)
    Q_PROPERTY(double stabLead READ stabLead WRITE setStabLead NOTIFY stabLeadChanged)

public:
    // The user's own store (QSettings native format, organisation "ostrel").
    explicit SettingsStore(QObject* parent = nullptr);
    // A store over the given QSettings file (tests, tools).
    explicit SettingsStore(const QString& iniPath, QObject* parent = nullptr);
    ~SettingsStore() override;

    // Any thread: the value as the setting's type, or its default.
    QVariant value(Setting setting) const;
    QString text(Setting setting) const { return value(setting).toString(); }
    bool boolean(Setting setting) const { return value(setting).toBool(); }
    int integer(Setting setting) const { return value(setting).toInt(); }
    double number(Setting setting) const { return value(setting).toDouble(); }
    QByteArray bytes(Setting setting) const { return value(setting).toByteArray(); }
    bool contains(Setting setting) const;

    // Main thread: stores the value (converted to the setting's type; false when it cannot be)
    // and notifies the key's observers when it changed.
    bool setValue(Setting setting, const QVariant& value);
    // Main thread: deletes the key, so readers see the default again.
    void remove(Setting setting);

    // Makes sure everything written so far is on disk.
    void sync();
    // Another handle on the same file, for keys beyond the table.
    std::unique_ptr<QSettings> openSameFile() const;

    QString wideDeviceUID() const { return text(Setting::wideDeviceUID); }
    QString macroDeviceUID() const { return text(Setting::macroDeviceUID); }
    QString micDeviceUID() const { return text(Setting::micDeviceUID); }
    QByteArray recordingFolderPath() const { return bytes(Setting::recordingFolderPath); }
    int appearanceMode() const { return integer(Setting::appearanceMode); }
    bool watermarkOn() const { return boolean(Setting::watermarkOn); }
    QString praxisText() const { return text(Setting::praxisText); }
    bool resolutionHigh() const { return boolean(Setting::resolutionHigh); }
    bool stabilizeMacro() const { return boolean(Setting::stabilizeMacro); }
    bool didCompleteOnboarding() const { return boolean(Setting::didCompleteOnboarding); }
    bool devShowFPS() const { return boolean(Setting::devShowFPS); }
    bool devStabSliders() const { return boolean(Setting::devStabSliders); }
    bool devStabFrame() const { return boolean(Setting::devStabFrame); }
    bool devStabDiag() const { return boolean(Setting::devStabDiag); }
    double stabGain() const { return number(Setting::stabGain); }
    double stabSmoothing() const { return number(Setting::stabSmoothing); }
    double stabCropZoom() const { return number(Setting::stabCropZoom); }
    double stabLead() const { return number(Setting::stabLead); }

    void setWideDeviceUID(const QString& v) { setValue(Setting::wideDeviceUID, v); }
    void setMacroDeviceUID(const QString& v) { setValue(Setting::macroDeviceUID, v); }
    void setMicDeviceUID(const QString& v) { setValue(Setting::micDeviceUID, v); }
    void setRecordingFolderPath(const QByteArray& v) { setValue(Setting::recordingFolderPath, v); }
    void setAppearanceMode(int v) { setValue(Setting::appearanceMode, v); }
    void setWatermarkOn(bool v) { setValue(Setting::watermarkOn, v); }
    void setPraxisText(const QString& v) { setValue(Setting::praxisText, v); }
    void setResolutionHigh(bool v) { setValue(Setting::resolutionHigh, v); }
    void setStabilizeMacro(bool v) { setValue(Setting::stabilizeMacro, v); }
    void setDidCompleteOnboarding(bool v) { setValue(Setting::didCompleteOnboarding, v); }
    void setDevShowFPS(bool v) { setValue(Setting::devShowFPS, v); }
    void setDevStabSliders(bool v) { setValue(Setting::devStabSliders, v); }
    void setDevStabFrame(bool v) { setValue(Setting::devStabFrame, v); }
    void setDevStabDiag(bool v) { setValue(Setting::devStabDiag, v); }
    void setStabGain(double v) { setValue(Setting::stabGain, v); }
    void setStabSmoothing(double v) { setValue(Setting::stabSmoothing, v); }
    void setStabCropZoom(double v) { setValue(Setting::stabCropZoom, v); }
    void setStabLead(double v) { setValue(Setting::stabLead, v); }

signals:
    // Emitted for every key that changed, besides the key's own property signal.
    void settingChanged(Setting setting);

    void wideDeviceUIDChanged();
    void macroDeviceUIDChanged();
    void micDeviceUIDChanged();
    void recordingFolderPathChanged();
    void appearanceModeChanged();
    void watermarkOnChanged();
    void praxisTextChanged();
    void resolutionHighChanged();
    void stabilizeMacroChanged();
    void didCompleteOnboardingChanged();
    void devShowFPSChanged();
    void devStabSlidersChanged();
    void devStabFrameChanged();
    void devStabDiagChanged();
    void stabGainChanged();
    void stabSmoothingChanged();
    void stabCropZoomChanged();
    void stabLeadChanged();

private:
    void moveLegacyKeys();
    void loadAll();
    void notify(Setting setting);

    std::unique_ptr<QSettings> m_settings;
    mutable std::shared_mutex m_lock;
    std::array<QVariant, settingCount> m_values; // invalid = absent or unreadable
};
