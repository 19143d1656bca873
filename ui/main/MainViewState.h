#pragma once

#include "runtime/Scheduler.h"

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QSizeF>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <memory>

#include "recording/CompositeLayout.h"
#include "storage/RecordingsStore.h"

class SerialQueue;

// The main view's own state and rules, kept out of QML so they can be tested on a fake clock:
// the Macro inset size and its limits, the key table, when the control bars hide, the record
// time, the photo flash and the delayed capture restart after a device change. Main thread only.
class MainViewState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(
        double macroFraction READ macroFraction WRITE setMacroFraction NOTIFY macroFractionChanged)
    Q_PROPERTY(bool controlsVisible READ controlsVisible NOTIFY controlsVisibleChanged)
    Q_PROPERTY(bool micMuted READ micMuted WRITE setMicMuted NOTIFY micMutedChanged)
    // Whether the camera manager records; the record time counts only then.
    Q_PROPERTY(bool recording READ recording WRITE setRecording NOTIFY recordingChanged)
    Q_PROPERTY(
        int recordSeconds READ recordSeconds WRITE setRecordSeconds NOTIFY recordSecondsChanged)
    Q_PROPERTY(QString recordTimeText READ recordTimeText NOTIFY recordSecondsChanged)
    Q_PROPERTY(
        double flashOpacity READ flashOpacity WRITE setFlashOpacity NOTIFY flashOpacityChanged)
    Q_PROPERTY(QString storageText READ storageText NOTIFY storageTextChanged)
    // A short notice over the pictures (a saved file, a change held back); empty: none. With a
    // path, clicking it shows that file in the file manager.
    Q_PROPERTY(QString noticeText READ noticeText NOTIFY noticeChanged)
    Q_PROPERTY(QString noticeDetail READ noticeDetail NOTIFY noticeChanged)
    Q_PROPERTY(QString noticePath READ noticePath NOTIFY noticeChanged)
    // The camera manager (startCapture/stopCapture are invoked by name).
    Q_PROPERTY(QObject* camera READ camera WRITE setCamera NOTIFY cameraChanged)
    // The Macro size's limits, as the recording applies them.
    Q_PROPERTY(double minFraction READ minimumFraction CONSTANT)
    Q_PROPERTY(double maxFraction READ maximumFraction CONSTANT)

public:
    static constexpr double minFraction = minMacroFraction;
    static constexpr double maxFraction = maxMacroFraction;
    static constexpr double startFraction = defaultMacroFraction;
    static constexpr double flashStart = 0.75;
    static constexpr std::chrono::milliseconds hideDelay{6000};
    static constexpr std::chrono::milliseconds restartDelay{300};
    static constexpr std::chrono::milliseconds recordTick{1000};
    static constexpr std::chrono::milliseconds storageTick{15000};
    static constexpr std::chrono::milliseconds noticeDuration{5000};

    explicit MainViewState(QObject* parent = nullptr);
    ~MainViewState() override;

    // Tests: a hand-driven clock. Pending steps of the old clock are dropped and the two timers
    // start again on the new one.
    void setScheduler(Scheduler& scheduler);

    double macroFraction() const { return m_macroFraction; }
    double minimumFraction() const { return minFraction; }
    double maximumFraction() const { return maxFraction; }
    // Limited to 0.1 … 0.7.
    void setMacroFraction(double fraction);
    bool controlsVisible() const { return m_controlsVisible; }
    bool micMuted() const { return m_micMuted; }
    void setMicMuted(bool muted);
    bool recording() const { return m_recording; }
    void setRecording(bool recording);
    int recordSeconds() const { return m_recordSeconds; }
    void setRecordSeconds(int seconds);
    QString recordTimeText() const;
    double flashOpacity() const { return m_flashOpacity; }
    void setFlashOpacity(double opacity);
    QString storageText() const { return m_storageText; }
    QString noticeText() const { return m_notice.text; }
    QString noticeDetail() const { return m_notice.detail; }
    QString noticePath() const { return m_notice.path; }
    QObject* camera() const { return m_camera; }
    void setCamera(QObject* camera);

    // Shows the controls and hides them again 6 s after the last call.
    Q_INVOKABLE void bumpActivity();
    // Adds a signed amount to the Macro size, within its limits, then counts as activity.
    Q_INVOKABLE void changeMacroSize(double amount);
    // A key typed into the view; false when it is not one of ours (anything with Ctrl, the
    // command modifier here, is left to the menu). Handled keys end with `bumpActivity`, the
    // space key only through the photo it takes.
    Q_INVOKABLE bool handleKey(int key, int modifiers);
    // The flash jumps to 0.75; the view animates it back to 0.
    Q_INVOKABLE void flash();
    // Free space at the recording folder, formatted; empty when unknown.
    Q_INVOKABLE void refreshStorage(RecordingsStore* recordings, bool high);
    // Looks at the recording folder off the GUI thread (a pulled or hung drive must not freeze
    // the window); emits `folderMissing` when it cannot be reached.
    Q_INVOKABLE void checkFolder(RecordingsStore* recordings);
    // Stops the capture sessions now and starts them again 0.3 s later; a change within that
    // time moves the start. During a recording the restart waits until it ends, so that the
    // cameras never change inside a file.
    Q_INVOKABLE void restartCapture();
    // Shows the notice for 5 s (`durationMs` when given), replacing the one shown.
    Q_INVOKABLE void showNotice(const QString& text, const QString& detail = {},
                                const QString& path = {}, int durationMs = 0);
    Q_INVOKABLE void dismissNotice();
    // The notice for files just saved: a recording, or the photos of one press.
    Q_INVOKABLE void noteSaved(const QStringList& paths, bool recording);
    Q_INVOKABLE void logFolderMissing() const;
    // The inset's size in a view `width` wide, by the recording's own rule.
    Q_INVOKABLE QSizeF insetSize(double width) const;
    // "Korrektur  x +1.2%  y -0.4%" from the published offset.
    Q_INVOKABLE QString correctionText(QPointF offset) const;

signals:
    void macroFractionChanged();
    void controlsVisibleChanged();
    void micMutedChanged();
    void recordingChanged();
    void recordSecondsChanged();
    void flashOpacityChanged();
    void storageTextChanged();
    void noticeChanged();
    void cameraChanged();
    // Key actions the view carries out with its stores.
    void photoRequested();
    void recordToggleRequested();
    void stabilizationToggleRequested();
    void swapRequested();
    // The flash was set to its start; the view runs the fade.
    void flashed();
    // Every 15 s: time to refresh the free-space text.
    void storageRefreshDue();
    void folderMissing();

private:
    void setControlsVisible(bool visible);
    void startTimers();
    void stopTimers();

    Scheduler* m_scheduler;
    double m_macroFraction = startFraction;
    bool m_controlsVisible = true;
    bool m_micMuted = false;
    bool m_recording = false;
    int m_recordSeconds = 0;
    double m_flashOpacity = 0;
    QString m_storageText;
    struct Notice {
        QString text;
        QString detail;
        QString path;
    };
    Notice m_notice;
    ScheduledTask m_noticeWork;
    bool m_restartAfterRecording = false;
    QPointer<QObject> m_camera;
    ScheduledTask m_hideWork;
    ScheduledTask m_restartWork;
    ScheduledTask m_recTimer;
    ScheduledTask m_storageTimer;
    std::uint64_t m_storageRequest = 0; // only the newest measurement is shown
    std::unique_ptr<SerialQueue> m_folderQueue;
};
