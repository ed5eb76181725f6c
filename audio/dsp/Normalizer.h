#pragma once
// Normalizer: follows the signal's peak and amplifies towards full scale, up to a maximum gain.
// Signals whose peak stays below the threshold are ignored (the gain holds where it is, 1 at
// the start), so silence and noise are never pumped up. Gain rises over the fade time and
// falls within a few milliseconds, so a sudden loud passage is not clipped for long.
// Parameters: 0 fade time in ms (0..20000), 1 threshold (0..1), 2 maximum gain (1..100000).
//
// Threading: see DspUnit.h (GUI thread sets parameters, the mixer processes).

#include "DspUnit.h"

namespace audio::detail {

class Normalizer final : public Dsp::Unit {
public:
    enum Parameter { FadeTime, Threshold, MaxAmp, Count };
    explicit Normalizer(int sampleRate);

private:
    void reset() override;
    void processActive(float* samples, size_t frames) override;

    double sampleRate_;
    float peak_ = 0.0f;
    float gain_ = 1.0f;
};

} // namespace audio::detail
