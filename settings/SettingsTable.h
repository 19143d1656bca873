#pragma once

#include <QString>
#include <QVariant>

#include <array>
#include <optional>

// Every persisted setting. The order is the table's order; `count` is not a setting.
enum class Setting {
    wideDeviceUID,
    macroDeviceUID,
    micDeviceUID,
    recordingFolderPath,
    appearanceMode,
    watermarkOn,
    praxisText,
    resolutionHigh,
    stabilizeMacro,
    didCompleteOnboarding,
    devShowFPS,
    devStabSliders,
    devStabFrame,
    devStabDiag,
    stabGain,
    stabSmoothing,
    stabCropZoom,
    stabLead,
    count
};

inline constexpr int settingCount = int(Setting::count);

enum class SettingType { text, boolean, integer, number, bytes };

struct SettingSpec {
    Setting setting;
    const char* key;
    SettingType type;
    QVariant defaultValue; // invalid for a key without default (absent bytes)
};

const SettingSpec& settingSpec(Setting setting);
std::optional<Setting> settingFromKey(const QString& key);

// The stored value as the setting's type, or nullopt when it cannot be read as that type
// (the reader then uses the default). Texts are accepted where the file format stores
// Booleans and numbers as text.
std::optional<QVariant> coerceSettingValue(SettingType type, const QVariant& stored);
