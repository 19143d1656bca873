#include "control/AudioLevel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <optional>

namespace {

template <typename Sample> AudioBuffer bufferOf(std::vector<Sample> samples, bool isFloat) {
    auto bytes = std::make_shared<std::vector<std::uint8_t>>(samples.size() * sizeof(Sample));
    std::memcpy(bytes->data(), samples.data(), bytes->size());
    AudioBuffer buffer;
    buffer.format = {isFloat, int(8 * sizeof(Sample)), 1, 48000};
    buffer.bytes = bytes;
    return buffer;
}

AudioBuffer zeros(std::size_t byteCount, bool isFloat, int bits) {
    AudioBuffer buffer;
    buffer.format = {isFloat, bits, 2, 44100};
    buffer.bytes = std::make_shared<std::vector<std::uint8_t>>(byteCount, 0);
    return buffer;
}

} // namespace

// The level of a buffer in dB for each sample format a microphone delivers, and the meter that
// moves halfway towards it with each buffer.
TEST(AudioLevel, EachSampleFormatGivesItsLevelAndTheMeterMovesHalfwayTowardsIt) {
    constexpr std::int16_t half16 = 16384;
    constexpr std::int32_t half32 = 1 << 30;
    constexpr std::int32_t min32 = std::numeric_limits<std::int32_t>::min();
    struct Level {
        const char* name;
        AudioBuffer buffer;
        std::optional<float> dB;
    };
    const Level levels[] = {
        {"16-bit silence is the floor",
         bufferOf<std::int16_t>(std::vector<std::int16_t>(512), false), -140.0f},
        {"full-scale float", bufferOf<float>({1.0f, -1.0f, 1.0f, -1.0f}, true), 0.0f},
        {"16-bit half scale", bufferOf<std::int16_t>({half16, -half16, half16, -half16}, false),
         -6.0206f},
        {"32-bit integers half scale", bufferOf<std::int32_t>({half32, -half32}, false), -6.0206f},
        {"32-bit integers full scale", bufferOf<std::int32_t>({min32, min32}, false), 0.0f},
        {"an odd tail byte is ignored", zeros(3, false, 16), -140.0f},
        {"24-bit integers", zeros(96, false, 24), std::nullopt},
        {"64-bit floats", zeros(96, true, 64), std::nullopt},
        {"a float needs four bytes", zeros(3, true, 32), std::nullopt},
        {"a 32-bit integer needs four bytes", zeros(3, false, 32), std::nullopt},
        {"a 16-bit sample needs two bytes", zeros(1, false, 16), std::nullopt},
        {"empty", zeros(0, false, 16), std::nullopt},
        {"no bytes at all", AudioBuffer{}, std::nullopt},
    };
    for (const Level& c : levels) {
        const std::optional<float> dB = audioLevelDB(c.buffer);
        ASSERT_EQ(dB.has_value(), c.dB.has_value()) << c.name;
        if (dB) {
            EXPECT_NEAR(*dB, *c.dB, 1e-3) << c.name;
        }
    }

    struct Step {
        float previous;
        float dB;
        float level;
    };
    const Step steps[] = {
        {0.8f, -140.0f, 0.4f}, {0.4f, -140.0f, 0.2f}, {0.0f, 0.0f, 0.5f},
        {0.5f, 0.0f, 0.75f},   {0.75f, 0.0f, 0.875f}, {0.0f, -6.0206f, 0.5f * (1 - 6.0206f / 50)},
        {0.0f, -50.0f, 0.0f},  {0.0f, 12.0f, 0.5f}, // louder than 0 dB still reads 1
    };
    for (const Step& s : steps)
        EXPECT_NEAR(smoothedAudioLevel(s.previous, s.dB), s.level, 1e-4)
            << s.previous << " towards " << s.dB << " dB";

    // Not a number never reaches the meter: it reads as silence.
    const auto withNaN =
        audioLevelDB(bufferOf<float>({std::numeric_limits<float>::quiet_NaN(), 0.5f}, true));
    ASSERT_TRUE(withNaN);
    EXPECT_FLOAT_EQ(smoothedAudioLevel(0.5f, *withNaN), 0.25f);
}
