#pragma once
// The processing behind a public Dsp handle: parameters and the bypass flag as atomics written
// by the GUI thread, and an in-place process() run by the mixer.
//
// Threading: setParameter/setBypass/get* on the GUI thread; process() on the mixer thread only
// (it never locks or allocates; buffers are sized at creation for the output rate).

#include "Audio.h"

#include <atomic>
#include <cstddef>

namespace audio {

class Dsp::Unit {
public:
    static constexpr int MaxParameters = 5;
    struct Range {
        float min, max, initial;
    };

    virtual ~Unit() = default;

    int parameterCount() const { return count_; }
    Result setParameter(int index, float value);
    Result getParameter(int index, float* value) const;
    void setBypass(bool bypass) { bypass_.store(bypass, std::memory_order_relaxed); }
    bool bypass() const { return bypass_.load(std::memory_order_relaxed); }

    // Mixer thread: processes interleaved stereo in place. A bypassed unit returns at once; a
    // unit coming out of bypass starts from a clean state.
    void process(float* samples, size_t frames) {
        if (bypass_.load(std::memory_order_relaxed)) {
            wasBypassed_ = true;
            return;
        }
        if (wasBypassed_) {
            reset();
            wasBypassed_ = false;
        }
        processActive(samples, frames);
    }

protected:
    Unit(const Range* ranges, int count);
    float parameter(int index) const { return values_[index].load(std::memory_order_relaxed); }
    virtual void reset() = 0;
    virtual void processActive(float* samples, size_t frames) = 0;

private:
    const Range* ranges_;
    int count_;
    std::atomic<float> values_[MaxParameters];
    std::atomic<bool> bypass_{false};
    bool wasBypassed_ = false;
};

} // namespace audio
