#pragma once

#include "storage/RecordingFiles.h"

#include <QSet>
#include <QString>
#include <QStringList>

// What became of one partial recording.
struct RecoveryOutcome {
    enum class Kind { saved, discarded, failed } kind = Kind::failed;
    QString name;  // saved: the file name in the destination folder
    QString error; // failed: why
};

// Repairs a partial recording the caller holds (cut back to its last complete fragment, the
// duration written into its header) and moves it into `destinationFolder` as "OSTREL-" + the
// time of its last write + ".mp4", never replacing a saved file. A file with nothing playable
// in it is removed. File I/O: call it off the main thread.
RecoveryOutcome recoverPartial(PartialRecording& file, const QString& destinationFolder);

// Why leftovers are looked for: at start (what a crash left) or because the recording folder
// is reachable again (what a pulled drive kept).
enum class RecoveryCause { crash, folderBack };

// Recovers every partial recording in `folders` that no process holds (a crashed run's) into
// `destinationFolder`, and logs each outcome. Only files our writer marked are touched (and
// empty ones); a foreign, unreadable or unmarked file is left alone and reported once, its
// path then in `reported`. Returns how many were saved. File I/O: call it off the main thread.
int recoverUnownedRecordings(const QStringList& folders, const QString& destinationFolder,
                             RecoveryCause cause, QSet<QString>& reported);
