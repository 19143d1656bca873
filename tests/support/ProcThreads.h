#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>

#include <vector>

// One thread of a process as /proc/<pid>/task/<tid>/stat shows it.
struct ThreadStat {
    int tid = 0;
    QByteArray name;          // at most 15 characters
    QList<QByteArray> fields; // from field 3 (state) on: utime is [11], stime [12], nice [16]
};

// The threads of process `pid` ("self" for this one).
inline std::vector<ThreadStat> threadStats(const QString& pid) {
    std::vector<ThreadStat> threads;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString& tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(tasks.filePath(tid) + QStringLiteral("/stat"));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = stat.readAll();
        // The name may hold spaces and parentheses: it ends at the last ')'.
        const int open = line.indexOf('(');
        const int close = line.lastIndexOf(')');
        if (open < 0 || close < open)
            continue;
        threads.push_back(
            {tid.toInt(), line.mid(open + 1, close - open - 1), line.mid(close + 2).split(' ')});
    }
    return threads;
}
