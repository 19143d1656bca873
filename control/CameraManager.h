#pragma once

#include "capture/CaptureBackend.h"
#include "control/CameraStatus.h"
#include "control/PipelineSetup.h"
#include "control/SilenceSource.h"
#include "recording/RecordingPressure.h"
#include "recording/WatermarkCache.h"
#include "runtime/Scheduler.h"
#include "storage/RecordingRecovery.h"
#include "storage/StorageBudget.h"

#include <QImage>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QUrl>
#include <QVariantMap>

#include <functional>
#include <map>
#include <memory>
#include <optional>

class CameraControlKeeper;
class PartialRecording;
class RecordingEngine;
class SerialQueue;
class SettingsStore;
class Stabilizer;

// The one controller of the capture core: it starts, watches and stops the Wide, Macro and
// microphone pipelines, keeps the newest frame of each camera in the frame store, feeds the
// recorder, moves finished recordings into the folder, triggers photos and watches the free
// space while recording. Observable state is written on the main thread only; frames are
// handled on the cameras' own delivery queues.
// One class in six files: CameraManager.cpp (core, frames, state), CameraStartup.cpp
// (start-up, watchdog, hot-plug), CameraRecovery.cpp (one camera lost or restarted while the
// rest goes on), MicrophoneRecovery.cpp (the microphone lost and taken back while the cameras
// go on), RecordingControl.cpp (recording, photos) and StorageMonitor.cpp (free space while
// recording).
class CameraManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(int status READ statusCode NOTIFY statusChanged)
    Q_PROPERTY(QString statusText READ statusText NOTIFY statusChanged)
    // Every camera delivers: the status is "Live".
    Q_PROPERTY(bool statusLive READ statusLive NOTIFY statusChanged)
    Q_PROPERTY(bool running READ running NOTIFY runningChanged)
    Q_PROPERTY(int connectedCount READ connectedCount NOTIFY connectedCountChanged)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    // A finished recording is being moved into the folder (on a worker thread).
    Q_PROPERTY(bool savingRecording READ savingRecording NOTIFY savingRecordingChanged)
    Q_PROPERTY(float audioLevel READ audioLevel NOTIFY audioLevelChanged)
    Q_PROPERTY(QVariantMap fps READ fpsMap NOTIFY fpsChanged)
    // Null while not recording.
    Q_PROPERTY(QVariant writerFPS READ writerFPSValue NOTIFY writerFPSChanged)
    // Empty while there is no alert.
    Q_PROPERTY(QString userAlert READ userAlertText WRITE setUserAlertText NOTIFY userAlertChanged)
    Q_PROPERTY(QString storageWarning READ storageWarningText NOTIFY storageWarningChanged)
    Q_PROPERTY(QPointF stabOffset READ stabOffset NOTIFY stabOffsetChanged)
    Q_PROPERTY(QUrl saveURL READ saveURL WRITE setSaveURL NOTIFY saveURLChanged)
    // Milliseconds between live-view refreshes: longer while the encoder needs the CPU.
    Q_PROPERTY(int liveRefreshInterval READ liveRefreshInterval NOTIFY liveRefreshIntervalChanged)
    // Whether an assigned camera is lost (unplugged, or its stream could not be restarted), and
    // the banner that says which; empty while both are there.
    Q_PROPERTY(bool cameraMissing READ cameraMissing NOTIFY cameraMissingChanged)
    Q_PROPERTY(QString missingCameraText READ missingCameraText NOTIFY cameraMissingChanged)
    // Whether each camera's picture is live: both while running; during a recording that lost
    // one camera, the other.
    Q_PROPERTY(bool wideLive READ wideLive NOTIFY liveCamerasChanged)
    Q_PROPERTY(bool macroLive READ macroLive NOTIFY liveCamerasChanged)
    // Whether the assigned microphone was lost from the run (unplugged, or its stream could not
    // be restarted), and the notice that says so; empty while it is there.
    Q_PROPERTY(bool microphoneMissing READ microphoneMissing NOTIFY microphoneMissingChanged)
    Q_PROPERTY(
        QString missingMicrophoneText READ missingMicrophoneText NOTIFY microphoneMissingChanged)
    // Empty unless this machine cannot record the chosen resolution at the camera rate.
    Q_PROPERTY(QString recordingNotice READ recordingNotice NOTIFY recordingNoticeChanged)

public:
    struct Options {
        Scheduler* scheduler = nullptr; // Scheduler::system() when null
        // Where recordings are written while no recording folder is set: a folder on disk
        // (never the system's temporary folder, often a RAM disk). The application's data
        // folder when empty.
        QString tempFolder;
        // Free bytes for a recording at (temporary folder, recording folder, temporary file);
        // measured off the main thread. The real volumes when empty.
        std::function<std::optional<std::int64_t>(const QString&, const std::optional<QString>&,
                                                  const std::optional<QString>&)>
            freeSpace;
        std::chrono::milliseconds macroStartPause{200};
        // Cores the live view and a software encoder share; those the process may use when 0.
        unsigned cores = 0;
        // Applies each camera's stored picture controls at its start; none: left as they are.
        CameraControlKeeper* cameraControls = nullptr;
    };

    CameraManager(CaptureBackend& backend, SettingsStore& settings, Options options,
                  QObject* parent = nullptr);
    CameraManager(CaptureBackend& backend, SettingsStore& settings, QObject* parent = nullptr);
    ~CameraManager() override;

    // The live manager, for the quit path; null when there is none.
    static CameraManager* current();

    // Observable state.
    CameraStatus status() const { return m_status; }
    int statusCode() const { return int(m_status); }
    QString statusText() const { return cameraStatusLabel(m_status); }
    bool statusLive() const { return m_status == CameraStatus::live; }
    bool running() const { return m_running; }
    int connectedCount() const { return m_connectedCount; }
    bool isRecording() const { return m_isRecording; }
    bool savingRecording() const { return m_savingRecording; }
    float audioLevel() const { return m_audioLevel; }
    const std::map<int, int>& fps() const { return m_fps; }
    std::optional<int> writerFPS() const { return m_writerFPS; }
    const std::optional<QString>& userAlert() const { return m_userAlert; }
    void setUserAlert(std::optional<QString> alert);
    const std::optional<QString>& storageWarning() const { return m_storageWarning; }
    QPointF stabOffset() const { return m_stabOffset; }
    QUrl saveURL() const { return m_saveURL; }
    void setSaveURL(const QUrl& url);
    int liveRefreshInterval() const {
        return m_liveViewYields ? m_pressure.liveIntervalMs() : RecordingPressure::intervalsMs[0];
    }
    // Comparison benchmarks: false keeps the live view at full rate and the recording unpaced.
    void setLiveViewYields(bool yields) { m_liveViewYields = yields; }
    QString recordingNotice() const { return m_recordingNotice; }
    bool cameraMissing() const { return m_recovery[0].missing || m_recovery[1].missing; }
    QString missingCameraText() const;
    bool microphoneMissing() const { return m_mic.missing; }
    QString missingMicrophoneText() const;
    bool wideLive() const { return cameraLive(0); }
    bool macroLive() const { return cameraLive(1); }
    bool cameraLive(int index) const {
        return (m_running || degradedRecording()) && !m_recovery[index].missing &&
               !m_recovery[index].pictureless;
    }

    // Start-up, polling, watchdog and hot-plug.
    Q_INVOKABLE void startCapture();
    Q_INVOKABLE void stopCapture();

    // Recording and photos.
    void startRecording(int width, int height, bool withAudio, const QImage& overlay,
                        double macroFraction);
    // For QML: the canvas and the watermark follow from the resolution and the practice name.
    // Silence instead of the microphone's sound in the recording, from now on (also in one
    // that runs).
    Q_INVOKABLE void setRecordingSoundMuted(bool muted);
    Q_INVOKABLE void startRecordingWith(bool high, bool withAudio, bool watermarkOn,
                                        const QString& praxisText, double macroFraction);
    Q_INVOKABLE void stopRecording();
    Q_INVOKABLE void setMacroFraction(double fraction);
    Q_INVOKABLE void takeSnapshot(bool high, bool watermarkOn, const QString& praxisText,
                                  double macroFraction);
    // Runs once after the next recording has ended, then is cleared.
    std::function<void()> onRecordingFinished;

    // Storage monitor.
    void startStorageMonitor(bool high);
    void stopStorageMonitor();

    // The stabiliser, for the main window's switch and crop frame.
    Q_INVOKABLE void setStabilizationEnabled(bool on);
    Q_INVOKABLE double currentZoom() const;
    Stabilizer& stabilizer() { return *m_stabilizer; }
    RecordingEngine& recorder() { return *m_recorder; }

    // The file of the current recording while it is written (or the last unsaved one).
    std::optional<QString> activeTempFile() const { return m_activeTempFile; }
    // Hot-plug notifications (main thread; the discovery's signal is queued to it).
    void deviceConnected(const CaptureDevice& device);
    void deviceDisconnected(const CaptureDevice& device);

    // Tests: waits until the configuration queue has done what was handed to it.
    void drainConfigurationQueue();
    int watchdogRetries() const { return m_watchdogRetries; }
    int storageChecks() const { return m_storageChecks; }
    int pollCount() const { return m_pollCount; }
    bool polling() const { return m_polling; }
    bool starting() const { return m_starting; }
    bool micActive() const { return m_micActive; }

signals:
    void statusChanged();
    void runningChanged();
    void connectedCountChanged();
    void isRecordingChanged();
    void audioLevelChanged();
    void fpsChanged();
    void writerFPSChanged();
    void userAlertChanged();
    void storageWarningChanged();
    void stabOffsetChanged();
    void saveURLChanged();
    void liveRefreshIntervalChanged();
    void recordingNoticeChanged();
    void cameraMissingChanged();
    void microphoneMissingChanged();
    void liveCamerasChanged();
    void savingRecordingChanged();
    // A recording or a photo set reached the recording folder (or another place it was saved).
    void filesSaved(const QStringList& paths, bool recording);
    void leftoversRecovered(int saved);

private:
    class FrameForwarder;
    friend class FrameForwarder;

    // Frames, on the delivery queues.
    void handleFrame(CaptureOutput& output, const SampleBuffer& buffer);
    void applyAudioLevel(float dB);
    void startFPSTask();
    void cancelFPSTask();

    // Start-up and watchdog, main thread.
    void autoAssignCameras();
    void pollForCameras();
    void tryStartPipelines();
    void configurationFailed(std::uint64_t generation);
    void streamEnded(std::uint64_t generation, int index, std::uint64_t epoch, StreamEnd reason);
    void endRunAsDisconnected();

    // One camera lost or restarted in place, main thread (CameraRecovery.cpp).
    // A stream that ended or stalled while its device is still there: restarted by itself.
    void recoverStream(int index, StreamEnd reason);
    void scheduleCameraRestart(int index);
    void restartCamera(int index, bool comingBack);
    void cameraRestarted(std::uint64_t generation, int index, std::uint64_t epoch, bool running,
                         bool comingBack);
    void checkRestartedCamera(std::uint64_t generation, int index, std::uint64_t epoch,
                              bool comingBack, int check);
    void restartFailed(int index);
    void cameraBack(int index, bool comingBack);
    // The camera is gone from the run (unplugged, or no restart helped). During a recording only
    // its own session stops; otherwise the whole run ends.
    void cameraGone(int index);
    // A recording runs on without a camera: the other camera and the microphone go on.
    bool degradedRecording() const;
    // The missing cameras of a degraded recording come back in place when they are present.
    void bringBackMissingCameras();
    // At the end of a degraded recording: the whole run ends, and the poll loop looks for both.
    void endDegradedRun();
    void resetRecovery();

    // The microphone lost and taken back in place, main thread (MicrophoneRecovery.cpp). While
    // it is gone the meter reads nothing and a running recording gets silence in its place.
    void microphoneEnded(std::uint64_t generation, std::uint64_t epoch, StreamEnd reason);
    void microphoneConnected(const CaptureDevice& device);
    void microphoneDisconnected(const CaptureDevice& device);
    // `unplugged`: gone from the device list, else only its stream ended.
    void microphoneLost(bool unplugged);
    // When it is listed and the run goes on; it comes back by itself at the next start else.
    void restartMicrophone();
    void microphoneRestarted(std::uint64_t generation, std::uint64_t epoch, bool running);
    void microphoneBack();
    void resetMicrophone();
    void setMicrophoneMissing(bool missing);
    void startSilence();
    void fillSilence();
    void stopSilence();
    void setMissing(int index, bool missing);
    void reportStartFailure();
    void logGaveUpStarting();
    void started(std::uint64_t generation, bool videoRunning, bool audioRunning);
    bool isStale(std::uint64_t generation);
    void schedulePollStep();
    void scheduleWatchdog();
    void checkWatchdog(std::uint64_t generation);
    void restartPipelines();
    void scheduleStopSessions();

    // Recording, main thread.
    // The watermark a press would need, made ahead from the settings.
    void prepareWatermark();
    void recordingFinished(std::uint64_t generation, std::optional<QString> file,
                           std::optional<QString> error);
    void recordingEnded();
    // A finish still waiting for the drive after `finishBound`: reported, and the recording
    // counts as ended, so that the user (and quitting) can go on. Its file stays for later.
    void finishOverdue(std::uint64_t generation);
    void lateFinish(std::uint64_t generation, bool finished);
    void consumeRecordingFinished();
    void recordingStartFailed(const QString& folderError, bool folderMissing);
    void saveRecording(std::shared_ptr<PartialRecording> partial, bool finished, bool late = false);
    // The file being recorded lost its name (folder deleted or renamed, drive unmounted): the
    // recording goes on in a new partial file, in the folder made anew or else in the
    // application's data folder.
    void recordingFileLost();
    void recordingFileMoved(std::uint64_t generation, std::shared_ptr<PartialRecording> from,
                            std::shared_ptr<PartialRecording> to, std::optional<QString> error);
    void checkRecordingFolder();
    void scheduleFolderCheck();
    // Recovers, on a worker, every recording a crashed run left unfinished in the recording
    // folder (or in the folder used without one) into the recording folder; emits
    // `leftoversRecovered` with how many were saved. Runs whenever the recording folder is set
    // or becomes reachable again.
    void recoverLeftoverRecordings(RecoveryCause cause);
    void checkStorage(std::optional<std::int64_t> freeBytes, const StorageBudget& budget);
    void scheduleStorageTick(StorageBudget budget, std::uint64_t generation);
    void storageTick(StorageBudget budget, std::uint64_t generation);

    // Recording pressure, main thread: the live view gives way to the encoder.
    // At the press, before the encoder opens: the live view steps aside while the encoder is
    // measured.
    void yieldLiveViewForRecording();
    unsigned cores() const;
    void startPressureWatch(int width, int height);
    void stopPressureWatch();
    void pressureTick(int width, int height);
    bool checkDrive(int waitingMs, std::int64_t backlogBytes);
    void showPaceNotice(const QString& notice);
    void setRecordingNotice(const QString& notice);

    // Setters of observable state.
    void setStatus(CameraStatus status);
    void setRunning(bool running);
    void setConnectedCount(int count);
    void setRecording(bool recording);
    void setSavingRecording(bool saving);
    void setAudioLevel(float level);
    void setFPS(std::map<int, int> fps);
    void setWriterFPS(std::optional<int> fps);
    void setStorageWarning(std::optional<QString> warning);
    void setStabOffset(QPointF offset);

    QVariantMap fpsMap() const;
    QVariant writerFPSValue() const;
    QString userAlertText() const { return m_userAlert.value_or(QString()); }
    void setUserAlertText(const QString& text);
    QString storageWarningText() const { return m_storageWarning.value_or(QString()); }

    CaptureBackend& m_backend;
    SettingsStore& m_settings;
    Scheduler& m_scheduler;
    Options m_options;
    // Before the queues: photo jobs still queued at the end take their watermark from it.
    WatermarkCache m_watermarks;

    CameraStatus m_status = CameraStatus::ready;
    bool m_running = false;
    int m_connectedCount = 0;
    bool m_isRecording = false;
    float m_audioLevel = 0;
    std::map<int, int> m_fps;
    std::optional<int> m_writerFPS;
    std::optional<QString> m_userAlert;
    std::optional<QString> m_storageWarning;
    ScheduledTask m_storageMonitorTask;
    std::uint64_t m_storageGeneration = 0; // a new monitor (or none) ends the old loop
    int m_storageChecks = 0;
    QPointF m_stabOffset;
    QUrl m_saveURL;
    RecordingPressure m_pressure;
    bool m_liveViewYields = true;
    ScheduledTask m_pressureTask;
    QString m_recordingNotice;
    QString m_paceNotice; // shown again once the drive answers
    // Encoded data that waited this long for the drive means the drive, not the encoder, is
    // what holds the recording up.
    static constexpr int driveStallMs = 2000;
    bool m_driveStalled = false;

    std::unique_ptr<SerialQueue> m_camQueue;
    std::unique_ptr<SerialQueue> m_frameQueue;
    std::unique_ptr<SerialQueue> m_camQueues[2];
    std::unique_ptr<SerialQueue> m_snapshotQueue;
    std::unique_ptr<SerialQueue> m_storageQueue;
    bool m_micActive = false;
    bool m_starting = false;
    bool m_polling = false;
    int m_pollCount = 0;
    ScheduledTask m_pollTask;
    // Every stop, restart or unplug begins a new run; outcomes and watchdog checks of an
    // earlier run are ignored, so a late start cannot revive what was stopped.
    std::uint64_t m_runGeneration = 0;
    std::uint64_t m_startingGeneration = 0; // the run of the start in flight
    // The cameras of the current run (0 Wide, 1 Macro) and which of them were seen unplugged by
    // their stream, so the stream end and the unplug notice of one camera count once.
    CaptureDevice m_runCameras[2];
    bool m_lost[2] = {false, false};
    struct CameraRecovery {
        std::uint64_t epoch = 0;  // each start of the camera's stream; older ends are stale
        int tries = 0;            // restarts since it last delivered
        bool restarting = false;  // a restart or its check is under way
        bool missing = false;     // gone from the run until it streams again
        bool pictureless = false; // streams, but the watchdog gave up waiting for a picture
        ScheduledTask task;       // the next try, or the check of the last one
    };
    CameraRecovery m_recovery[2];
    struct MicrophoneRecovery {
        std::uint64_t epoch = 0; // each start of its stream; older ends are stale
        CaptureDevice device;    // the microphone of the run, for the log
        bool missing = false;    // lost from the run until it streams again
        bool unplugged = false;  // and gone from the device list
        bool restarting = false;
        int tries = 0;         // restarts since it was last lost or plugged in
        ScheduledTask retry;   // the next try after a failed one
        ScheduledTask silence; // feeds the recording while it is gone
        std::optional<SilenceSource> silent;
    };
    MicrophoneRecovery m_mic;
    // Why the last start of found cameras failed; empty once a start succeeded.
    std::optional<QString> m_startFailure;
    ScheduledTask m_fpsTask;
    int m_watchdogRetries = 0;
    std::unique_ptr<RecordingEngine> m_recorder;
    std::unique_ptr<Stabilizer> m_stabilizer;
    bool m_stoppingRecording = false;
    static constexpr std::chrono::seconds finishBound{10};
    std::uint64_t m_recordingGeneration = 0; // each start; an overdue finish comes back late
    ScheduledTask m_finishBound;
    std::map<std::uint64_t, std::shared_ptr<PartialRecording>> m_overduePartials;
    std::optional<QString> m_activeTempFile;
    std::shared_ptr<PartialRecording> m_activePartial; // holds the lock of the file written
    bool m_movingPartial = false;
    bool m_savingRecording = false;
    std::unique_ptr<SerialQueue> m_fileQueue; // moving, syncing, recovering, folder checks
    std::optional<bool> m_folderReachable;    // of the folder last checked
    // Partial files left alone and already reported; used on the file queue only.
    std::shared_ptr<QSet<QString>> m_reportedLeftovers = std::make_shared<QSet<QString>>();
    ScheduledTask m_folderWatch; // re-checks an unreachable folder
    QString m_wideUID;
    QString m_macroUID;
    QString m_micUID;

    std::shared_ptr<FrameForwarder> m_forwarder;
    std::unique_ptr<PipelineSetup> m_pipeline;
    CaptureSessions m_sessions;
};
