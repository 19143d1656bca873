#pragma once

#include "devices/DeviceStore.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

// The pages of the first-run setup, in order.
enum class OnboardingStep { welcome, connect, mount, cable, folder, cameras, mic, tour, done };
inline constexpr int onboardingStepCount = 9;
// Nothing for ordinals outside 0…8.
std::optional<OnboardingStep> onboardingStepFromOrdinal(int ordinal);

// The logic of the first-run setup: the current page, when the primary button may be pressed
// and what it says, the camera pre-selection, and the summary. Everything chosen on the way is
// stored at once by the stores; finishing sets "didCompleteOnboarding" and emits `finished`.
class OnboardingController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(DeviceStore* devices READ devices WRITE setDevices NOTIFY storesChanged)
    Q_PROPERTY(RecordingsStore* recordings READ recordings WRITE setRecordings NOTIFY storesChanged)
    Q_PROPERTY(SettingsStore* settings READ settings WRITE setSettings NOTIFY storesChanged)
    Q_PROPERTY(int step READ stepOrdinal NOTIFY stepChanged)
    Q_PROPERTY(int stepCount READ stepCount CONSTANT)
    Q_PROPERTY(bool backVisible READ backVisible NOTIFY stepChanged)
    Q_PROPERTY(QString primaryLabel READ primaryLabel NOTIFY stepChanged)
    Q_PROPERTY(bool primaryEnabled READ primaryEnabled NOTIFY stateChanged)
    Q_PROPERTY(bool waitingForCameras READ waitingForCameras NOTIFY stateChanged)
    Q_PROPERTY(bool sameCamera READ sameCamera NOTIFY stateChanged)
    Q_PROPERTY(QString folderName READ folderName NOTIFY stateChanged)
    Q_PROPERTY(QString wideName READ wideName NOTIFY stateChanged)
    Q_PROPERTY(QString macroName READ macroName NOTIFY stateChanged)
    Q_PROPERTY(QString micName READ micName NOTIFY stateChanged)

public:
    explicit OnboardingController(QObject* parent = nullptr);

    DeviceStore* devices() const { return m_devices; }
    void setDevices(DeviceStore* devices);
    RecordingsStore* recordings() const { return m_recordings; }
    void setRecordings(RecordingsStore* recordings);
    SettingsStore* settings() const { return m_settings; }
    void setSettings(SettingsStore* settings);

    OnboardingStep step() const { return m_step; }
    int stepOrdinal() const { return int(m_step); }
    int stepCount() const { return onboardingStepCount; }
    bool backVisible() const { return m_step != OnboardingStep::welcome; }
    QString primaryLabel() const;
    bool primaryEnabled() const;
    bool waitingForCameras() const;
    bool sameCamera() const;
    // The summary; "—" for what cannot be found.
    QString folderName() const;
    QString wideName() const;
    QString macroName() const;
    QString micName() const;

    // When the setup appears: re-reads the device lists and pre-selects the cameras.
    Q_INVOKABLE void begin();
    Q_INVOKABLE void next();
    Q_INVOKABLE void back();
    // The primary button (also Return): the next page, or on the last one the end of the setup.
    // Nothing while it is disabled.
    Q_INVOKABLE void primary();

signals:
    void storesChanged();
    void stepChanged();
    void stateChanged();
    void finished();

private:
    void setStep(OnboardingStep step);
    void follow(QObject* store);

    QPointer<DeviceStore> m_devices;
    QPointer<RecordingsStore> m_recordings;
    QPointer<SettingsStore> m_settings;
    OnboardingStep m_step = OnboardingStep::welcome;
};
