#pragma once

// MJPEG frames as inexpensive UVC cameras send them, made inside the test from a picture: a clean
// JPEG with the quirks of real cameras applied to its bytes.

#include "media/PixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace QuirkyMjpeg {

using Bytes = std::vector<std::uint8_t>;

enum class Sampling { s420, s422, s444 };

// A baseline JPEG of `picture` at quality 85 with the standard Huffman tables, written out as
// UVC cameras do; a restart marker every `restartInterval` MCUs (0: none).
Bytes encode(const PixelBuffer& picture, Sampling sampling, int restartInterval = 0);

Bytes withoutHuffmanTables(const Bytes& jpeg);               // the DHT segments taken out
Bytes withStrayBytesBeforeEnd(const Bytes& jpeg, int count); // non-marker bytes before EOI
Bytes withPadding(const Bytes& jpeg, std::size_t count, std::uint8_t fill = 0); // after EOI
Bytes cutOff(const Bytes& jpeg, double kept, bool endMarker); // the first share of the bytes

struct Frame {
    std::string quirk;
    Bytes bytes;
    PixelBuffer expected; // null: the frame must be dropped
};
// One frame of each quirk for a stream negotiated at the size of `source`; `other` is a
// picture of another size.
std::vector<Frame> corpus(const PixelBuffer& source, const PixelBuffer& other);
// The same of test pictures of that size.
std::vector<Frame> corpus(int width, int height);

// Mean absolute difference of the colour channels; pictures of two sizes differ by 255.
double meanDifference(const PixelBuffer& a, const PixelBuffer& b);

} // namespace QuirkyMjpeg
