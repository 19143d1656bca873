#pragma once

#include <QString>

#include <array>
#include <optional>

enum class LogLevel { info = 0, event = 1, warn = 2, error = 3 };

inline constexpr std::array<LogLevel, 4> allLogLevels{LogLevel::info, LogLevel::event,
                                                      LogLevel::warn, LogLevel::error};

// The text value used in the file, the export and the diagnostics window.
inline QString logLevelText(LogLevel level) {
    switch (level) {
    case LogLevel::info:
        return QStringLiteral("INFO");
    case LogLevel::event:
        return QStringLiteral("EVENT");
    case LogLevel::warn:
        return QStringLiteral("WARN");
    case LogLevel::error:
        return QStringLiteral("FEHLER");
    }
    return {};
}

// Exact, case-sensitive match of a text value.
inline std::optional<LogLevel> logLevelFromText(QStringView text) {
    for (LogLevel level : allLogLevels)
        if (text == logLevelText(level))
            return level;
    return std::nullopt;
}

// Warnings and errors go to the system log as errors, the rest as default messages.
inline bool logLevelIsSystemError(LogLevel level) {
    return level == LogLevel::warn || level == LogLevel::error;
}
