#pragma once

#include <QDateTime>
#include <QString>

#include <optional>
#include <system_error>

// Where a recording is written while it runs: "ostrel-<epoch seconds>.mp4" in the temporary
// folder.
QString temporaryRecordingPath(const QString& tempFolder, const QDateTime& start);

// The saved name of a recording finished at the time `timestamp` names.
QString finalRecordingName(const QString& timestamp);

// Moves `source` to `destination`, replacing what is there. Across file systems the file is
// copied under a hidden name beside the destination, synced, renamed into place and only then
// removed from its old place, so a failure at any step leaves the source untouched. Returns
// the error text on failure.
std::optional<QString> moveFileReplacing(const QString& source, const QString& destination);

// A short German description of a file-system error.
QString fileErrorText(const std::error_code& error);

// Recordings a crashed run left in `tempFolder`: files "ostrel-*.mp4" not written to for at
// least `quietSeconds` (so another running instance's recording is left alone).
QStringList leftoverRecordings(const QString& tempFolder, const QDateTime& now,
                               int quietSeconds = 30);
