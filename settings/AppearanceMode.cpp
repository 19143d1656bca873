#include "settings/AppearanceMode.h"

#include <QCoreApplication>

std::optional<AppearanceMode> appearanceModeFromValue(int value) {
    switch (value) {
    case 0:
        return AppearanceMode::system;
    case 1:
        return AppearanceMode::light;
    case 2:
        return AppearanceMode::dark;
    default:
        return std::nullopt;
    }
}

AppearanceMode effectiveAppearanceMode(int storedValue) {
    return appearanceModeFromValue(storedValue).value_or(AppearanceMode::system);
}

QString appearanceModeLabel(AppearanceMode mode) {
    switch (mode) {
    case AppearanceMode::system:
        return QCoreApplication::translate("AppearanceMode", "Automatisch");
    case AppearanceMode::light:
        return QCoreApplication::translate("AppearanceMode", "Hell");
    case AppearanceMode::dark:
        return QCoreApplication::translate("AppearanceMode", "Dunkel");
    }
    return {};
}
