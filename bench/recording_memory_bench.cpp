// Resident memory of the running application across recordings: the real main window on the
// virtual pair, the real capture path and encoder, N short recordings one after another with a
// pause between them. Prints the resident memory (VmRSS) and the allocator's view of it after
// the first recording, after every 10th and at the end, and the growth since the first.
// "long" instead records once for S seconds and prints the resident memory every 10 s.
//
//   xvfb-run -a -s "-screen 0 1920x1080x24" build/bench/recording_memory_bench
//       [recordings=30] [seconds per recording=3] [default-arenas]
//   xvfb-run -a -s "-screen 0 1920x1080x24" build/bench/recording_memory_bench long [seconds=60]
//
// Runs as well with QT_QPA_PLATFORM=offscreen (no live-view rendering through X then).
// "default-arenas" leaves glibc's default of up to eight heaps per core instead of the app's
// limit, for comparison.

#include "bench/BenchApp.h"
#include "diagnostics/OstrelLog.h"
#include "recording/RecordingEngine.h"
#include "runtime/HeapMemory.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <malloc.h>

namespace {

// A number of /proc/self/status: kB for "VmRSS", "VmHWM", "RssAnon"; a count for "Threads".
long statusValue(const char* key) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray prefix = QByteArray(key) + ':';
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).trimmed().split(' ').value(0).toLong();
    return -1;
}

// How many heaps glibc's allocator has (the main arena plus one per arena it made for threads),
// from malloc_info's XML.
int arenaCount() {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* out = open_memstream(&text, &size);
    if (!out)
        return -1;
    malloc_info(0, out);
    std::fclose(out);
    const int count = QByteArray(text, int(size)).count("<heap nr=");
    std::free(text);
    return count;
}

double megabytes(long kilobytes) {
    return double(kilobytes) / 1024.0;
}

void printMemory(const char* label, int recordings) {
    const struct mallinfo2 info = mallinfo2();
    std::printf("  %-16s %3d recordings  RSS %7.1f MB (anonymous %7.1f)  heap in use %6.1f MB, "
                "free in heap %7.1f MB, mmapped %6.1f MB, %d arenas, %ld threads\n",
                label, recordings, megabytes(statusValue("VmRSS")),
                megabytes(statusValue("RssAnon")), double(info.uordblks) / 1048576.0,
                double(info.fordblks) / 1048576.0, double(info.hblkhd) / 1048576.0, arenaCount(),
                statusValue("Threads"));
    std::fflush(stdout);
}

// The newest entries of the app's log, to tell why a recording did not start or end.
void printLogTail() {
    const auto& entries = OstrelLog::shared().entries();
    const std::size_t from = entries.size() > 8 ? entries.size() - 8 : 0;
    for (std::size_t i = from; i < entries.size(); ++i)
        std::printf("    log: %s\n", qPrintable(entries[i].message));
    std::fflush(stdout);
}

// One recording of `seconds`, saved into the folder; false when it did not start or end.
bool recordOnce(CameraManager& cam, int seconds, const std::function<void(int)>& eachSecond = {}) {
    cam.startRecordingWith(false, true, true, QStringLiteral("Praxis Dr. Muster"), 0.3);
    if (!waitFor([&] { return cam.recorder().active(); }, 20000)) {
        std::printf("recording did not start\n");
        printLogTail();
        return false;
    }
    QElapsedTimer clock;
    clock.start();
    for (int s = 1; s <= seconds; ++s) {
        waitFor([&] { return clock.elapsed() >= s * 1000; }, s * 1000 + 1000);
        if (eachSecond)
            eachSecond(s);
    }
    bool finished = false;
    cam.onRecordingFinished = [&] { finished = true; };
    cam.stopRecording();
    if (!waitFor([&] { return finished; }, 120000)) {
        std::printf("recording did not end\n");
        printLogTail();
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const bool defaultArenas = argc > 3 && QByteArray(argv[3]) == "default-arenas";
    if (!defaultArenas)
        limitHeapArenas(); // as the app does
    const bool longRun = argc > 1 && QByteArray(argv[1]) == "long";
    const int count = longRun ? 1 : (argc > 1 ? std::max(1, std::atoi(argv[1])) : 30);
    const int seconds = longRun ? (argc > 2 ? std::max(10, std::atoi(argv[2])) : 60)
                                : (argc > 2 ? std::max(1, std::atoi(argv[2])) : 3);

    BenchHome home;
    QGuiApplication app(argc, argv);

    const QString folder = home.dir.filePath(QStringLiteral("Aufnahmen"));
    QDir().mkpath(folder);
    BenchApp bench(home, folder, true);
    CameraManager& cam = bench.camera();
    if (!bench.loadWindow() || !waitUntilSettled(cam))
        return 1;

    const char* arenaVariable = std::getenv("MALLOC_ARENA_MAX");
    const QString arenas = defaultArenas ? QStringLiteral("glibc's default (MALLOC_ARENA_MAX %1)")
                                               .arg(arenaVariable ? arenaVariable : "not set")
                                         : QStringLiteral("at most %1 (the app's)").arg(heapArenas);
    const QString run =
        longRun ? QStringLiteral("one recording of %1 s").arg(seconds)
                : QStringLiteral("%1 recordings of %2 s, 1 s apart").arg(count).arg(seconds);
    std::printf("recording memory, 1920x1080 with sound, %s, heap arenas %s\n", qPrintable(run),
                qPrintable(arenas));
    printMemory("live, idle", 0);

    int result = 0;
    if (longRun) {
        const long before = statusValue("VmRSS");
        const bool ok = recordOnce(cam, seconds, [](int s) {
            if (s % 10 == 0)
                printMemory(qPrintable(QStringLiteral("recording %1 s").arg(s)), 0);
        });
        waitFor([] { return false; }, 1000);
        printMemory("ended", 1);
        std::printf("  growth over the recording: %+.1f MB\n",
                    megabytes(statusValue("VmRSS") - before));
        result = ok ? 0 : 1;
    } else {
        long afterFirst = 0;
        for (int i = 1; i <= count; ++i) {
            if (!recordOnce(cam, seconds)) {
                result = 1;
                break;
            }
            waitFor([] { return false; }, 1000); // idle between two recordings
            if (i == 1) {
                afterFirst = statusValue("VmRSS");
                printMemory("after first", i);
            } else if (i % 10 == 0 || i == count) {
                printMemory(i == count ? "at the end" : "after", i);
            }
        }
        if (afterFirst > 0)
            std::printf("  growth since the first recording: %+.1f MB (peak RSS %.1f MB)\n",
                        megabytes(statusValue("VmRSS") - afterFirst),
                        megabytes(statusValue("VmHWM")));
    }
    std::printf("  files saved: %d\n",
                int(QDir(folder).entryList({QStringLiteral("*.mp4")}, QDir::Files).size()));
    std::fflush(stdout);
    cam.stopCapture();
    waitFor([] { return false; }, 1000);
    return result;
}
