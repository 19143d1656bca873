#pragma once

#include <QString>

class SettingsStore;

// The four tuning values of the stabiliser as read from the settings.
struct StabilizerTuning {
    double gain = 0.5;
    double smoothing = 0.85;
    double cropZoom = 1.15;
    double lead = 0.0;

    // The stored values (defaults where absent), each limited to the range its slider offers.
    // Outside those ranges the path filter diverges (smoothing ≥ 1) or the zoomed window no
    // longer covers the view (zoom < 1); such values can only come from a hand-edited file.
    static StabilizerTuning read(const SettingsStore& settings);

    // "Stärke 0.5 · Glättung 0.850 · Crop 1.15 · Vorhersage 0.00"
    QString describe() const;
};
