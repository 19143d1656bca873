#include "recording/MediaProbe.h"

#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <cmath>

namespace {
QJsonObject runProbe(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("ffprobe"), QStringList{"-v", "error", "-of", "json"} + arguments);
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        return {};
    return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
}
} // namespace

QJsonObject ProbedFile::stream(const QString& type) const {
    for (const QJsonValue& s : streams)
        if (s.toObject().value("codec_type").toString() == type)
            return s.toObject();
    return {};
}

int ProbedFile::streamCount(const QString& type) const {
    int n = 0;
    for (const QJsonValue& s : streams)
        n += s.toObject().value("codec_type").toString() == type;
    return n;
}

ProbedFile probeFile(const QString& path) {
    const QJsonObject root = runProbe({"-show_streams", "-show_format", path});
    ProbedFile file;
    file.ok = root.contains("format");
    file.format = root.value("format").toObject();
    file.streams = root.value("streams").toArray();
    return file;
}

std::vector<ProbedPacket> probePackets(const QString& path, const QString& streamType) {
    const QJsonObject root = runProbe({"-select_streams", streamType, "-show_entries",
                                       "packet=pts_time,dts_time,flags", "-show_packets", path});
    std::vector<ProbedPacket> packets;
    for (const QJsonValue& value : root.value("packets").toArray()) {
        const QJsonObject p = value.toObject();
        packets.push_back({p.value("pts_time").toString().toDouble(),
                           p.value("dts_time").toString().toDouble(),
                           p.value("flags").toString().startsWith('K')});
    }
    return packets;
}

int decodedVideoFrames(const QString& path) {
    const QJsonObject root = runProbe(
        {"-count_frames", "-select_streams", "v", "-show_entries", "stream=nb_read_frames", path});
    const QJsonArray streams = root.value("streams").toArray();
    if (streams.isEmpty())
        return -1;
    return streams.first().toObject().value("nb_read_frames").toString().toInt();
}

std::vector<double> audioLevels(const QString& path, double windowSeconds) {
    constexpr int rate = 8000; // plenty for a level, and for the 440 Hz tone
    QProcess process;
    process.start(QStringLiteral("ffmpeg"), {"-v", "error", "-i", path, "-map", "0:a:0", "-ac", "1",
                                             "-ar", QString::number(rate), "-f", "f32le", "-"});
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        return {};
    const QByteArray raw = process.readAllStandardOutput();
    const auto* samples = reinterpret_cast<const float*>(raw.constData());
    const qsizetype count = raw.size() / qsizetype(sizeof(float));
    const qsizetype window = std::max<qsizetype>(1, qsizetype(windowSeconds * rate));
    std::vector<double> levels;
    for (qsizetype start = 0; start + window <= count; start += window) {
        double sum = 0;
        for (qsizetype i = start; i < start + window; ++i)
            sum += double(samples[i]) * samples[i];
        levels.push_back(std::sqrt(sum / double(window)));
    }
    return levels;
}

QImage videoFrameAt(const QString& path, double seconds) {
    const QString png = path + QStringLiteral(".frame.png");
    QProcess process;
    process.start(QStringLiteral("ffmpeg"), {"-v", "error", "-y", "-ss", QString::number(seconds),
                                             "-i", path, "-frames:v", "1", png});
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        return {};
    QImage image(png);
    QFile::remove(png);
    return image.convertToFormat(QImage::Format_RGB32);
}

QStringList topLevelBoxes(const QString& path) {
    QFile file(path);
    QStringList names;
    if (!file.open(QIODevice::ReadOnly))
        return names;
    qint64 offset = 0;
    const qint64 size = file.size();
    while (offset + 8 <= size) {
        file.seek(offset);
        const QByteArray header = file.read(16);
        quint64 boxSize = quint32(quint8(header[0])) << 24 | quint32(quint8(header[1])) << 16 |
                          quint32(quint8(header[2])) << 8 | quint8(header[3]);
        if (boxSize == 1 && header.size() == 16) {
            boxSize = 0;
            for (int i = 8; i < 16; ++i)
                boxSize = boxSize << 8 | quint8(header[i]);
        }
        names << QString::fromLatin1(header.mid(4, 4));
        if (boxSize < 8)
            break;
        offset += qint64(boxSize);
    }
    return names;
}

bool haveGstreamerDiscoverer() {
    return !QStandardPaths::findExecutable(QStringLiteral("gst-discoverer-1.0")).isEmpty();
}

std::optional<double> gstreamerDuration(const QString& path) {
    if (!haveGstreamerDiscoverer())
        return std::nullopt;
    QProcess discoverer;
    discoverer.start(QStringLiteral("gst-discoverer-1.0"), {path});
    if (!discoverer.waitForFinished(60000) || discoverer.exitCode() != 0)
        return std::nullopt;
    // "Duration: 0:00:08.000000000"
    static const QRegularExpression pattern(
        QStringLiteral("Duration: (\\d+):(\\d+):(\\d+(?:\\.\\d+)?)"));
    const QRegularExpressionMatch match =
        pattern.match(QString::fromUtf8(discoverer.readAllStandardOutput()));
    if (!match.hasMatch())
        return std::nullopt;
    return match.captured(1).toDouble() * 3600 + match.captured(2).toDouble() * 60 +
           match.captured(3).toDouble();
}
