#include "app/InstanceLock.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

InstanceLock::InstanceLock(const QString& path) {
    m_fd = ::open(QFile::encodeName(path).constData(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    if (m_fd < 0) {
        m_error = QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    int result = 0;
    do
        result = ::flock(m_fd, LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR);
    if (result == 0) {
        m_state = State::held;
        return;
    }
    m_state = errno == EWOULDBLOCK ? State::heldElsewhere : State::unavailable;
    if (m_state == State::unavailable)
        m_error = QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno)));
    ::close(m_fd);
    m_fd = -1;
}

InstanceLock::~InstanceLock() {
    if (m_fd >= 0)
        ::close(m_fd);
}

QString InstanceLock::defaultPath() {
    // Qt's runtime location is XDG_RUNTIME_DIR when set (and private to the user), else a
    // private folder it makes for the user; the shared temporary folder only when that fails.
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        return QDir(QDir::tempPath())
            .filePath(QStringLiteral("ostrel-instance-%1.lock").arg(::getuid()));
    return QDir(folder).filePath(QStringLiteral("ostrel-instance.lock"));
}
