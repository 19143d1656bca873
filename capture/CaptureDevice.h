#pragma once

#include <QMetaType>
#include <QString>

enum class MediaType { video, audio };

// The kinds of capture device the system tells apart: a camera on a USB port is external, one
// fixed in the machine (a laptop's) built in.
enum class DeviceType { external, builtIn, microphone };

inline MediaType mediaTypeOf(DeviceType type) {
    return type == DeviceType::microphone ? MediaType::audio : MediaType::video;
}

// One camera or microphone as the discovery reports it. `uniqueID` stays the same for the same
// physical device on the same port across replugging and restarts.
struct CaptureDevice {
    QString uniqueID;
    QString localizedName;
    DeviceType deviceType = DeviceType::external;

    MediaType mediaType() const { return mediaTypeOf(deviceType); }
    friend bool operator==(const CaptureDevice&, const CaptureDevice&) = default;
};

enum class DeviceChange { connected, disconnected };

Q_DECLARE_METATYPE(CaptureDevice)
Q_DECLARE_METATYPE(DeviceChange)
