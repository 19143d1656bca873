#include "capture/v4l2/DeviceHolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

QString deviceHolder(const std::string& devnode, pid_t self, const QString& procRoot) {
    // /dev/v4l/by-path/... names lead to the /dev/videoN the descriptors point at.
    const QString node = QString::fromStdString(devnode);
    const QString target =
        QFileInfo(node).canonicalFilePath().isEmpty() ? node : QFileInfo(node).canonicalFilePath();
    const QDir proc(procRoot);
    for (const QString& entry : proc.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isPid = false;
        const long pid = entry.toLong(&isPid);
        if (!isPid || pid == long(self))
            continue;
        const QDir fds(proc.filePath(entry + QStringLiteral("/fd")));
        for (const QFileInfo& fd :
             fds.entryInfoList(QDir::System | QDir::Files | QDir::NoDotAndDotDot)) {
            if (fd.symLinkTarget() != target)
                continue;
            QFile comm(proc.filePath(entry + QStringLiteral("/comm")));
            QString name = comm.open(QIODevice::ReadOnly)
                               ? QString::fromLocal8Bit(comm.readAll()).trimmed()
                               : QString();
            if (name.isEmpty())
                name = QStringLiteral("?");
            return QStringLiteral("%1, PID %2").arg(name).arg(pid);
        }
    }
    return {};
}
