// Main-thread cost of logging while the file queue is busy, and start-up read-back time of a
// large log file. Prints the figures; the targets are 10 µs median and 100 ms.
#include "diagnostics/LogFormat.h"
#include "diagnostics/OstrelLog.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

using Clock = std::chrono::steady_clock;

namespace {

double micros(Clock::duration d) {
    return std::chrono::duration<double, std::micro>(d).count();
}

double percentile(std::vector<double> values, double p) {
    std::sort(values.begin(), values.end());
    return values[size_t(p * double(values.size() - 1))];
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString version = QStringLiteral("PC · Bench\nOSTREL App v1.0 (0)");

    {
        const QString path = dir.filePath(QStringLiteral("busy.log"));
        OstrelLog log(path, version);
        const int count = 20000;
        std::vector<double> costs;
        costs.reserve(count);
        const QString message = QStringLiteral("Aufnahme: 300 Bilder, 0 verworfen (belegt), 0 "
                                               "verworfen (nicht bereit), Dauer 10,0 s");
        for (int i = 0; i < count; ++i) {
            const auto start = Clock::now();
            log.log(LogLevel::info, message);
            costs.push_back(micros(Clock::now() - start));
        }
        const auto drainStart = Clock::now();
        log.flush();
        std::printf("log(): %d entries, main-thread cost median %.2f us, p90 %.2f us, p99 %.2f us "
                    "(file queue still busy for %.0f ms after the loop)\n",
                    count, percentile(costs, 0.5), percentile(costs, 0.9), percentile(costs, 0.99),
                    micros(Clock::now() - drainStart) / 1000.0);
    }

    {
        const QString path = dir.filePath(QStringLiteral("large.log"));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return 1;
        const QDateTime when = QDateTime::currentDateTime();
        for (int i = 0; i < 100000; ++i)
            file.write(logformat::fileLine(
                when, LogLevel(i % 4), QStringLiteral("Kamera-Status geändert: Zeile %1").arg(i)));
        file.close();
        std::vector<double> times;
        for (int run = 0; run < 7; ++run) {
            const auto start = Clock::now();
            OstrelLog log(path, version);
            times.push_back(micros(Clock::now() - start) / 1000.0);
            if (log.count() != 1000)
                return 1;
        }
        std::printf("start-up read-back of a 100000-line file (%.1f MB): median %.2f ms, max %.2f "
                    "ms\n",
                    double(QFileInfo(path).size()) / 1e6, percentile(times, 0.5),
                    percentile(times, 1.0));
    }
    return 0;
}
