#include "Normalizer.h"

#include <algorithm>
#include <cmath>

namespace audio::detail {
namespace {

const Dsp::Unit::Range NormalizerRanges[Normalizer::Count] = {
    {0.0f, 20000.0f, 5000.0f}, {0.0f, 1.0f, 0.1f}, {1.0f, 100000.0f, 20.0f}};

constexpr double FallMs = 2.0; // time constant when the gain must come down

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

    float blockPeak = 0.0f;
    for (size_t i = 0; i < frames * 2; ++i) {
        blockPeak = std::max(blockPeak, std::fabs(samples[i]));
    }
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
    for (size_t f = 0; f < frames; ++f) {
        gain += (target - gain) * step;
        samples[2 * f] *= gain;
        samples[2 * f + 1] *= gain;
    }
    gain_ = gain;
}

} // namespace audio::detail
