#pragma once
// Stereo reverb after the classic public-domain design: eight parallel damped comb filters and
// four serial all-pass filters per side, the right side's delays spread a little longer.
// Parameters (each 0..1): 0 room size, 1 damping, 2 wet mix, 3 dry mix, 4 width.
//
// Threading: see DspUnit.h (GUI thread sets parameters, the mixer processes).

#include "DspUnit.h"

#include <array>
#include <memory>
#include <vector>

namespace audio::detail {

class Reverb final : public Dsp::Unit {
public:
    enum Parameter { RoomSize, Damping, WetMix, DryMix, Width, Count };
    // Allocates the delay lines for `sampleRate` (Hz, 8000..192000).
    explicit Reverb(int sampleRate);

    struct Comb {
        std::vector<float> buffer;
        size_t index = 0;
        float store = 0.0f;
    };

private:
    struct AllPass {
        std::vector<float> buffer;
        size_t index = 0;
    };
    static constexpr int Combs = 8;
    static constexpr int AllPasses = 4;
    static constexpr size_t BlockFrames = 256;

    void reset() override;
    void processActive(float* samples, size_t frames) override;
    void updateCoefficients();

    std::array<Comb, Combs> combLeft_, combRight_;
    std::array<AllPass, AllPasses> allPassLeft_, allPassRight_;
    std::array<float, Count> seen_{};
    std::vector<float> input_, left_, right_; // per-block work space, sized at creation
    float feedback_ = 0, damp1_ = 0, damp2_ = 0, wet1_ = 0, wet2_ = 0, dry_ = 0;
};

} // namespace audio::detail
