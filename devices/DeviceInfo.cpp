#include "devices/DeviceInfo.h"

#include <QMap>

#include <algorithm>

QList<DeviceInfo> makeDeviceInfos(const std::vector<CaptureDevice>& devices) {
    std::vector<CaptureDevice> sorted = devices;
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
        return QString::compare(a.uniqueID, b.uniqueID, Qt::CaseSensitive) < 0;
    });
    QHash<QString, int> occurrences;
    for (const CaptureDevice& device : sorted)
        ++occurrences[device.localizedName];
    QHash<QString, int> running;
    QList<DeviceInfo> infos;
    infos.reserve(qsizetype(sorted.size()));
    for (const CaptureDevice& device : sorted) {
        QString displayName = device.localizedName;
        if (occurrences.value(device.localizedName) > 1)
            displayName += QStringLiteral(" #%1").arg(++running[device.localizedName]);
        infos.append({device.uniqueID, device.localizedName, displayName});
    }
    return infos;
}
