#include "Resampler.h"

#include <algorithm>
#include <soxr.h>

namespace audio::detail {

Result Resampler::create(double maxRatio, std::unique_ptr<Resampler>* out) {
    soxr_error_t error = nullptr;
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, SOXR_VR);
    // In variable-rate mode the input rate argument is the largest io ratio and the output 1.
    soxr_t handle = soxr_create(maxRatio, 1.0, 2, &error, &io, &quality, nullptr);
    if (handle == nullptr || error != nullptr) {
        if (handle != nullptr) {
            soxr_delete(handle);
        }
        return Result::Internal;
    }
    out->reset(new Resampler(handle, maxRatio));
    (*out)->setRatio(1.0);
    return Result::Ok;
}

Resampler::~Resampler() {
    soxr_delete(handle_);
}

void Resampler::setRatio(double ratio) {
    ratio = std::clamp(ratio, 1.0 / 1024.0, maxRatio_);
    if (ratio != ratio_ || ratio == 1.0) {
        ratio_ = ratio;
        soxr_set_io_ratio(handle_, ratio_, 0);
    }
}

void Resampler::process(const float* in, size_t inFrames, size_t* consumed, float* out,
                        size_t outFrames, size_t* produced) {
    size_t idone = 0;
    size_t odone = 0;
    soxr_process(handle_, in, in == nullptr ? 0 : inFrames, &idone, out, outFrames, &odone);
    *consumed = idone;
    *produced = odone;
}

void Resampler::clear() {
    soxr_clear(handle_);
    soxr_set_io_ratio(handle_, ratio_, 0);
}

} // namespace audio::detail
