#pragma once

#include <QString>

#include <cstdint>
#include <optional>

// What a recording needs of the disk, from the assumed data rate of its resolution.
struct StorageBudget {
    std::int64_t bytesPerMinute = 0;
    std::int64_t stopReserve = 0; // below this the recording is ended
    std::int64_t warnLevel = 0;   // below this the remaining time is shown once

    static StorageBudget forResolution(bool high);

    // Whole recording minutes left before the stop reserve is reached (never negative).
    std::int64_t minutesBeforeStop(std::int64_t freeBytes) const;
};

// The free-space label, e.g. "≈ 2 Std 5 Min · 11.2 GB frei".
QString storageText(std::int64_t freeBytes, bool high);

// Free bytes for a recording: the smaller of the free space where it is written and at the
// recording folder, the latter less the file written so far when that lies on another drive
// (it will be copied there).
std::optional<std::int64_t> freeBytesAtDestination(const QString& tempFolder,
                                                   const std::optional<QString>& recordingFolder,
                                                   const std::optional<QString>& tempFile);

// Free bytes the user may write on the volume holding `path`; none when it cannot be read.
std::optional<qint64> volumeFreeBytes(const QString& path);
