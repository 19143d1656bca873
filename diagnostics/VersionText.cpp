#include "diagnostics/VersionText.h"

#include "diagnostics/BuildInfo.h"

#include <QFile>
#include <QSysInfo>

namespace {

std::optional<QString> nonEmpty(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    return trimmed;
}

QString readFirstLine(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readLine(256)).trimmed();
}

QString machineKind() {
    // Vendors fill unused DMI fields with placeholders; only a real product name says more.
    const QString product = readFirstLine(QStringLiteral("/sys/class/dmi/id/product_name"));
    static const QStringList placeholders{QStringLiteral("To Be Filled By O.E.M."),
                                          QStringLiteral("System Product Name"),
                                          QStringLiteral("Default string")};
    if (product.isEmpty() || placeholders.contains(product))
        return QStringLiteral("PC");
    return QStringLiteral("PC (%1)").arg(product);
}

} // namespace

VersionValues currentVersionValues() {
    VersionValues values;
    values.machineKind = machineKind();
    values.systemName = nonEmpty(QSysInfo::prettyProductName());
    values.systemVersion = nonEmpty(QSysInfo::kernelVersion());
    values.shortVersion = nonEmpty(QStringLiteral(OSTREL_SHORT_VERSION));
    values.buildNumber = nonEmpty(QStringLiteral(OSTREL_BUILD_NUMBER));
    return values;
}

QString versionText(const VersionValues& values) {
    const QString unknown = QStringLiteral("?");
    return QStringLiteral("%1 · %2 · Linux %3\nOSTREL App v%4 (%5)")
        .arg(values.machineKind.isEmpty() ? unknown : values.machineKind,
             values.systemName.value_or(unknown), values.systemVersion.value_or(unknown),
             values.shortVersion.value_or(unknown), values.buildNumber.value_or(unknown));
}

QString versionText() {
    return versionText(currentVersionValues());
}
