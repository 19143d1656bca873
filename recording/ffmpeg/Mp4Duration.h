#pragma once

extern "C" {
#include <libavutil/rational.h>
}

#include <cstdint>

namespace ffmpeg {

// A fragmented MP4 starts with an empty movie header, so some players show no duration even
// though every fragment is complete. Once the file is finished, this writes the total
// (`duration` in `timeBase` units) into the movie header and adds a movie-extends header
// ('mehd') in place, taking the room of the 'udta' box that follows 'mvex'. The file keeps its
// size and layout. Returns 0, or an FFmpeg error code when the file cannot be read or written;
// a header laid out differently than expected is left alone.
int writeFragmentedDuration(int fd, std::int64_t duration, AVRational timeBase);

} // namespace ffmpeg
