#include "control/PipelineSetup.h"
#include "capture/CaptureTestSupport.h"
#include "capture/virtual/VirtualBackend.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using Entry = std::pair<LogLevel, QString>;

class PipelineSetupTest : public ::testing::Test {
protected:
    PipelineSetupTest() {
        delegate->expectedQueues[0] = &cam0;
        delegate->expectedQueues[1] = &cam1;
        delegate->expectedAudioQueue = &frames;
        setup.macroStartPause = std::chrono::milliseconds(20);
    }
    ~PipelineSetupTest() override {
        config.sync([&] { PipelineSetup::stopSessions(sessions); });
    }

    VirtualCaptureSession& session(int which) {
        CaptureSession* s = which == 0   ? sessions.wide.get()
                            : which == 1 ? sessions.macro.get()
                                         : sessions.audio.get();
        return static_cast<VirtualCaptureSession&>(*s);
    }

    CaptureDevice camera(const QString& id) { return *videoDevice(devices, id); }

    // Runs one configureAndStart on the configuration queue and waits for its continuation.
    void start(bool microphoneRequested = true) {
        failed = false;
        started.reset();
        StartRequest request;
        request.owner = &owner;
        request.sessions = &sessions;
        request.wide = camera(VirtualDevices::camera1ID);
        request.macro = camera(VirtualDevices::camera2ID);
        request.microphoneRequested = microphoneRequested;
        request.microphone = audioDevice(devices, VirtualDevices::microphoneID);
        request.prepareStart = [this] { ++prepared; };
        request.configurationFailed = [this] { failed = true; };
        request.started = [this](bool video, bool audio) { started = std::pair(video, audio); };
        startWith(request);
    }
    void startWith(const StartRequest& request) {
        config.async([this, request] { setup.configureAndStart(request); });
        ASSERT_TRUE(pumpUntil([&] { return failed || started.has_value(); }));
    }

    void expectEveryConfigurationClosedOnce() {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(session(i).beginCount(), session(i).commitCount()) << "session " << i;
            EXPECT_FALSE(session(i).unbalanced()) << "session " << i;
        }
    }

    LogProbe log;
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    SerialQueue config{"com.ostrel.cam.config"};
    SerialQueue frames{"com.ostrel.cam.frames"};
    SerialQueue cam0{"com.ostrel.cam.video0"};
    SerialQueue cam1{"com.ostrel.cam.video1"};
    VirtualBackend backend;
    VirtualDevices& devices = backend.devices();
    CaptureSessions sessions = CaptureSessions::make(backend);
    PipelineSetup setup{backend, delegate, {&cam0, &cam1}, &frames};
    QObject owner;
    bool failed = false;
    std::optional<std::pair<bool, bool>> started;
    int prepared = 0;
};

const QString cameraName = QStringLiteral("OSTREL Kamera");

} // namespace

TEST_F(PipelineSetupTest, WideInputThatCannotBeMadeKeepsMacroUnconfigured) {
    devices.setInputError(VirtualDevices::camera1ID, QStringLiteral("Zugriff verweigert"));
    start();
    EXPECT_TRUE(failed);
    EXPECT_FALSE(started);
    EXPECT_EQ(prepared, 0);
    // The microphone is configured all the same, but nothing starts.
    EXPECT_EQ(log.entries(),
              (std::vector<Entry>{
                  {LogLevel::error, "Kamera 0 (" + cameraName + "): Zugriff verweigert"},
                  {LogLevel::info, "Mikrofon eingebunden: " + VirtualDevices::microphoneName}}));
    EXPECT_EQ(session(1).beginCount(), 0);
    EXPECT_FALSE(session(0).isRunning() || session(1).isRunning() || session(2).isRunning());
    expectEveryConfigurationClosedOnce();
}

TEST_F(PipelineSetupTest, CameraUnpluggedBetweenDiscoveryAndOpeningIsAnInputError) {
    const CaptureDevice wide = camera(VirtualDevices::camera1ID);
    devices.unplug(VirtualDevices::camera1ID);
    StartRequest request;
    request.owner = &owner;
    request.sessions = &sessions;
    request.wide = wide;
    request.macro = camera(VirtualDevices::camera2ID);
    request.configurationFailed = [this] { failed = true; };
    request.started = [this](bool v, bool a) { started = std::pair(v, a); };
    startWith(request);
    EXPECT_TRUE(failed);
    EXPECT_EQ(log.entries(),
              (std::vector<Entry>{
                  {LogLevel::error, "Kamera 0 (" + cameraName + "): Gerät nicht gefunden"}}));
    expectEveryConfigurationClosedOnce();
}

TEST_F(PipelineSetupTest, SessionRefusingTheCameraInput) {
    devices.setRefusesInput(VirtualDevices::camera1ID, true);
    start(false);
    EXPECT_TRUE(failed);
    EXPECT_EQ(log.entries(), (std::vector<Entry>{{LogLevel::error, "Kamera 0 (" + cameraName +
                                                                       "): canAddInput = false"}}));
    EXPECT_TRUE(session(0).inputs().empty());
    expectEveryConfigurationClosedOnce();
}

TEST_F(PipelineSetupTest, WideConfiguredMacroRefusedLeavesWideConfiguredButNotRunning) {
    devices.setRefusesOutput(VirtualDevices::camera2ID, true);
    start(false);
    EXPECT_TRUE(failed);
    EXPECT_EQ(log.entries(),
              (std::vector<Entry>{{LogLevel::info, "Kamera 0 konfiguriert: " + cameraName},
                                  {LogLevel::error, "Kamera 1: canAddOutput = false"}}));
    EXPECT_EQ(session(0).inputs().size(), 1u);
    EXPECT_EQ(session(0).outputs().size(), 1u);
    EXPECT_FALSE(session(0).isRunning());
    EXPECT_TRUE(session(1).outputs().empty());
    expectEveryConfigurationClosedOnce();
}

TEST_F(PipelineSetupTest, MicrophoneInputThatCannotBeMadeNeverStopsTheCameras) {
    devices.setInputError(VirtualDevices::microphoneID, QStringLiteral("Kein Zugriff"));
    start();
    ASSERT_TRUE(started);
    EXPECT_EQ(*started, std::pair(true, false));
    EXPECT_EQ(log.entries(),
              (std::vector<Entry>{
                  {LogLevel::info, "Kamera 0 konfiguriert: " + cameraName},
                  {LogLevel::info, "Kamera 1 konfiguriert: " + cameraName},
                  {LogLevel::warn, "Mikrofon konnte nicht verbunden werden: Kein Zugriff"}}));
    EXPECT_FALSE(session(2).isRunning());
    expectEveryConfigurationClosedOnce();
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
    request.wide = camera(VirtualDevices::camera1ID);
    request.macro = camera(VirtualDevices::camera2ID);
    request.started = [this](bool v, bool a) { started = std::pair(v, a); };
    config.sync([&] { setup.configureAndStart(request); });
    pumpPosted();
    EXPECT_FALSE(started);
    EXPECT_EQ(session(0).beginCount(), 0);
    EXPECT_TRUE(log.messages().isEmpty());
}

TEST_F(PipelineSetupTest, CameraUnpluggedWhileStreamingStopsItsSessionWithoutHanging) {
    start(false);
    ASSERT_TRUE(started && started->first);
    devices.unplug(VirtualDevices::camera2ID);
    ASSERT_TRUE(pumpUntil([&] { return !session(1).isRunning(); }));
    EXPECT_TRUE(session(0).isRunning());
    config.sync([&] { PipelineSetup::stopSessions(sessions); });
    EXPECT_FALSE(session(0).isRunning());

    // Plugged in again, the same device is found by its id and starts.
    devices.replug(VirtualDevices::camera2ID);
    start(false);
    ASSERT_TRUE(started);
    EXPECT_EQ(*started, std::pair(true, false));
    expectEveryConfigurationClosedOnce();
}
