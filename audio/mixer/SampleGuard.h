#pragma once
// Keeps decoded samples within what the mixer and its effect units can carry. A decoder may
// hand out anything a file holds: a float WAV can store NaN, infinities or 1e38. One such value
// in the reverb's feedback lines or the normalizer's peak memory would stay there for good
// (every later song full-scale noise or silence), so samples are made safe once, before they
// reach a channel: NaN becomes silence, everything else is clamped to +-MaxSampleMagnitude.
// Real audio never comes near the limit, so it passes unchanged, bit for bit.
//
// Threading: a pure function; runs on the decode worker (or the offline mixer's caller).

#include <algorithm>
#include <cstddef>

namespace audio::detail {

// 8 is 18 dB above full scale: room for float sources that go over, while 32 channels of it
// stay far from where the effect units' arithmetic could overflow.
inline constexpr float MaxSampleMagnitude = 8.0f;

inline void keepSamplesSafe(float* samples, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const float value = samples[i];
        // NaN fails both comparisons and becomes 0; infinities clamp like any large value.
        samples[i] =
            value == value ? std::clamp(value, -MaxSampleMagnitude, MaxSampleMagnitude) : 0.0f;
    }
}

} // namespace audio::detail
