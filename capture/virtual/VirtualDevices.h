#pragma once

#include "capture/DeviceDiscovery.h"
#include "capture/virtual/CameraStreamFile.h"
#include "capture/virtual/VirtualCameraControls.h"
#include "capture/virtual/VirtualScene.h"

#include <QSize>
#include <QString>
#include <QTimer>

#include <chrono>
#include <mutex>
#include <optional>
#include <vector>

// The virtual devices and the faults they show: two cameras with the same name and different
// ids (the second shakes like a head-worn Macro camera) and a microphone playing a tone.
// Every call is thread-safe; a fault takes effect at the next frame, configuration or start.
class VirtualDevices : public DeviceDiscovery {
    Q_OBJECT

public:
    static const QString camera1ID;
    static const QString camera2ID;
    static const QString microphoneID;
    static const QString cameraName;     // "OSTREL Kamera"
    static const QString microphoneName; // "OSTREL Mikrofon"

    explicit VirtualDevices(QObject* parent = nullptr);

    std::vector<CaptureDevice> allDevices() const override;

    // Connect and disconnect, each reported through `devicesChanged`. `plugIn` also adds a
    // device of any name and id (a camera shows the panning scene).
    void unplug(const QString& id);
    void replug(const QString& id);
    void plugIn(const CaptureDevice& device);

    // Camera faults.
    void setSilent(const QString& id, bool silent);        // streams, but delivers nothing
    void setFrameSize(const QString& id, QSize size);      // empty: the preset's size
    void setInputError(const QString& id, QString error);  // device input fails with this text
    void setStartError(const QString& id, QString error);  // the stream fails to start
    void setRefusesInput(const QString& id, bool refuse);  // sessions refuse its input
    void setRefusesOutput(const QString& id, bool refuse); // sessions holding it refuse outputs
    void setRefusesPreset(bool refuse);                    // every session keeps its preset
    // Faults of a running camera.
    void stall(const QString& id);     // stops sending pictures; the stream then counts as hung
    void unstall(const QString& id);   // sends pictures again (to a stream started anew)
    void endStream(const QString& id); // the running stream ends once, the device stays
    void setNoBandwidth(const QString& id, bool none); // its stream cannot start (USB bandwidth)
    // The camera refuses every write of the control ("exposure", see `cameraControlKey`).
    void refuseControl(const QString& id, const QString& control);
    // A control's value, as the camera's own controls write it.
    void setControlValue(const QString& id, CameraControlId control, int value);
    // Pictures per second from its next start (a UVC camera in dim light gives 15); 0: 30.
    void setFramesPerSecond(const QString& id, int fps);

    // Applies a fault list such as "silent=ostrel-virtual-camera-2;size=...-1:640x480;
    // unplug=...;refusePreset;refuseControl=...-1:exposure" (manual runs read it from
    // OSTREL_VIRTUAL_FAULTS). A camera fault may end in a delay,
    // "unplug=ostrel-virtual-camera-2@5s" or "stall=...@1500ms": it then happens that long after
    // the camera first started streaming, whether it still streams or not (a "replug" after an
    // "unplug"). Returns the parts it did not understand.
    QStringList applyFaults(const QString& faults);

    // Camera streams on file (manual runs read the list from OSTREL_VIRTUAL_STREAMS):
    // "ostrel-virtual-camera-1=FILE;ostrel-virtual-camera-2=FILE" makes each named camera play
    // FILE instead of its scene, through the cameras' MJPEG decoder; its faults still apply.
    // Returns what cannot be played, each with the reason.
    QStringList applyStreams(const QString& streams);

    // Called by a streaming input at every step: notes when the device first streamed and
    // applies every delayed fault that is due.
    void streamTick(const QString& id);

    struct State {
        bool present = false;
        bool silent = false;
        QSize frameSize;
        QString inputError;
        QString startError;
        bool refusesInput = false;
        bool refusesOutput = false;
        bool stalled = false;
        bool endRequested = false;
        bool noBandwidth = false;
        int framesPerSecond = 0; // 0: the scene's own rate
        VirtualScene::Motion motion = VirtualScene::Motion::pan;
        std::shared_ptr<const CameraBuffers> stream; // played instead of the scene
        QString streamName;                          // its file name
        VirtualControlValues controls = virtualControlDefaults();
        QStringList refusedControls;
    };
    // The device's current state; none for an id never known.
    std::optional<State> state(const QString& id) const;
    // Clears the one-shot stream end once the input has acted on it.
    void clearEndRequest(const QString& id);
    bool refusesPreset() const;

private:
    struct Entry {
        CaptureDevice device;
        State state;
    };
    template <typename F> void change(const QString& id, F&& apply);
    void setPresent(const QString& id, bool present);
    // One fault without delay; false when it is not understood.
    bool applyFault(const QString& name, const QString& value);

    struct Delayed {
        QString id;
        QString name;
        QString value;
        std::chrono::milliseconds delay;
    };
    void applyDueFaults();
    std::vector<Delayed> m_delayed;
    QTimer m_faultClock; // due faults of devices no longer streaming
    std::vector<std::pair<QString, std::chrono::steady_clock::time_point>> m_streamingSince;

    mutable std::mutex m_lock;
    std::vector<Entry> m_entries;
    bool m_refusesPreset = false;
};
