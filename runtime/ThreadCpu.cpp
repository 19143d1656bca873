#include "runtime/ThreadCpu.h"

#include <QDir>
#include <QFile>

#include <algorithm>

#include <sched.h>

namespace {

QByteArray readSmallFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

std::chrono::microseconds cpuTimeOfThreads(const QByteArrayList& prefixes) {
    std::chrono::microseconds total{0};
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString dir = tasks.filePath(tid);
        const QByteArray name = readSmallFile(dir + QStringLiteral("/comm")).trimmed();
        if (std::none_of(prefixes.begin(), prefixes.end(),
                         [&](const QByteArray& p) { return name.startsWith(p); }))
            continue;
        // Nanoseconds on the CPU, the first field; finer than the clock ticks of "stat".
        const QByteArray schedstat = readSmallFile(dir + QStringLiteral("/schedstat"));
        total += std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::nanoseconds(schedstat.split(' ').value(0).toLongLong()));
    }
    return total;
}

std::chrono::microseconds processCpuTime() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return std::chrono::seconds(t.tv_sec) + std::chrono::duration_cast<std::chrono::microseconds>(
                                                std::chrono::nanoseconds(t.tv_nsec));
}

int usableCpuCount() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) != 0)
        return 1;
    return std::max(1, CPU_COUNT(&set));
}
