#pragma once

#include <cstdint>

namespace ffmpeg {

// Makes a fragmented MP4 that was cut off (a crash, a pulled drive, a full disk) whole again:
// the file is cut back to the end of its last complete fragment and the duration those
// fragments span is written into the movie header (see Mp4Duration.h), so that every player
// shows the same length. On success returns 0 and sets `durationMicroseconds`; returns
// AVERROR_INVALIDDATA when the file holds no movie header or no complete fragment (nothing
// playable), or an FFmpeg error code when it cannot be read or written.
int repairFragmentedMp4(int fd, std::int64_t& durationMicroseconds);

// The comment our writer puts into the movie header of every recording, so that recovery
// never touches a file another program wrote under a name like ours.
inline constexpr char recordingMark[] = "OSTREL";
// Whether the file's movie header carries `recordingMark`.
bool carriesRecordingMark(int fd);

} // namespace ffmpeg
