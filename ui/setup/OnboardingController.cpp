#include "ui/setup/OnboardingController.h"

#include "devices/AssignmentRules.h"
#include "devices/DeviceStore.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"

#include <QFileInfo>
#include <QMetaMethod>
#include <QMetaProperty>

namespace {

const QString missing = QStringLiteral("—");

QString orMissing(const std::optional<QString>& name) {
    return name.value_or(missing);
}

} // namespace

std::optional<OnboardingStep> onboardingStepFromOrdinal(int ordinal) {
    if (ordinal < 0 || ordinal >= onboardingStepCount)
        return std::nullopt;
    return OnboardingStep(ordinal);
}

OnboardingController::OnboardingController(QObject* parent) : QObject(parent) {
}

void OnboardingController::follow(QObject* store) {
    if (!store)
        return;
    // Every change of a store may change what the pages show; one signal covers them all.
    const QMetaObject* meta = store->metaObject();
    const QMetaMethod changed = metaObject()->method(metaObject()->indexOfSignal("stateChanged()"));
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i)
        if (QMetaProperty property = meta->property(i); property.hasNotifySignal())
            connect(store, property.notifySignal(), this, changed);
}

void OnboardingController::setDevices(DeviceStore* devices) {
    if (devices == m_devices)
        return;
    if (m_devices)
        disconnect(m_devices, nullptr, this, nullptr);
    m_devices = devices;
    follow(devices);
    emit storesChanged();
    emit stateChanged();
}

void OnboardingController::setRecordings(RecordingsStore* recordings) {
    if (recordings == m_recordings)
        return;
    if (m_recordings)
        disconnect(m_recordings, nullptr, this, nullptr);
    m_recordings = recordings;
    follow(recordings);
    emit storesChanged();
    emit stateChanged();
}

void OnboardingController::setSettings(SettingsStore* settings) {
    if (settings == m_settings)
        return;
    m_settings = settings;
    emit storesChanged();
}

QString OnboardingController::primaryLabel() const {
    switch (m_step) {
    case OnboardingStep::welcome:
        return tr("Los geht's");
    case OnboardingStep::done:
        return tr("Einrichtung abschließen");
    default:
        return tr("Weiter");
    }
}

bool OnboardingController::primaryEnabled() const {
    switch (m_step) {
    case OnboardingStep::folder:
        return m_recordings && !m_recordings->folderURL().isEmpty();
    case OnboardingStep::cameras:
        return m_devices && m_devices->isAssignmentComplete();
    default:
        return true;
    }
}

bool OnboardingController::waitingForCameras() const {
    return !m_devices || m_devices->videoDevices().size() < 2;
}

bool OnboardingController::sameCamera() const {
    return m_devices && sameCameraChosen(m_devices->wideUID(), m_devices->macroUID());
}

QString OnboardingController::folderName() const {
    if (!m_recordings || m_recordings->folderURL().isEmpty())
        return missing;
    const QString name = QFileInfo(m_recordings->folderPath()).fileName();
    return name.isEmpty() ? m_recordings->folderPath() : name; // the root folder has no name
}

QString OnboardingController::wideName() const {
    return m_devices ? orMissing(m_devices->videoDisplayName(m_devices->wideUID())) : missing;
}

QString OnboardingController::macroName() const {
    return m_devices ? orMissing(m_devices->videoDisplayName(m_devices->macroUID())) : missing;
}

QString OnboardingController::micName() const {
    if (!m_devices)
        return missing;
    if (m_devices->micUID().isEmpty())
        return tr("Kein Ton");
    return orMissing(m_devices->audioDisplayName(m_devices->micUID()));
}

void OnboardingController::begin() {
    if (!m_devices)
        return;
    m_devices->refresh();
    QStringList ids;
    for (const DeviceInfo& device : m_devices->videoDevices())
        ids << device.id;
    const CameraChoice choice =
        preselectCameras(ids, {m_devices->wideUID(), m_devices->macroUID()});
    if (choice.wide != m_devices->wideUID())
        m_devices->setWideUID(choice.wide);
    if (choice.macro != m_devices->macroUID())
        m_devices->setMacroUID(choice.macro);
}

void OnboardingController::setStep(OnboardingStep step) {
    if (step == m_step)
        return;
    m_step = step;
    emit stepChanged();
    emit stateChanged();
}

void OnboardingController::next() {
    if (auto step = onboardingStepFromOrdinal(int(m_step) + 1))
        setStep(*step);
}

void OnboardingController::back() {
    if (auto step = onboardingStepFromOrdinal(int(m_step) - 1))
        setStep(*step);
}

void OnboardingController::primary() {
    if (!primaryEnabled())
        return;
    if (m_step != OnboardingStep::done) {
        next();
        return;
    }
    if (m_settings)
        m_settings->setDidCompleteOnboarding(true);
    emit finished();
}
