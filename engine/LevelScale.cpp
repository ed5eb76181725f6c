#include "LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

#if defined(__SSE2__)

// Two values per step: the compiler does not vectorise the loop below (the selections in term
// count as control flow), and the meter runs it 50 times a second over thousands of values.
long long wholePartSum(const float* values, int count, bool* nearlyWhole) {
    const __m128d hundred = _mm_set1_pd(100.0);
    const __m128d cap = _mm_set1_pd(100000.0);
    const __m128d largest = _mm_set1_pd(std::numeric_limits<double>::max());
    const __m128d signBit = _mm_set1_pd(-0.0);
    const __m128d lastSafe = _mm_set1_pd(LastSafeFraction);
    __m128i sum = _mm_setzero_si128(); // two 64-bit lanes
    __m128d near = _mm_setzero_pd();
    int i = 0;
    for (; i + 2 <= count; i += 2) {
        double pair; // two floats, loaded as one 64-bit value
        std::memcpy(&pair, values + i, sizeof pair);
        const __m128d v = _mm_cvtps_pd(_mm_castpd_ps(_mm_load_sd(&pair)));
        const __m128d magnitude = _mm_andnot_pd(signBit, _mm_mul_pd(v, hundred));
        // minpd gives the cap for a NaN; the comparison then drops NaN and infinity to 0.
        const __m128d t = _mm_and_pd(_mm_min_pd(magnitude, cap), _mm_cmple_pd(magnitude, largest));
        const __m128i whole = _mm_cvttpd_epi32(t);
        near = _mm_or_pd(near, _mm_cmpge_pd(_mm_sub_pd(t, _mm_cvtepi32_pd(whole)), lastSafe));
        sum = _mm_add_epi64(sum, _mm_unpacklo_epi32(whole, _mm_setzero_si128()));
    }
    long long lanes[2];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes), sum);
    long long total = lanes[0] + lanes[1];
    bool anyNear = _mm_movemask_pd(near) != 0;
    for (; i < count; ++i) {
        const double t = term(values[i]);
        const int whole = static_cast<int>(t);
        total += whole;
        anyNear = anyNear || t - static_cast<double>(whole) >= LastSafeFraction;
    }
    *nearlyWhole = anyNear;
    return total;
}

#else

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

#endif

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
