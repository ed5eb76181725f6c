#include "LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The mixer can exceed full scale a little; a corrupt or infinite value must not overflow the
// integer sum, so each term is capped far above anything audible.
double term(float value) {
    const double magnitude = std::fabs(static_cast<double>(value) * 100.0);
    // Written as two selections so that the loops over it vectorise; std::min keeps a NaN,
    // which then fails the comparison like infinity does.
    const double capped = std::min(magnitude, 100000.0);
    return magnitude <= std::numeric_limits<double>::max() ? capped : 0.0;
}

// The running sum truncated after every term, in the order left[i], right[i].
long long truncatedSum(const float* left, const float* right, int count) {
    long long sum = 0;
    for (int i = 0; i < count; ++i) {
        sum = static_cast<long long>(term(left[i]) + static_cast<double>(sum));
        sum = static_cast<long long>(term(right[i]) + static_cast<double>(sum));
    }
    return sum;
}

// Adding a term to the integer sum and truncating adds the term's whole part, unless the
// addition rounds its fraction up to the next integer: with at most 2 * 16384 terms of at most
// 100000 the sum stays below 2^32, where a double's spacing is at most 2^-20, so that can
// only happen to a fraction within 2^-21 of 1. Without such a fraction the sum is the sum of
// the whole parts, whose terms do not wait on each other; with one, the step-by-step sum.
constexpr double LastSafeFraction = 1.0 - 0x1p-20;

long long wholePartSum(const float* values, int count, bool* nearlyWhole) {
    long long sum = 0;
    int near = 0;
    for (int i = 0; i < count; ++i) {
        const double t = term(values[i]);
        const int whole = static_cast<int>(t); // t is within 0..100000
        sum += whole;
        near += t - static_cast<double>(whole) >= LastSafeFraction ? 1 : 0;
    }
    *nearlyWhole = near != 0;
    return sum;
}

} // namespace

float levelScale(const float* left, const float* right, int sensitivity, float multiplier) {
    sensitivity = std::clamp(sensitivity, LevelMeter::MinSensitivity, LevelMeter::MaxSensitivity);
    bool leftNear = false;
    bool rightNear = false;
    long long sum =
        wholePartSum(left, sensitivity, &leftNear) + wholePartSum(right, sensitivity, &rightNear);
    if (leftNear || rightNear) {
        sum = truncatedSum(left, right, sensitivity);
    }
    const long long level = (sum / sensitivity) * 2;
    return static_cast<float>(static_cast<double>(level) * 0.00390625 * multiplier);
}
