#include "ui/main/RenderThreadPriority.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace renderPriority {

namespace {

// Never raises a priority (that needs privileges) and never lowers one twice.
void lower(int tid, int nice) {
    errno = 0;
    const int current = getpriority(PRIO_PROCESS, id_t(tid));
    if (errno == 0 && current < nice)
        setpriority(PRIO_PROCESS, id_t(tid), nice);
}

QByteArray threadName(const QString& taskDir) {
    QFile comm(taskDir + QStringLiteral("/comm"));
    if (!comm.open(QIODevice::ReadOnly))
        return {};
    return comm.readAll().trimmed();
}

} // namespace

int chosenNice() {
    bool ok = false;
    const int chosen = qEnvironmentVariableIntValue("OSTREL_RENDER_NICE", &ok);
    return ok ? std::clamp(chosen, 0, 19) : renderNice;
}

void lowerOnce() {
    static std::once_flag done;
    std::call_once(done, [] {
        const int nice = chosenNice();
        if (nice == 0)
            return;
        if (QCoreApplication::instance() &&
            QThread::currentThread() != QCoreApplication::instance()->thread())
            lower(int(syscall(SYS_gettid)), nice);
        const QDir tasks(QStringLiteral("/proc/self/task"));
        for (const QString& tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (threadName(tasks.filePath(tid)).startsWith("llvmpipe"))
                lower(tid.toInt(), nice);
        }
    });
}

} // namespace renderPriority
