#include "storage/RecordingRecovery.h"

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

// The mode a new recording gets: read-write for its owner, readable for others, less what the
// user's umask takes away.
mode_t recordingMode() {
    QFile status(QStringLiteral("/proc/self/status"));
    mode_t mask = 022;
    if (status.open(QIODevice::ReadOnly))
        for (const QByteArray& line : status.readAll().split('\n'))
            if (line.startsWith("Umask:"))
                mask = mode_t(line.mid(6).trimmed().toUInt(nullptr, 8));
    return 0644 & ~mask;
}

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
    ::fchmod(file.fd(), recordingMode()); // a crash may have left it with none
    const QDir folder(destinationFolder);
    const QString name = freeRecordingName(folder, stamp);
    if (auto error = file.moveTo(folder.filePath(name)))
        return {RecoveryOutcome::Kind::failed, {}, *error};
    return {RecoveryOutcome::Kind::saved, name, {}};
}

namespace {

// Ours to repair: marked by our writer, or empty (a start that never got to its header).
bool ours(PartialRecording& file) {
    struct stat info {};
    return (::fstat(file.fd(), &info) == 0 && info.st_size == 0) ||
           ffmpeg::carriesRecordingMark(file.fd());
}

void reportOnce(QSet<QString>& reported, const QString& path, const QString& why) {
    if (reported.contains(path))
        return;
    reported.insert(path);
    logFromAnyThread(LogLevel::warn,
                     QStringLiteral("Teilaufnahme nicht angetastet (%1): %2").arg(why, path));
}

} // namespace

int recoverUnownedRecordings(const QStringList& folders, const QString& destinationFolder,
                             RecoveryCause cause, QSet<QString>& reported) {
    int saved = 0;
    for (const QString& folder : folders) {
        for (const QString& path : partialRecordings(folder)) {
            PartialRecording::Refusal refusal = PartialRecording::Refusal::gone;
            const std::unique_ptr<PartialRecording> file = PartialRecording::adopt(path, &refusal);
            if (!file) {
                if (refusal == PartialRecording::Refusal::unreadable)
                    reportOnce(reported, path, QStringLiteral("nicht lesbar"));
                else if (refusal == PartialRecording::Refusal::foreign)
                    reportOnce(reported, path, QStringLiteral("gehört einem anderen Benutzer"));
                continue; // otherwise still being written by a running instance, or gone
            }
            if (!ours(*file)) {
                reportOnce(reported, path, QStringLiteral("nicht von OSTREL geschrieben"));
                continue;
            }
            const RecoveryOutcome outcome = recoverPartial(*file, destinationFolder);
            switch (outcome.kind) {
            case RecoveryOutcome::Kind::saved:
                ++saved;
                logFromAnyThread(LogLevel::event,
                                 (cause == RecoveryCause::crash
                                      ? QStringLiteral("Aufnahme nach Absturz wiederhergestellt: ")
                                      : QStringLiteral("Aufnahme gespeichert, nachdem der "
                                                       "Aufnahmeordner wieder erreichbar ist: ")) +
                                     outcome.name);
                break;
            case RecoveryOutcome::Kind::discarded:
                logFromAnyThread(LogLevel::info,
                                 QStringLiteral("Abgebrochene Aufnahme ohne Bilddaten entfernt: ") +
                                     outcome.name);
                break;
            case RecoveryOutcome::Kind::failed:
                logFromAnyThread(LogLevel::error,
                                 QStringLiteral("Aufnahme nicht wiederhergestellt (%1): %2")
                                     .arg(QFileInfo(path).fileName(), outcome.error));
                break;
            }
        }
    }
    return saved;
}
