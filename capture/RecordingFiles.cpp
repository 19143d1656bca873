#include "capture/RecordingFiles.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

fs::path toPath(const QString& path) {
    return fs::path(path.toStdString());
}

// Makes the copied bytes durable before the original is removed.
std::error_code syncFile(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {errno, std::generic_category()};
    std::error_code error;
    if (::fsync(fd) != 0)
        error = {errno, std::generic_category()};
    ::close(fd);
    return error;
}

} // namespace

QString temporaryRecordingPath(const QString& tempFolder, const QDateTime& start) {
    return QDir(tempFolder).filePath(QStringLiteral("ostrel-%1.mp4").arg(start.toSecsSinceEpoch()));
}

QString finalRecordingName(const QString& timestamp) {
    return QStringLiteral("OSTREL-") + timestamp + QStringLiteral(".mp4");
}

QString fileErrorText(const std::error_code& error) {
    switch (error.value()) {
    case ENOSPC:
        return QStringLiteral("Kein Speicherplatz mehr auf dem Laufwerk");
    case EACCES:
    case EPERM:
        return QStringLiteral("Keine Schreibberechtigung");
    case ENOENT:
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

QStringList leftoverRecordings(const QString& tempFolder, const QDateTime& now, int quietSeconds) {
    QStringList found;
    const QDir folder(tempFolder);
    const auto entries =
        folder.entryInfoList({QStringLiteral("ostrel-*.mp4")},
                             QDir::Files | QDir::NoSymLinks | QDir::CaseSensitive, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.lastModified().secsTo(now) >= quietSeconds)
            found << entry.absoluteFilePath();
    }
    return found;
}
