#include "ui/main/RenderThreadPriority.h"

#include "runtime/ThreadPriority.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <mutex>

namespace renderPriority {

namespace {

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
            lowerCurrentThreadPriority(nice);
        const QDir tasks(QStringLiteral("/proc/self/task"));
        for (const QString& tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (threadName(tasks.filePath(tid)).startsWith("llvmpipe"))
                lowerThreadPriority(tid.toInt(), nice);
        }
    });
}

} // namespace renderPriority
