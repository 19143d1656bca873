#include "support/QuirkyMjpeg.h"

#include <cstdio> // jpeglib.h needs FILE
#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

namespace QuirkyMjpeg {

namespace {

struct CompressDestroy {
    void operator()(jpeg_compress_struct* c) const { jpeg_destroy_compress(c); }
};
struct MallocFree {
    void operator()(unsigned char* p) const { std::free(p); }
};

// Offset of the end-of-image marker: the last FF D9 of a frame without padding.
std::size_t endMarker(const Bytes& jpeg) {
    for (std::size_t i = jpeg.size() - 2; i > 0; --i)
        if (jpeg[i] == 0xFF && jpeg[i + 1] == 0xD9)
            return i;
    return jpeg.size();
}

// Soft gradients over four coloured quadrants (`tint` varies the colours) and a few sharp
// edges: recognisable after scaling and turning, and telling when a decoder goes wrong.
PixelBuffer picture(int width, int height, int tint = 0) {
    PixelBuffer out = PixelBuffer::allocate(width, height);
    static const int quadrants[4][3] = {
        {40, 60, 200}, {60, 190, 70}, {210, 80, 50}, {220, 220, 220}};
    for (int y = 0; y < height; ++y) {
        std::uint8_t* p = out.row(y);
        for (int x = 0; x < width; ++x, p += 4) {
            const int* colour = quadrants[(y * 2 / height) * 2 + x * 2 / width];
            const int shade = int(25 * std::sin(x * 0.03) * std::cos(y * 0.02));
            const bool stripe = (x / 40) % 7 == 3 && (y * 8 / height) % 2 == 0;
            for (int c = 0; c < 3; ++c)
                p[c] = std::uint8_t(std::clamp(stripe ? 255 - colour[c]
                                                      : colour[c] + shade + (c == 1 ? tint : -tint),
                                               0, 255));
            p[3] = 255;
        }
    }
    return out;
}

} // namespace

Bytes encode(const PixelBuffer& picture, Sampling sampling, int restartInterval) {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors); // a failure here is a broken test: libjpeg exits
    jpeg_create_compress(&info);
    const std::unique_ptr<jpeg_compress_struct, CompressDestroy> owner(&info);
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &memory, &size);
    info.image_width = JDIMENSION(picture.width());
    info.image_height = JDIMENSION(picture.height());
    info.input_components = 4;
    info.in_color_space = JCS_EXT_BGRA;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 85, TRUE);
    info.comp_info[0].h_samp_factor = sampling == Sampling::s444 ? 1 : 2;
    info.comp_info[0].v_samp_factor = sampling == Sampling::s420 ? 2 : 1;
    info.restart_interval = unsigned(restartInterval);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = picture.row(int(info.next_scanline));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    const std::unique_ptr<unsigned char, MallocFree> written(memory);
    return Bytes(memory, memory + size);
}

Bytes withoutHuffmanTables(const Bytes& jpeg) {
    Bytes out(jpeg.begin(), jpeg.begin() + 2);
    std::size_t at = 2;
    while (at + 4 <= jpeg.size()) {
        const std::uint8_t marker = jpeg[at + 1];
        if (marker == 0xDA) { // the scan: the rest is kept as it is
            out.insert(out.end(), jpeg.begin() + long(at), jpeg.end());
            break;
        }
        const std::size_t length = std::size_t(jpeg[at + 2]) << 8 | jpeg[at + 3];
        if (marker != 0xC4)
            out.insert(out.end(), jpeg.begin() + long(at), jpeg.begin() + long(at + 2 + length));
        at += 2 + length;
    }
    return out;
}

Bytes withStrayBytesBeforeEnd(const Bytes& jpeg, int count) {
    Bytes out = jpeg;
    const Bytes stray(std::size_t(count), 0x5A);
    out.insert(out.begin() + long(endMarker(jpeg)), stray.begin(), stray.end());
    return out;
}

Bytes withPadding(const Bytes& jpeg, std::size_t count, std::uint8_t fill) {
    Bytes out = jpeg;
    out.resize(jpeg.size() + count, fill);
    return out;
}

Bytes cutOff(const Bytes& jpeg, double kept, bool endMarker) {
    Bytes out(jpeg.begin(), jpeg.begin() + long(double(jpeg.size()) * kept));
    if (endMarker)
        out.insert(out.end(), {0xFF, 0xD9});
    return out;
}

std::vector<Frame> corpus(int width, int height) {
    return corpus(picture(width, height),
                  picture(width * 2 / 3 / 16 * 16, height * 2 / 3 / 8 * 8, 30));
}

std::vector<Frame> corpus(const PixelBuffer& source, const PixelBuffer& other) {
    const Bytes clean = encode(source, Sampling::s422);
    return {
        {"4:2:2", clean, source},
        {"without Huffman tables", withoutHuffmanTables(clean), source},
        {"stray bytes before the end marker", withStrayBytesBeforeEnd(clean, 10), source},
        {"zero padding after the end marker", withPadding(clean, 4096), source},
        {"stray bytes after the end marker", withPadding(clean, 50, 0x5A), source},
        {"a size other than the negotiated one", encode(other, Sampling::s422), other},
        {"4:2:0 with restart markers", encode(source, Sampling::s420, 40), source},
        {"4:4:4", encode(source, Sampling::s444), source},
        {"all a cheap camera does at once",
         withPadding(withStrayBytesBeforeEnd(withoutHuffmanTables(clean), 12), 700), source},
        {"cut off", cutOff(clean, 0.6, false), {}},
        {"cut off, zero padded", withPadding(cutOff(clean, 0.6, false), 20000), {}},
        {"cut off, end marker added", cutOff(clean, 0.6, true), {}},
    };
}

double meanDifference(const PixelBuffer& a, const PixelBuffer& b) {
    if (a.width() != b.width() || a.height() != b.height())
        return 255;
    double sum = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width() * 4; ++x)
            if (x % 4 != 3)
                sum += std::abs(int(a.row(y)[x]) - int(b.row(y)[x]));
    return sum / (3.0 * a.width() * a.height());
}

} // namespace QuirkyMjpeg
