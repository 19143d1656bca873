#pragma once

// Reading recorded files back with the ffprobe program, as a player would see them.
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

struct ProbedPacket {
    double pts = 0;
    double dts = 0;
    bool key = false;
};

struct ProbedFile {
    bool ok = false;
    QJsonObject format;
    QJsonArray streams;

    // The first stream of the type ("video", "audio"); empty when there is none.
    QJsonObject stream(const QString& type) const;
    int streamCount(const QString& type) const;
    double duration() const { return format.value("duration").toString().toDouble(); }
};

// ffprobe -show_streams -show_format of the file.
ProbedFile probeFile(const QString& path);

// The packets of the first stream of a type ("v" or "a"), in file order.
std::vector<ProbedPacket> probePackets(const QString& path, const QString& streamType);

// Decodes the video stream and returns how many pictures came out (-1 when ffprobe fails).
int decodedVideoFrames(const QString& path);

// The sound of the first audio stream, decoded by ffmpeg as mono: its RMS level (full scale
// 1.0) in consecutive windows of `windowSeconds` from the stream's start; empty when the file
// has no sound or ffmpeg fails.
std::vector<double> audioLevels(const QString& path, double windowSeconds = 0.1);

// The picture shown at `seconds` into the file, decoded by ffmpeg (null when that fails).
QImage videoFrameAt(const QString& path, double seconds);
inline QImage firstVideoFrame(const QString& path) {
    return videoFrameAt(path, 0.0);
}

// The names of the top-level boxes of an MP4 file, in order.
QStringList topLevelBoxes(const QString& path);

// The duration GStreamer-based players show (gst-discoverer-1.0), in seconds; none when the
// program is missing or the file cannot be read.
std::optional<double> gstreamerDuration(const QString& path);
// Whether gst-discoverer-1.0 is installed.
bool haveGstreamerDiscoverer();
