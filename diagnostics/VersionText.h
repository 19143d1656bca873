#pragma once

#include <QString>

#include <optional>

struct VersionValues {
    QString machineKind;                  // e.g. "PC" or the DMI product name
    std::optional<QString> systemName;    // e.g. "Debian GNU/Linux 12 (bookworm)"
    std::optional<QString> systemVersion; // kernel release
    std::optional<QString> shortVersion;  // the build's version, e.g. "1.0"
    std::optional<QString> buildNumber;   // the build's number
};

// The values of this machine and this build.
VersionValues currentVersionValues();

// Two lines: the machine and its operating system, then "OSTREL App v<version> (<build>)".
// Missing values read "?".
QString versionText(const VersionValues& values);
QString versionText();
