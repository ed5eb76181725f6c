#include "DspUnit.h"

#include <algorithm>
#include <cmath>

namespace audio {

Dsp::Unit::Unit(const Range* ranges, int count) : ranges_(ranges), count_(count) {
    for (int i = 0; i < MaxParameters; ++i) {
        values_[i].store(i < count ? ranges[i].initial : 0.0f, std::memory_order_relaxed);
    }
}

Result Dsp::Unit::setParameter(int index, float value) {
    if (index < 0 || index >= count_ || std::isnan(value)) {
        return Result::InvalidParameter;
    }
    values_[index].store(std::clamp(value, ranges_[index].min, ranges_[index].max),
                         std::memory_order_relaxed);
    return Result::Ok;
}

Result Dsp::Unit::getParameter(int index, float* value) const {
    if (index < 0 || index >= count_ || value == nullptr) {
        return Result::InvalidParameter;
    }
    *value = values_[index].load(std::memory_order_relaxed);
    return Result::Ok;
}

Dsp::Dsp(std::unique_ptr<Unit> unit) : unit_(std::move(unit)) {}
Dsp::~Dsp() = default;

Result Dsp::setParameter(int index, float value) {
    return unit_->setParameter(index, value);
}
Result Dsp::getParameter(int index, float* value) const {
    return unit_->getParameter(index, value);
}
Result Dsp::setBypass(bool bypass) {
    unit_->setBypass(bypass);
    return Result::Ok;
}
Result Dsp::getBypass(bool* bypass) const {
    if (bypass == nullptr) {
        return Result::InvalidParameter;
    }
    *bypass = unit_->bypass();
    return Result::Ok;
}

} // namespace audio
