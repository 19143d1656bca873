#include "control/AudioLevel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

template <typename Sample>
AudioBuffer bufferOf(std::vector<Sample> samples, bool isFloat, int bits = 8 * sizeof(Sample)) {
    auto bytes = std::make_shared<std::vector<std::uint8_t>>(samples.size() * sizeof(Sample));
    std::memcpy(bytes->data(), samples.data(), bytes->size());
    AudioBuffer buffer;
    buffer.format = {isFloat, bits, 1, 48000};
    buffer.bytes = bytes;
    return buffer;
}

AudioBuffer rawBuffer(std::size_t byteCount, bool isFloat, int bits) {
    AudioBuffer buffer;
    buffer.format = {isFloat, bits, 2, 44100};
    buffer.bytes = std::make_shared<std::vector<std::uint8_t>>(byteCount, 0);
    return buffer;
}

} // namespace

TEST(AudioLevel, SilenceIsTheFloorAndHalvesTheMeter) {
    const auto dB = audioLevelDB(bufferOf<std::int16_t>(std::vector<std::int16_t>(512, 0), false));
    ASSERT_TRUE(dB);
    EXPECT_FLOAT_EQ(*dB, -140.0f);
    EXPECT_FLOAT_EQ(smoothedAudioLevel(0.8f, *dB), 0.4f);
    EXPECT_FLOAT_EQ(smoothedAudioLevel(0.4f, *dB), 0.2f);
}

TEST(AudioLevel, FullScaleFloatClimbsHalfwayEachBuffer) {
    const auto dB = audioLevelDB(bufferOf<float>({1.0f, -1.0f, 1.0f, -1.0f}, true));
    ASSERT_TRUE(dB);
    EXPECT_FLOAT_EQ(*dB, 0.0f);
    float level = 0;
    for (const float expected : {0.5f, 0.75f, 0.875f}) {
        level = smoothedAudioLevel(level, *dB);
        EXPECT_FLOAT_EQ(level, expected);
    }
}

TEST(AudioLevel, IntegerSamplesAreScaledAndChannelsMixed) {
    // Half scale on both channels of interleaved stereo: −6.02 dB.
    const auto dB = audioLevelDB(bufferOf<std::int16_t>({16384, -16384, 16384, -16384}, false));
    ASSERT_TRUE(dB);
    EXPECT_NEAR(*dB, -6.0206f, 1e-3);
    EXPECT_NEAR(smoothedAudioLevel(0, *dB), 0.5f * (1.0f - 6.0206f / 50.0f), 1e-4);
    EXPECT_FLOAT_EQ(smoothedAudioLevel(0, -50.0f), 0.0f);
    EXPECT_FLOAT_EQ(smoothedAudioLevel(0, 12.0f), 0.5f) << "louder than 0 dB still reads 1";
}

TEST(AudioLevel, OtherFormatsAndEmptyBuffersGiveNoLevel) {
    EXPECT_FALSE(audioLevelDB(rawBuffer(96, false, 24)));
    EXPECT_FALSE(audioLevelDB(rawBuffer(96, true, 64)));
    EXPECT_FALSE(audioLevelDB(rawBuffer(3, true, 32))) << "a float needs four bytes";
    EXPECT_FALSE(audioLevelDB(rawBuffer(1, false, 16)));
    EXPECT_FALSE(audioLevelDB(rawBuffer(0, false, 16)));
    EXPECT_FALSE(audioLevelDB(AudioBuffer{}));
    EXPECT_TRUE(audioLevelDB(rawBuffer(3, false, 16))) << "an odd tail byte is ignored";
}

TEST(AudioLevel, NotANumberNeverReachesTheMeter) {
    const auto dB =
        audioLevelDB(bufferOf<float>({std::numeric_limits<float>::quiet_NaN(), 0.5f}, true));
    ASSERT_TRUE(dB);
    EXPECT_FLOAT_EQ(smoothedAudioLevel(0.5f, *dB), 0.25f);
}

// Some USB microphones deliver signed 32-bit integers; their meter must move too.
TEST(AudioLevel, ThirtyTwoBitIntegerSamplesMoveTheMeter) {
    const std::int32_t half = 1 << 30;
    const auto dB = audioLevelDB(bufferOf<std::int32_t>({half, -half, half, -half}, false));
    ASSERT_TRUE(dB);
    EXPECT_NEAR(*dB, -6.0206f, 0.001f);
    const auto full = audioLevelDB(bufferOf<std::int32_t>(
        {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::min()},
        false));
    ASSERT_TRUE(full);
    EXPECT_NEAR(*full, 0.0f, 0.001f);
    EXPECT_FALSE(audioLevelDB(rawBuffer(3, false, 32))) << "a sample needs four bytes";
    EXPECT_FALSE(audioLevelDB(rawBuffer(8, false, 24))) << "no 24-bit integers";
}
