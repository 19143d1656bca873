#include "ui/RenderThreadPriority.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <mutex>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace renderPriority {

namespace {

// Never raises a priority (that needs privileges) and never lowers one twice.
void lower(int tid) {
    errno = 0;
    const int current = getpriority(PRIO_PROCESS, id_t(tid));
    if (errno == 0 && current < renderNice)
        setpriority(PRIO_PROCESS, id_t(tid), renderNice);
}

QByteArray threadName(const QString& taskDir) {
    QFile comm(taskDir + QStringLiteral("/comm"));
    if (!comm.open(QIODevice::ReadOnly))
        return {};
    return comm.readAll().trimmed();
}

} // namespace

void lowerOnce() {
    static std::once_flag done;
    std::call_once(done, [] {
        if (QCoreApplication::instance() &&
            QThread::currentThread() != QCoreApplication::instance()->thread())
            lower(int(syscall(SYS_gettid)));
        const QDir tasks(QStringLiteral("/proc/self/task"));
        for (const QString& tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (threadName(tasks.filePath(tid)).startsWith("llvmpipe"))
                lower(tid.toInt());
        }
    });
}

} // namespace renderPriority
