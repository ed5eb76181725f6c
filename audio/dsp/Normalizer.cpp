#include "Normalizer.h"

#include "Float4.h"

#include <algorithm>
#include <cmath>

namespace audio::detail {
namespace {

const Dsp::Unit::Range NormalizerRanges[Normalizer::Count] = {
    {0.0f, 20000.0f, 5000.0f}, {0.0f, 1.0f, 0.1f}, {1.0f, 100000.0f, 20.0f}};

constexpr double FallMs = 2.0; // time constant when the gain must come down

// The largest magnitude among `count` samples (NaNs are passed over).
float peakOf(const float* samples, size_t count) {
    Float4 peaks = Float4::fill(0.0f);
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        peaks = max(abs(Float4::load(samples + i)), peaks);
    }
    float peak = peaks.largest();
    for (; i < count; ++i) {
        peak = std::max(peak, std::fabs(samples[i]));
    }
    return peak;
}

// Scales interleaved stereo by a gain that approaches `target` by the factor `keep` per frame:
// frame f (from 0) gets target + (gain - target) * keep^(f+1). Written in closed form, four
// frames at a time, so no frame waits for the one before. Returns the last frame's gain.
float ramp(float* samples, size_t frames, float gain, float target, float keep) {
    const float keep2 = keep * keep;
    const float keep4 = keep2 * keep2;
    const Float4 targets = Float4::fill(target);
    const Float4 keep4s = Float4::fill(keep4);
    Float4 distance = Float4::fill(gain - target) * Float4::of(keep, keep2, keep2 * keep, keep4);
    float last = gain;
    size_t f = 0;
    for (; f + 4 <= frames; f += 4) {
        const Float4 gains = targets + distance;
        float* at = samples + 2 * f;
        (Float4::load(at) * gains.pairsLow()).store(at);
        (Float4::load(at + 4) * gains.pairsHigh()).store(at + 4);
        last = gains.last();
        distance = distance * keep4s;
    }
    for (; f < frames; ++f) {
        last = target + (last - target) * keep;
        samples[2 * f] *= last;
        samples[2 * f + 1] *= last;
    }
    return last;
}

} // namespace

Normalizer::Normalizer(int sampleRate)
    : Unit(NormalizerRanges, Count), sampleRate_(static_cast<double>(sampleRate)) {}

void Normalizer::reset() {
    peak_ = 0.0f;
    gain_ = 1.0f;
}

void Normalizer::processActive(float* samples, size_t frames) {
    if (frames == 0) {
        return;
    }
    const double fadeFrames = parameter(FadeTime) * sampleRate_ / 1000.0;
    const float threshold = parameter(Threshold);
    const float maxGain = parameter(MaxAmp);

    const float blockPeak = peakOf(samples, frames * 2);
    // The remembered peak decays over the fade time, so a quieter passage is slowly raised.
    const float decay =
        fadeFrames > 0.0 ? static_cast<float>(std::exp(-static_cast<double>(frames) / fadeFrames))
                         : 0.0f;
    peak_ = std::max(blockPeak, peak_ * decay);

    float target = gain_;
    if (peak_ >= threshold && peak_ > 0.0f) {
        target = std::min(maxGain, 1.0f / peak_);
    }
    // One-pole approach per frame: never overshoots the target, and a gain already at the
    // target stays bit-exact.
    const double riseFrames = fadeFrames / 5.0;
    const double fallFrames = FallMs * sampleRate_ / 1000.0;
    const double steps = target > gain_ ? riseFrames : fallFrames;
    const float step = steps > 1.0 ? static_cast<float>(1.0 - std::exp(-1.0 / steps)) : 1.0f;
    float gain = gain_;
    if (gain == target) { // settled: a plain scale, or nothing at all at unity
        if (gain != 1.0f) {
            for (size_t i = 0; i < frames * 2; ++i) {
                samples[i] *= gain;
            }
        }
        return;
    }
    gain_ = ramp(samples, frames, gain, target, 1.0f - step);
}

} // namespace audio::detail
