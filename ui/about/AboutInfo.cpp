#include "ui/about/AboutInfo.h"

#include "diagnostics/VersionText.h"

QString AboutInfo::versionFrom(const std::optional<QString>& shortVersion) {
    if (!shortVersion || shortVersion->trimmed().isEmpty())
        return QStringLiteral("1.0");
    return *shortVersion;
}

QString AboutInfo::version() const {
    return versionFrom(currentVersionValues().shortVersion);
}
