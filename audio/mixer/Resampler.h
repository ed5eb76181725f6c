#pragma once
// Variable-rate stereo float resampler (libsoxr, high quality, variable-rate mode). The ratio
// may change between calls for a live pitch control.
//
// Threading: create() allocates and must run outside the real-time callback; process() and
// setRatio() are called by the mixer only.

#include "Result.h"

#include <cstddef>
#include <memory>

struct soxr;

namespace audio::detail {

class Resampler {
public:
    // maxRatio: the highest input/output rate ratio that setRatio accepts (> 1).
    static Result create(double maxRatio, std::unique_ptr<Resampler>* out);
    ~Resampler();
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;

    // Input frames per output frame; clamped to (0, maxRatio] (soxr takes larger ones silently
    // and misbehaves).
    void setRatio(double ratio);
    double ratio() const { return ratio_; }
    // Consumes up to inFrames frames (nullptr/0 = the input has ended: flush what is held),
    // produces up to outFrames frames. *consumed and *produced get the counts.
    void process(const float* in, size_t inFrames, size_t* consumed, float* out, size_t outFrames,
                 size_t* produced);
    // Forgets all held input, keeping the ratio (after a seek).
    void clear();

private:
    Resampler(soxr* handle, double maxRatio) : handle_(handle), maxRatio_(maxRatio) {}
    soxr* handle_;
    double maxRatio_;
    double ratio_ = 1.0;
};

} // namespace audio::detail
