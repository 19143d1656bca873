#pragma once

#include <QString>

#include <array>
#include <optional>

enum class AppearanceMode { system = 0, light = 1, dark = 2 };

inline constexpr std::array<AppearanceMode, 3> allAppearanceModes{
    AppearanceMode::system, AppearanceMode::light, AppearanceMode::dark};

// Accepts the three stored values and nothing else.
std::optional<AppearanceMode> appearanceModeFromValue(int value);

// What the shell applies: 1 is light, 2 is dark, anything else (also values written by a newer
// version) follows the system.
AppearanceMode effectiveAppearanceMode(int storedValue);

// "Automatisch", "Hell", "Dunkel", translated.
QString appearanceModeLabel(AppearanceMode mode);
