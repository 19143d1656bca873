#include "storage/RecordingFiles.h"

#include "recording/Photos.h"
#include "runtime/FileCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

fs::path toPath(const QString& path) {
    return fs::path(QFile::encodeName(path).toStdString());
}

std::error_code lastError() {
    return {errno, std::generic_category()};
}

// Makes the copied bytes durable before the original is removed.
std::error_code syncFile(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return lastError();
    std::error_code error;
    if (::fsync(fd) != 0)
        error = lastError();
    ::close(fd);
    return error;
}

void syncFolder(const QString& folder) {
    const int fd =
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

bool sameFile(const struct stat& a, const struct stat& b) {
    return a.st_ino == b.st_ino && a.st_dev == b.st_dev;
}

const QRegularExpression& partialPattern() {
    static const QRegularExpression pattern(
        QStringLiteral("^\\.ostrel-(\\d+)(?:-\\d+)?\\.partial\\.mp4$"));
    return pattern;
}

QString partialName(qint64 startSeconds, int attempt) {
    return attempt == 0
               ? QStringLiteral(".ostrel-%1.partial.mp4").arg(startSeconds)
               : QStringLiteral(".ostrel-%1-%2.partial.mp4").arg(startSeconds).arg(attempt);
}

// A new, already locked file at `path`: an unnamed file is locked and only then linked into
// the folder, so no other process ever sees it unlocked. File systems without unnamed files
// (FAT, exFAT) get an exclusive create followed by the lock at once.
int createLocked(const QString& folder, const QString& path, std::error_code& error) {
    const QByteArray name = QFile::encodeName(path);
    int fd = ::open(QFile::encodeName(folder).constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0644);
    if (fd >= 0) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
            const QByteArray proc = QByteArray("/proc/self/fd/") + QByteArray::number(fd);
            if (::linkat(AT_FDCWD, proc.constData(), AT_FDCWD, name.constData(),
                         AT_SYMLINK_FOLLOW) == 0)
                return fd;
        }
        error = lastError();
        ::close(fd);
        if (error.value() != ENOENT && error.value() != EPERM && error.value() != EOPNOTSUPP)
            return -1; // EEXIST, or the folder cannot take the name
    } else if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) {
        error = lastError();
        return -1;
    }
    fd = ::open(name.constData(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0644);
    if (fd < 0) {
        error = lastError();
        return -1;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        error = lastError();
        ::close(fd);
        return -1;
    }
    error.clear();
    return fd;
}

} // namespace

std::variant<std::unique_ptr<PartialRecording>, QString>
PartialRecording::create(const QString& folder, qint64 startSeconds, bool createFolder) {
    if (createFolder)
        QDir().mkpath(folder);
    std::error_code error;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString path = QDir(folder).filePath(partialName(startSeconds, attempt));
        const int fd = createLocked(folder, path, error);
        if (fd >= 0)
            return std::unique_ptr<PartialRecording>(new PartialRecording(fd, path));
        if (error.value() != EEXIST)
            break;
    }
    return fileErrorText(error);
}

std::unique_ptr<PartialRecording> PartialRecording::adopt(const QString& path, Refusal* refusal) {
    const auto refuse = [refusal](Refusal why) {
        if (refusal)
            *refusal = why;
        return nullptr;
    };
    const QByteArray name = QFile::encodeName(path);
    const int fd = ::open(name.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return refuse(errno == ENOENT ? Refusal::gone : Refusal::unreadable);
    struct stat opened {
    }, named{};
    if (::fstat(fd, &opened) != 0 || opened.st_uid != ::geteuid() || !S_ISREG(opened.st_mode)) {
        ::close(fd);
        return refuse(Refusal::foreign);
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return refuse(Refusal::held);
    }
    // The owner may have renamed or removed it just before it let go.
    if (::stat(name.constData(), &named) != 0 || !sameFile(opened, named)) {
        ::close(fd);
        return refuse(Refusal::gone);
    }
    return std::unique_ptr<PartialRecording>(new PartialRecording(fd, path));
}

PartialRecording::PartialRecording(int fd, QString path) : m_fd(fd), m_path(std::move(path)) {
    reopenFolder();
}

PartialRecording::~PartialRecording() {
    if (m_fd >= 0)
        ::close(m_fd);
    if (m_folderFd >= 0)
        ::close(m_folderFd);
}

void PartialRecording::reopenFolder() {
    if (m_folderFd >= 0)
        ::close(m_folderFd);
    m_folderFd = ::open(QFile::encodeName(QFileInfo(m_path).absolutePath()).constData(),
                        O_PATH | O_DIRECTORY | O_CLOEXEC);
}

void PartialRecording::take(PartialRecording& other) {
    std::swap(m_fd, other.m_fd);
    std::swap(m_folderFd, other.m_folderFd);
    std::swap(m_path, other.m_path);
}

bool PartialRecording::reachable() const {
    struct stat opened {
    }, named{};
    return ::fstat(m_fd, &opened) == 0 &&
           ::stat(QFile::encodeName(m_path).constData(), &named) == 0 && sameFile(opened, named);
}

void PartialRecording::discardLeftover() {
    if (m_folderFd < 0)
        return;
    const QByteArray name = QFile::encodeName(QFileInfo(m_path).fileName());
    struct stat opened {
    }, left{};
    // Only our own file: the name may have been taken by another one meanwhile.
    if (::fstat(m_fd, &opened) == 0 && ::fstatat(m_folderFd, name.constData(), &left, 0) == 0 &&
        sameFile(opened, left))
        ::unlinkat(m_folderFd, name.constData(), 0);
}

std::variant<std::unique_ptr<PartialRecording>, QString>
PartialRecording::sibling(const QString& folder) const {
    const QRegularExpressionMatch match = partialPattern().match(QFileInfo(m_path).fileName());
    const qint64 start = match.hasMatch() ? match.captured(1).toLongLong() : 0;
    return create(folder, start, true);
}

std::optional<QString> PartialRecording::rescueInto(const QString& folder) {
    auto created = sibling(folder);
    if (const QString* error = std::get_if<QString>(&created))
        return *error;
    PartialRecording& copy = *std::get<std::unique_ptr<PartialRecording>>(created);
    if (const std::error_code error = copyFileContents(m_fd, copy.m_fd)) {
        copy.discard();
        return fileErrorText(error);
    }
    discardLeftover();
    take(copy); // the old file is closed with `copy`
    return std::nullopt;
}

std::optional<QString> PartialRecording::moveTo(const QString& destination) {
    std::error_code error;
    fs::rename(toPath(m_path), toPath(destination), error);
    if (!error) {
        m_path = destination;
        syncFolder(QFileInfo(destination).absolutePath());
        reopenFolder();
        return std::nullopt;
    }
    if (error != std::errc::cross_device_link)
        return fileErrorText(error);
    if (auto failed = moveFileReplacing(m_path, destination))
        return failed;
    m_path = destination;
    reopenFolder();
    return std::nullopt;
}

void PartialRecording::discard() {
    QFile::remove(m_path);
}

bool PartialRecording::exists() const {
    struct stat info {};
    return ::fstat(m_fd, &info) == 0 && info.st_nlink > 0;
}

bool isPartialRecordingName(const QString& fileName) {
    return partialPattern().match(fileName).hasMatch();
}

QString unsavedRecordingName(const QString& partialPath) {
    const QRegularExpressionMatch match = partialPattern().match(QFileInfo(partialPath).fileName());
    return QStringLiteral("ostrel-%1.mp4").arg(match.hasMatch() ? match.captured(1) : QString());
}

QString finalRecordingName(const QString& timestamp) {
    return QStringLiteral("OSTREL-") + timestamp + QStringLiteral(".mp4");
}

QString freeRecordingName(const QDir& folder, const QString& timestamp) {
    return finalRecordingName(freeTimestamp(timestamp, [&](const QString& stamp) {
        return QFileInfo::exists(folder.filePath(finalRecordingName(stamp)));
    }));
}

QString fileErrorText(const std::error_code& error) {
    switch (error.value()) {
    case ENOSPC:
    case EDQUOT:
        return QStringLiteral("Kein Speicherplatz mehr auf dem Laufwerk");
    case EFBIG:
        return QStringLiteral("Datei zu groß für das Laufwerk");
    case EACCES:
    case EPERM:
        return QStringLiteral("Keine Schreibberechtigung");
    case ENOENT:
    case ENOTDIR:
        return QStringLiteral("Datei oder Ordner nicht gefunden");
    case EROFS:
        return QStringLiteral("Laufwerk ist schreibgeschützt");
    case EIO:
        return QStringLiteral("Ein-/Ausgabefehler");
    case ENODEV:
    case ENXIO:
        return QStringLiteral("Laufwerk nicht verfügbar");
    default:
        return QString::fromStdString(error.message());
    }
}

std::optional<QString> moveFileReplacing(const QString& source, const QString& destination) {
    const fs::path from = toPath(source);
    const fs::path to = toPath(destination);
    std::error_code error;
    if (!fs::is_regular_file(from, error))
        return fileErrorText(error ? error
                                   : std::make_error_code(std::errc::no_such_file_or_directory));

    fs::rename(from, to, error); // replaces an existing file atomically
    if (!error)
        return std::nullopt;
    if (error != std::errc::cross_device_link)
        return fileErrorText(error);

    const fs::path partial = to.parent_path() / ("." + to.filename().string() + ".part");
    const auto fail = [&](std::error_code cause) {
        std::error_code ignored;
        fs::remove(partial, ignored);
        return fileErrorText(cause);
    };
    if (fs::copy_file(from, partial, fs::copy_options::overwrite_existing, error); error)
        return fail(error);
    if (error = syncFile(partial); error)
        return fail(error);
    if (fs::rename(partial, to, error); error)
        return fail(error);
    fs::remove(from, error); // the recording is safe; a stale source only costs space
    return std::nullopt;
}

QStringList partialRecordings(const QString& folder) {
    QStringList found;
    const QDir dir(folder);
    const auto entries = dir.entryInfoList(
        {QStringLiteral(".ostrel-*.partial.mp4")},
        QDir::Files | QDir::Hidden | QDir::NoSymLinks | QDir::CaseSensitive, QDir::Name);
    for (const QFileInfo& entry : entries)
        if (isPartialRecordingName(entry.fileName()))
            found << entry.absoluteFilePath();
    return found;
}
