#include "capture/RecordingRecovery.h"

#include "diagnostics/OstrelLog.h"
#include "recording/ffmpeg/FfmpegPtr.h"
#include "recording/ffmpeg/FragmentRepair.h"

#include <QDir>
#include <QFileInfo>

extern "C" {
#include <libavutil/error.h>
}

#include <system_error>

#include <sys/stat.h>

namespace {

QString lastWriteStamp(int fd, const QString& path) {
    struct stat info {};
    const QDateTime written = ::fstat(fd, &info) == 0 ? QDateTime::fromSecsSinceEpoch(info.st_mtime)
                                                      : QFileInfo(path).lastModified();
    return written.toLocalTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
}

} // namespace

RecoveryOutcome recoverPartial(PartialRecording& file, const QString& destinationFolder) {
    const QString stamp = lastWriteStamp(file.fd(), file.path()); // before the repair writes
    std::int64_t duration = 0;
    const int repaired = ffmpeg::repairFragmentedMp4(file.fd(), duration);
    if (repaired == AVERROR_INVALIDDATA) {
        file.discard();
        return {RecoveryOutcome::Kind::discarded, QFileInfo(file.path()).fileName(), {}};
    }
    if (repaired < 0)
        return {RecoveryOutcome::Kind::failed,
                {},
                fileErrorText(std::error_code(AVUNERROR(repaired), std::generic_category()))};
    const QDir folder(destinationFolder);
    const QString name = freeRecordingName(folder, stamp);
    if (auto error = file.moveTo(folder.filePath(name)))
        return {RecoveryOutcome::Kind::failed, {}, *error};
    return {RecoveryOutcome::Kind::saved, name, {}};
}

int recoverUnownedRecordings(const QStringList& folders, const QString& destinationFolder) {
    int saved = 0;
    for (const QString& folder : folders) {
        for (const QString& path : partialRecordings(folder)) {
            const std::unique_ptr<PartialRecording> file = PartialRecording::adopt(path);
            if (!file)
                continue; // still being written by a running instance
            const RecoveryOutcome outcome = recoverPartial(*file, destinationFolder);
            switch (outcome.kind) {
            case RecoveryOutcome::Kind::saved:
                ++saved;
                ostrelPost(LogLevel::event,
                           QStringLiteral("Aufnahme nach Absturz wiederhergestellt: ") +
                               outcome.name);
                break;
            case RecoveryOutcome::Kind::discarded:
                ostrelPost(LogLevel::info,
                           QStringLiteral("Abgebrochene Aufnahme ohne Bilddaten entfernt: ") +
                               outcome.name);
                break;
            case RecoveryOutcome::Kind::failed:
                ostrelPost(LogLevel::error,
                           QStringLiteral("Aufnahme nach Absturz nicht wiederhergestellt (%1): %2")
                               .arg(QFileInfo(path).fileName(), outcome.error));
                break;
            }
        }
    }
    return saved;
}
