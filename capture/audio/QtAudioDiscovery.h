#pragma once

#include "capture/DeviceDiscovery.h"

#include <QAudioDevice>
#include <QList>
#include <QMediaDevices>

#include <mutex>
#include <optional>

// The microphones Qt Multimedia knows; its list changes become connect/disconnect notices.
// Made on the main thread; the listing may be read from any thread.
class QtAudioDiscovery : public DeviceDiscovery {
    Q_OBJECT

public:
    explicit QtAudioDiscovery(QObject* parent = nullptr);

    std::vector<CaptureDevice> allDevices() const override;
    std::optional<QAudioDevice> audioDevice(const QString& uniqueID) const;

    // Compares the list with the one before and reports each device that came or went.
    void update(const QList<QAudioDevice>& inputs);

private:
    static CaptureDevice describe(const QAudioDevice& device);

    QMediaDevices m_mediaDevices;
    mutable std::mutex m_lock;
    QList<QAudioDevice> m_inputs;
};
