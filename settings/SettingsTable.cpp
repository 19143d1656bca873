#include "settings/SettingsTable.h"

#include <QByteArray>
#include <QStringList>

#include <cmath>

namespace {

const std::array<SettingSpec, settingCount>& table() {
    static const std::array<SettingSpec, settingCount> specs{{
        {Setting::wideDeviceUID, "wideDeviceUID", SettingType::text, QString()},
        {Setting::macroDeviceUID, "macroDeviceUID", SettingType::text, QString()},
        {Setting::micDeviceUID, "micDeviceUID", SettingType::text, QString()},
        {Setting::recordingFolderPath, "recordingFolderPath", SettingType::bytes, QVariant()},
        {Setting::appearanceMode, "appearanceMode", SettingType::integer, 0},
        {Setting::watermarkOn, "watermarkOn", SettingType::boolean, true},
        {Setting::praxisText, "praxisText", SettingType::text, QStringLiteral("Praxis Dr. Muster")},
        {Setting::resolutionHigh, "resolutionHigh", SettingType::boolean, false},
        {Setting::stabilizeMacro, "stabilizeMacro", SettingType::boolean, false},
        {Setting::didCompleteOnboarding, "didCompleteOnboarding", SettingType::boolean, false},
        {Setting::devShowFPS, "devShowFPS", SettingType::boolean, false},
        {Setting::devStabSliders, "devStabSliders", SettingType::boolean, false},
        {Setting::devStabFrame, "devStabFrame", SettingType::boolean, false},
        {Setting::devStabDiag, "devStabDiag", SettingType::boolean, false},
        {Setting::stabGain, "stabGain", SettingType::number, 0.5},
        {Setting::stabSmoothing, "stabSmoothing", SettingType::number, 0.85},
        {Setting::stabCropZoom, "stabCropZoom", SettingType::number, 1.15},
        {Setting::stabLead, "stabLead", SettingType::number, 0.0},
    }};
    return specs;
}

bool isTextual(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}

} // namespace

const SettingSpec& settingSpec(Setting setting) {
    return table()[size_t(setting)];
}

std::optional<Setting> settingFromKey(const QString& key) {
    for (const SettingSpec& spec : table())
        if (key == QLatin1String(spec.key))
            return spec.setting;
    return std::nullopt;
}

std::optional<QVariant> coerceSettingValue(SettingType type, const QVariant& stored) {
    if (!stored.isValid())
        return std::nullopt;
    const int id = stored.typeId();
    switch (type) {
    case SettingType::text:
        if (isTextual(stored))
            return stored;
        if (id == QMetaType::QStringList) // an unquoted comma in a hand-edited file
            return QVariant(stored.toStringList().join(QStringLiteral(", ")));
        return std::nullopt;
    case SettingType::boolean:
        if (id == QMetaType::Bool)
            return stored;
        if (isTextual(stored)) {
            const QString text = stored.toString();
            if (text == QLatin1String("true"))
                return QVariant(true);
            if (text == QLatin1String("false"))
                return QVariant(false);
        }
        return std::nullopt;
    case SettingType::integer: {
        if (id == QMetaType::Int)
            return stored;
        if (id == QMetaType::LongLong || id == QMetaType::UInt || id == QMetaType::ULongLong ||
            isTextual(stored)) {
            bool ok = false;
            const int value =
                isTextual(stored) ? stored.toString().trimmed().toInt(&ok) : stored.toInt(&ok);
            if (ok)
                return QVariant(value);
        }
        return std::nullopt;
    }
    case SettingType::number: {
        bool ok = false;
        double value = 0;
        if (id == QMetaType::Double || id == QMetaType::Float || id == QMetaType::Int ||
            id == QMetaType::LongLong)
            value = stored.toDouble(&ok);
        else if (isTextual(stored))
            value = stored.toString().trimmed().toDouble(&ok);
        if (ok && std::isfinite(value))
            return QVariant(value);
        return std::nullopt;
    }
    case SettingType::bytes:
        if (id == QMetaType::QByteArray)
            return stored;
        return std::nullopt;
    }
    return std::nullopt;
}
