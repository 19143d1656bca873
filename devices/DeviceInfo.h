#pragma once

#include "capture/CaptureDevice.h"

#include <QHash>
#include <QList>
#include <QString>

#include <vector>

// One device as the user sees it; `displayName` tells same-named devices apart.
struct DeviceInfo {
    QString id;
    QString name;
    QString displayName;

    friend bool operator==(const DeviceInfo&, const DeviceInfo&) = default;
};

inline size_t qHash(const DeviceInfo& info, size_t seed = 0) {
    return qHashMulti(seed, info.id, info.name, info.displayName);
}

// One list of devices, sorted by id, with " #n" added to names that occur more than once.
QList<DeviceInfo> makeDeviceInfos(const std::vector<CaptureDevice>& devices);
