#include "LevelMeter.h"

#include <algorithm>
#include <cmath>

namespace {

// The mixer can exceed full scale a little; a corrupt or infinite value must not overflow the
// integer sum, so each term is capped far above anything audible.
double term(float value) {
    const double magnitude = std::fabs(static_cast<double>(value) * 100.0);
    return std::isfinite(magnitude) ? std::min(magnitude, 100000.0) : 0.0;
}

} // namespace

float levelScale(const float* left, const float* right, int sensitivity, float multiplier) {
    sensitivity = std::clamp(sensitivity, LevelMeter::MinSensitivity, LevelMeter::MaxSensitivity);
    long long sum = 0;
    for (int i = 0; i < sensitivity; ++i) {
        sum = static_cast<long long>(term(left[i]) + static_cast<double>(sum));
        sum = static_cast<long long>(term(right[i]) + static_cast<double>(sum));
    }
    const long long level = (sum / sensitivity) * 2;
    return static_cast<float>(static_cast<double>(level) * 0.00390625 * multiplier);
}
