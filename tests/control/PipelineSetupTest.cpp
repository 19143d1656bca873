#include "control/PipelineSetup.h"
#include "capture/CaptureTestSupport.h"
#include "capture/virtual/VirtualBackend.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

namespace {

using Entry = std::pair<LogLevel, QString>;
using Started = std::pair<bool, bool>; // video, sound

// The three sessions of a run on the virtual devices, configured on their own queue.
struct Pipeline {
    Pipeline() {
        delegate->expectedQueues[0] = &cam0;
        delegate->expectedQueues[1] = &cam1;
        setup.macroStartPause = std::chrono::milliseconds(20);
    }
    ~Pipeline() {
        config.sync([&] { PipelineSetup::stopSessions(sessions); });
    }

    VirtualCaptureSession& session(int which) {
        CaptureSession* s = which == 0   ? sessions.wide.get()
                            : which == 1 ? sessions.macro.get()
                                         : sessions.audio.get();
        return static_cast<VirtualCaptureSession&>(*s);
    }

    // Runs one configureAndStart on the configuration queue and waits for its continuation.
    void start(bool microphoneRequested = true) {
        failed = false;
        started.reset();
        StartRequest request;
        request.owner = &owner;
        request.sessions = &sessions;
        request.wide = wide;
        request.macro = macro;
        request.microphoneRequested = microphoneRequested;
        request.microphone = audioDevice(devices, VirtualDevices::microphoneID);
        request.prepareStart = [this] { ++prepared; };
        request.configurationFailed = [this] { failed = true; };
        request.started = [this](bool video, bool audio) { started = Started(video, audio); };
        config.async([this, request] { setup.configureAndStart(request); });
        ASSERT_TRUE(pumpUntil([&] { return failed || started.has_value(); }));
    }

    void expectEveryConfigurationClosedOnce() {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(session(i).beginCount(), session(i).commitCount()) << "session " << i;
            EXPECT_FALSE(session(i).unbalanced()) << "session " << i;
        }
        EXPECT_EQ(delegate->wrongQueue, 0) << "frames only on their camera's queue";
    }

    LogProbe log;
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    SerialQueue config{"com.ostrel.cam.config"};
    SerialQueue frames{"com.ostrel.cam.frames"};
    SerialQueue cam0{"com.ostrel.cam.video0"};
    SerialQueue cam1{"com.ostrel.cam.video1"};
    VirtualBackend backend;
    VirtualDevices& devices = backend.devices();
    CaptureDevice wide = *videoDevice(devices, VirtualDevices::camera1ID);
    CaptureDevice macro = *videoDevice(devices, VirtualDevices::camera2ID);
    CaptureSessions sessions = CaptureSessions::make(backend);
    PipelineSetup setup{backend, delegate, {&cam0, &cam1}, &frames};
    QObject owner;
    bool failed = false;
    std::optional<Started> started;
    int prepared = 0;
};

class PipelineSetupTest : public ::testing::Test, public Pipeline {};

const QString cameraName = QStringLiteral("OSTREL Kamera");

} // namespace

// A device or session that fails at one step: what is logged, whether anything starts, and that
// every configuration begun is closed again.
TEST(PipelineSetup, AFailingStepIsLoggedAndStartsOnlyWhatMayRun) {
    const QString wideID = VirtualDevices::camera1ID;
    struct Case {
        const char* name;
        std::function<void(VirtualDevices&)> fault;
        bool microphone;
        std::optional<Started> started; // none: the configuration failed
        std::vector<Entry> log;
        int configuredCameras; // with their input and output
    };
    const Case cases[] = {
        {"Wide input that cannot be made: Macro is left alone, the microphone still configured",
         [&](VirtualDevices& d) { d.setInputError(wideID, QStringLiteral("Zugriff verweigert")); },
         true,
         std::nullopt,
         {{LogLevel::error, "Kamera 0 (" + cameraName + "): Zugriff verweigert"},
          {LogLevel::info, "Mikrofon eingebunden: " + VirtualDevices::microphoneName}},
         0},
        {"camera unplugged between discovery and opening",
         [&](VirtualDevices& d) { d.unplug(wideID); },
         false,
         std::nullopt,
         {{LogLevel::error, "Kamera 0 (" + cameraName + "): Gerät nicht gefunden"}},
         0},
        {"session refusing the camera input",
         [&](VirtualDevices& d) { d.setRefusesInput(wideID, true); },
         false,
         std::nullopt,
         {{LogLevel::error, "Kamera 0 (" + cameraName + "): canAddInput = false"}},
         0},
        {"Macro output refused: Wide stays configured but not running",
         [](VirtualDevices& d) { d.setRefusesOutput(VirtualDevices::camera2ID, true); },
         false,
         std::nullopt,
         {{LogLevel::info, "Kamera 0 konfiguriert: " + cameraName},
          {LogLevel::error, "Kamera 1: canAddOutput = false"}},
         1},
        {"microphone input that cannot be made never stops the cameras",
         [](VirtualDevices& d) {
             d.setInputError(VirtualDevices::microphoneID, QStringLiteral("Kein Zugriff"));
         },
         true,
         Started(true, false),
         {{LogLevel::info, "Kamera 0 konfiguriert: " + cameraName},
          {LogLevel::info, "Kamera 1 konfiguriert: " + cameraName},
          {LogLevel::warn, "Mikrofon konnte nicht verbunden werden: Kein Zugriff"}},
         2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Pipeline p;
        c.fault(p.devices);
        p.start(c.microphone);
        EXPECT_EQ(p.started, c.started);
        EXPECT_EQ(p.failed, !c.started);
        EXPECT_EQ(p.log.entries(), c.log);
        int configured = 0;
        for (int i = 0; i < 2; ++i)
            configured += p.session(i).inputs().size() == 1 && p.session(i).outputs().size() == 1;
        EXPECT_EQ(configured, c.configuredCameras);
        if (c.configuredCameras == 0) {
            EXPECT_EQ(p.session(1).beginCount(), 0) << "Macro is not touched";
        }
        if (!c.started) {
            EXPECT_EQ(p.prepared, 0);
            for (int i = 0; i < 3; ++i)
                EXPECT_FALSE(p.session(i).isRunning()) << "session " << i;
        }
        EXPECT_FALSE(p.session(2).isRunning());
        p.expectEveryConfigurationClosedOnce();
    }
}

TEST_F(PipelineSetupTest, RefusedHighPresetKeepsTheCurrentPresetAndStillStarts) {
    devices.setRefusesPreset(true);
    start(false);
    ASSERT_TRUE(started);
    EXPECT_EQ(*started, std::pair(true, false));
    EXPECT_EQ(session(0).sessionPreset(), SessionPreset::deviceDefault);
    ASSERT_TRUE(pumpUntil([&] { return delegate->frameCount(0) > 0; }));
    EXPECT_EQ(delegate->size(0), QSize(1280, 720));
    expectEveryConfigurationClosedOnce();
}

TEST_F(PipelineSetupTest, RestartAfterStopReusesTheSessionsWithOneInputAndOutputEach) {
    CaptureSession* const wide = sessions.wide.get();
    for (int round = 0; round < 3; ++round) {
        start();
        ASSERT_TRUE(started);
        EXPECT_EQ(*started, std::pair(true, true));
        config.sync([&] { PipelineSetup::stopSessions(sessions); });
        for (int i = 0; i < 3; ++i) {
            EXPECT_FALSE(session(i).isRunning());
            EXPECT_EQ(session(i).inputs().size(), 1u); // stopping keeps them attached
            EXPECT_EQ(session(i).outputs().size(), 1u);
        }
    }
    // A start over sessions left running (a failed start is not stopped) reconfigures in place.
    start();
    start();
    ASSERT_TRUE(started);
    EXPECT_EQ(*started, std::pair(true, true));
    EXPECT_EQ(sessions.wide.get(), wide);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(session(i).inputs().size(), 1u);
        EXPECT_EQ(session(i).outputs().size(), 1u);
        EXPECT_EQ(session(i).beginCount(), 5);
    }
    expectEveryConfigurationClosedOnce();
}

TEST_F(PipelineSetupTest, NothingHappensOnceTheManagerIsGone) {
    StartRequest request;
    {
        QObject gone;
        request.owner = &gone;
    }
    request.sessions = &sessions;
    request.wide = wide;
    request.macro = macro;
    request.started = [this](bool v, bool a) { started = std::pair(v, a); };
    config.sync([&] { setup.configureAndStart(request); });
    pumpPosted();
    EXPECT_FALSE(started);
    EXPECT_EQ(session(0).beginCount(), 0);
    EXPECT_TRUE(log.messages().isEmpty());
}
