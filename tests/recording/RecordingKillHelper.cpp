// Records synthetic frames and sound into the file named on the command line until it is
// killed; the kill test looks at what such a file holds afterwards.
#include "recording/RecordingEngine.h"
#include "support/SyntheticMedia.h"

#include "diagnostics/OstrelLog.h"

#include <QCoreApplication>

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    if (argc < 2)
        return 2;
    OstrelLog::shared();
    RecordingEngine engine;
    if (engine.start(QString::fromLocal8Bit(argv[1]), 320, 180, true, {}, 0.3))
        return 1;
    const AudioFormat mic{false, 16, 1, 48000};
    const MediaTime start = std::chrono::seconds(10);
    for (int i = 0; i < 100000; ++i) {
        FrameJob job;
        job.wide = syntheticFrame(320, 180, i);
        job.pts = start + i * MediaTime(33'333'333);
        engine.enqueueFrame(job);
        engine.appendAudio(syntheticTone(mic, job.pts, 1600));
        engine.waitUntilIdle();
    }
    return 0;
}
