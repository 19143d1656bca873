#include "storage/StorageBudget.h"

#include <QCoreApplication>
#include <QFile>
#include <QStorageInfo>

#include <algorithm>
#include <cmath>

#include <sys/stat.h>

StorageBudget StorageBudget::forResolution(bool high) {
    StorageBudget budget;
    budget.bytesPerMinute = (high ? 150 : 85) * std::int64_t(1048576);
    budget.stopReserve = std::max<std::int64_t>(2 * budget.bytesPerMinute, 1000000000);
    budget.warnLevel = budget.stopReserve + 10 * budget.bytesPerMinute;
    return budget;
}

std::int64_t StorageBudget::minutesBeforeStop(std::int64_t freeBytes) const {
    const double minutes = double(freeBytes - stopReserve) / double(bytesPerMinute);
    return std::max<std::int64_t>(std::int64_t(std::trunc(minutes)), 0);
}

QString storageText(std::int64_t freeBytes, bool high) {
    const double minutes =
        double(freeBytes) / double(StorageBudget::forResolution(high).bytesPerMinute);
    QString time;
    if (minutes >= 600) {
        time = QCoreApplication::translate("StorageBudget", "≈ %1 Std")
                   .arg(qint64(std::round(minutes / 60)));
    } else if (minutes >= 90) {
        time = QCoreApplication::translate("StorageBudget", "≈ %1 Std %2 Min")
                   .arg(qint64(std::trunc(minutes / 60)))
                   .arg(qint64(std::trunc(std::fmod(minutes, 60.0))));
    } else {
        time = QCoreApplication::translate("StorageBudget", "≈ %1 Min")
                   .arg(qint64(std::round(minutes)));
    }
    const double gigabytes = double(freeBytes) / 1e9;
    const QString size = QString::asprintf(gigabytes >= 100 ? "%.0f GB" : "%.1f GB", gigabytes);
    return QCoreApplication::translate("StorageBudget", "%1 · %2 frei").arg(time, size);
}

std::optional<std::int64_t> freeBytesAtDestination(const QString& tempFolder,
                                                   const std::optional<QString>& recordingFolder,
                                                   const std::optional<QString>& tempFile) {
    const std::optional<std::int64_t> temp = volumeFreeBytes(tempFolder);
    if (!recordingFolder)
        return temp;
    std::optional<std::int64_t> destination = volumeFreeBytes(*recordingFolder);
    // A file on another drive still has to be copied over; one on the same drive is renamed.
    struct stat file {
    }, folder{};
    if (destination && tempFile && ::stat(QFile::encodeName(*tempFile).constData(), &file) == 0 &&
        ::stat(QFile::encodeName(*recordingFolder).constData(), &folder) == 0 &&
        file.st_dev != folder.st_dev)
        *destination -= std::int64_t(file.st_size);
    if (temp && destination)
        return std::min(*temp, *destination);
    return temp ? temp : destination;
}

std::optional<qint64> volumeFreeBytes(const QString& path) {
    if (path.isEmpty())
        return std::nullopt;
    const QStorageInfo storage(path);
    if (!storage.isValid() || !storage.isReady())
        return std::nullopt;
    const qint64 free = storage.bytesAvailable();
    if (free < 0)
        return std::nullopt;
    return free;
}
