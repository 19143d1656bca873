#include "capture/virtual/CameraStreamFile.h"

#include <QFile>

namespace {

// Start of image followed by the next marker's first byte: inside a JPEG, FF D8 is never
// followed by FF (entropy-coded data stuffs FF with 00).
bool startsImage(const std::uint8_t* at) {
    return at[0] == 0xFF && at[1] == 0xD8 && at[2] == 0xFF;
}

// Beyond any recording a support case needs; the whole file is held in memory.
constexpr qint64 maxFileBytes = qint64(2) << 30;

} // namespace

CameraBuffers splitMjpegStream(const std::uint8_t* data, std::size_t size) {
    CameraBuffers buffers;
    std::size_t begin = size;
    for (std::size_t at = 0; at + 3 <= size; ++at) {
        if (!startsImage(data + at))
            continue;
        if (begin < at)
            buffers.emplace_back(data + begin, data + at);
        begin = at;
        at += 2;
    }
    if (begin < size)
        buffers.emplace_back(data + begin, data + size);
    return buffers;
}

CameraStreamFile readCameraStream(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {nullptr, QStringLiteral("%1 nicht lesbar (%2)").arg(path, file.errorString())};
    if (file.size() > maxFileBytes)
        return {nullptr, QStringLiteral("%1 ist zu groß (mehr als 2 GiB)").arg(path)};
    const QByteArray bytes = file.readAll();
    auto buffers = std::make_shared<CameraBuffers>(splitMjpegStream(
        reinterpret_cast<const std::uint8_t*>(bytes.constData()), std::size_t(bytes.size())));
    if (buffers->empty())
        return {nullptr, QStringLiteral("%1 enthält keine JPEG-Bilder").arg(path)};
    return {std::move(buffers), {}};
}
