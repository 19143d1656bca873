#pragma once

// A recording's sound as stretches in which the virtual microphone's tone (about 0.18) is heard
// or silence (0) is, found in windows of a tenth of a second.

#include "recording/MediaProbe.h"

#include <QString>

#include <algorithm>
#include <vector>

struct SoundStretch {
    bool heard = false;
    double from = 0; // seconds from the sound's start
    double to = 0;
    double length() const { return to - from; }
};

inline std::vector<SoundStretch> soundStretches(const QString& file) {
    constexpr double window = 0.1;
    std::vector<SoundStretch> stretches;
    const std::vector<double> levels = audioLevels(file, window);
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const bool heard = levels[i] > 0.03;
        const double from = double(i) * window;
        if (!stretches.empty() && stretches.back().heard == heard)
            stretches.back().to = from + window;
        else
            stretches.push_back({heard, from, from + window});
    }
    return stretches;
}

// Seconds of [from, to) in which the tone is heard.
inline double heardSeconds(const std::vector<SoundStretch>& stretches, double from, double to) {
    double heard = 0;
    for (const SoundStretch& stretch : stretches)
        if (stretch.heard)
            heard += std::max(0.0, std::min(stretch.to, to) - std::max(stretch.from, from));
    return heard;
}

// The longest silence among the first `count` stretches.
inline SoundStretch longestSilence(const std::vector<SoundStretch>& stretches, std::size_t count) {
    SoundStretch gap;
    for (std::size_t i = 0; i < std::min(count, stretches.size()); ++i)
        if (!stretches[i].heard && stretches[i].length() > gap.length())
            gap = stretches[i];
    return gap;
}
