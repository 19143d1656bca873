#include "imaging/StabilizerTuning.h"

#include "settings/SettingsStore.h"

#include <algorithm>
#include <cmath>

namespace {

double limited(const SettingsStore& settings, Setting setting, double fallback, double low,
               double high) {
    const double value = settings.number(setting);
    if (!std::isfinite(value))
        return fallback;
    return std::clamp(value, low, high);
}

} // namespace

StabilizerTuning StabilizerTuning::read(const SettingsStore& settings) {
    const StabilizerTuning defaults;
    StabilizerTuning tuning;
    tuning.gain = limited(settings, Setting::stabGain, defaults.gain, 0.0, 8.0);
    tuning.smoothing = limited(settings, Setting::stabSmoothing, defaults.smoothing, 0.7, 0.985);
    tuning.cropZoom = limited(settings, Setting::stabCropZoom, defaults.cropZoom, 1.0, 1.35);
    tuning.lead = limited(settings, Setting::stabLead, defaults.lead, 0.0, 1.5);
    return tuning;
}

QString StabilizerTuning::describe() const {
    return QString::asprintf("Stärke %.1f · Glättung %.3f · Crop %.2f · Vorhersage %.2f", gain,
                             smoothing, cropZoom, lead);
}
