#include "capture/v4l2/FrameDecoder.h"
#include "capture/CaptureTestSupport.h"
#include "support/QuirkyMjpeg.h"

#include <linux/videodev2.h>

#include <gtest/gtest.h>

// Each quirk of UVC cameras through the decoder the cameras use: the frame's own picture at the
// size its header says, or nothing for a frame cut off in transfer. What the stream had is
// logged once, with the counts, when the stream's decoder goes.
TEST(FrameDecoder, DecodesMjpegAsUvcCamerasSendIt) {
    LogProbe log;
    constexpr int width = 640;
    constexpr int height = 360;
    const std::vector<QuirkyMjpeg::Frame> corpus = QuirkyMjpeg::corpus(width, height);
    {
        FrameDecoder decoder(V4L2_PIX_FMT_MJPEG, width, height, QStringLiteral("Testkamera"));
        for (const QuirkyMjpeg::Frame& frame : corpus) {
            SCOPED_TRACE(frame.quirk);
            const PixelBuffer decoded = decoder.decode(frame.bytes.data(), frame.bytes.size());
            if (!frame.expected) {
                EXPECT_FALSE(decoded);
                continue;
            }
            ASSERT_TRUE(decoded);
            EXPECT_LT(QuirkyMjpeg::meanDifference(decoded, frame.expected), 3.0);
            EXPECT_EQ(decoded.row(decoded.height() - 1)[3], 255);
        }
        // Not JPEG at all, though it ends like one.
        std::vector<std::uint8_t> garbage(5000, 0x5A);
        garbage[garbage.size() - 2] = 0xFF;
        garbage.back() = 0xD9;
        EXPECT_FALSE(decoder.decode(garbage.data(), garbage.size()));
        EXPECT_FALSE(decoder.decode(nullptr, 0));

        const FrameDecoder::Counts counts = decoder.counts();
        EXPECT_EQ(counts.frames, int(corpus.size()) + 1);
        EXPECT_EQ(counts.warned, 2); // the two frames with stray bytes
        EXPECT_EQ(counts.cutOff, 3);
        EXPECT_EQ(counts.broken, 1);
        EXPECT_TRUE(log.entries().empty());
    }
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].first, LogLevel::warn);
    const QString& text = entries[0].second;
    EXPECT_TRUE(text.startsWith(QStringLiteral("MJPEG-Bildstrom Testkamera: von 13 Bildern 2 mit "
                                               "libjpeg-Warnung gezeigt („Corrupt JPEG data: ")))
        << text.toStdString();
    EXPECT_TRUE(text.endsWith(QStringLiteral(" extraneous bytes before marker 0xd9“), 3 "
                                             "abgeschnitten und verworfen, 1 nicht dekodierbar "
                                             "und verworfen")))
        << text.toStdString();
}
