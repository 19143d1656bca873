#include "recording/ffmpeg/FfmpegPtr.h"

extern "C" {
#include <libavutil/error.h>
}

namespace ffmpeg {

QString errorText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    if (av_strerror(code, text, sizeof text) < 0)
        return QStringLiteral("FFmpeg-Fehler %1").arg(code);
    return QString::fromLocal8Bit(text);
}

} // namespace ffmpeg
