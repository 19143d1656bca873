#pragma once

#include <QDateTime>
#include <QDir>
#include <QString>

#include <memory>
#include <optional>
#include <system_error>
#include <variant>

// The file of a recording while it is written: hidden in the folder it will be saved to (so
// saving is a rename on the same drive), named ".ostrel-<epoch seconds>.partial.mp4", and held
// with an exclusive flock for as long as this object lives. The kernel drops the lock when
// the process dies, so a crashed recording is recognisable at once and another running
// instance never takes a file that is still being written.
class PartialRecording {
public:
    // Creates a new partial file in `folder` (made first when `createFolder`), already locked;
    // the error text when the folder cannot be written.
    static std::variant<std::unique_ptr<PartialRecording>, QString>
    create(const QString& folder, qint64 startSeconds, bool createFolder = false);
    // Why a partial file was not taken over.
    enum class Refusal { held, gone, unreadable, foreign };
    // Takes over the partial file at `path` when no process holds it and it is this user's to
    // take; null (and why, when asked) otherwise.
    static std::unique_ptr<PartialRecording> adopt(const QString& path, Refusal* refusal = nullptr);
    ~PartialRecording(); // releases the lock; the file stays

    PartialRecording(const PartialRecording&) = delete;
    PartialRecording& operator=(const PartialRecording&) = delete;

    const QString& path() const { return m_path; }
    int fd() const { return m_fd; }
    // Renames the file (the lock goes with it), replacing what is at `destination`; across
    // file systems it is copied and synced first. The error text on failure.
    std::optional<QString> moveTo(const QString& destination);
    // Removes the file.
    void discard();
    // Whether the file still has a name (it may be out of reach, on a pulled drive).
    bool exists() const;
    // Whether the file is still reached under its path: its folder may have been deleted or
    // renamed, or its drive unmounted while the file stays open.
    bool reachable() const;
    // Removes what is left of the file under its old name, wherever its folder went (a
    // renamed folder, a lazily unmounted drive); for a file whose content lives on elsewhere.
    void discardLeftover();
    // Gives a file that is no longer reachable a new, locked partial file in `folder` (made
    // when missing) with its content, and stands for that one from then on. Only for a file
    // nobody writes any more. The error text on failure.
    std::optional<QString> rescueInto(const QString& folder);
    // A new partial file in `folder` for the same recording (same start time in its name).
    std::variant<std::unique_ptr<PartialRecording>, QString> sibling(const QString& folder) const;

private:
    PartialRecording(int fd, QString path);
    void take(PartialRecording& other);
    void reopenFolder();
    int m_fd;
    int m_folderFd = -1; // follows the folder when it is renamed or unmounted
    QString m_path;
};

// Whether `fileName` names a partial recording file.
bool isPartialRecordingName(const QString& fileName);

// The name a finished recording keeps when there is no recording folder:
// "ostrel-<epoch seconds>.mp4", taken from its partial name.
QString unsavedRecordingName(const QString& partialPath);

// The saved name of a recording finished at the time `timestamp` names.
QString finalRecordingName(const QString& timestamp);
// "OSTREL-<stamp>.mp4", or with "-2", "-3" … when a file in `folder` already has that name: a
// saved recording is never replaced.
QString freeRecordingName(const QDir& folder, const QString& timestamp);

// Moves `source` to `destination`, replacing what is there. Across file systems the file is
// copied under a hidden name beside the destination, synced, renamed into place and only then
// removed from its old place, so a failure at any step leaves the source untouched. Returns
// the error text on failure.
std::optional<QString> moveFileReplacing(const QString& source, const QString& destination);

// A short German description of a file-system error.
QString fileErrorText(const std::error_code& error);

// The partial recording files in `folder`, oldest name first (owned or not).
QStringList partialRecordings(const QString& folder);
