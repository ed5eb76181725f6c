#include "Reverb.h"

#include <algorithm>

namespace audio::detail {
namespace {

const Dsp::Unit::Range ReverbRanges[Reverb::Count] = {
    {0.0f, 1.0f, 0.5f},  {0.0f, 1.0f, 0.5f}, {0.0f, 1.0f, 0.33f},
    {0.0f, 1.0f, 0.66f}, {0.0f, 1.0f, 1.0f},
};

// Delay lengths in frames at 44.1 kHz; the right side adds StereoSpread.
constexpr int CombTuning[8] = {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617};
constexpr int AllPassTuning[4] = {556, 441, 341, 225};
constexpr int StereoSpread = 23;
constexpr float InputGain = 0.015f;
constexpr float ScaleWet = 3.0f;
constexpr float ScaleDry = 2.0f;
constexpr float ScaleDamp = 0.4f;
constexpr float ScaleRoom = 0.28f;
constexpr float OffsetRoom = 0.7f;
constexpr float AllPassFeedback = 0.5f;
// Keeps the recursive filters out of denormal numbers (slow on x86) once the input is silent.
constexpr float AntiDenormal = 1e-25f;

size_t scaled(int frames, int sampleRate) {
    return std::max<size_t>(1,
                            static_cast<size_t>(frames) * static_cast<size_t>(sampleRate) / 44100);
}

} // namespace

Reverb::Reverb(int sampleRate) : Unit(ReverbRanges, Count) {
    for (int i = 0; i < Combs; ++i) {
        combLeft_[i].buffer.assign(scaled(CombTuning[i], sampleRate), 0.0f);
        combRight_[i].buffer.assign(scaled(CombTuning[i] + StereoSpread, sampleRate), 0.0f);
    }
    for (int i = 0; i < AllPasses; ++i) {
        allPassLeft_[i].buffer.assign(scaled(AllPassTuning[i], sampleRate), 0.0f);
        allPassRight_[i].buffer.assign(scaled(AllPassTuning[i] + StereoSpread, sampleRate), 0.0f);
    }
    seen_.fill(-1.0f);
}

void Reverb::reset() {
    for (auto* combs : {&combLeft_, &combRight_}) {
        for (Comb& comb : *combs) {
            std::fill(comb.buffer.begin(), comb.buffer.end(), 0.0f);
            comb.store = 0.0f;
        }
    }
    for (auto* passes : {&allPassLeft_, &allPassRight_}) {
        for (AllPass& pass : *passes) {
            std::fill(pass.buffer.begin(), pass.buffer.end(), 0.0f);
        }
    }
}

void Reverb::updateCoefficients() {
    bool changed = false;
    for (int i = 0; i < Count; ++i) {
        const float value = parameter(i);
        changed = changed || value != seen_[i];
        seen_[i] = value;
    }
    if (!changed) {
        return;
    }
    feedback_ = seen_[RoomSize] * ScaleRoom + OffsetRoom;
    damp1_ = seen_[Damping] * ScaleDamp;
    damp2_ = 1.0f - damp1_;
    const float wet = seen_[WetMix] * ScaleWet;
    wet1_ = wet * (seen_[Width] / 2.0f + 0.5f);
    wet2_ = wet * ((1.0f - seen_[Width]) / 2.0f);
    dry_ = seen_[DryMix] * ScaleDry;
}

void Reverb::processActive(float* samples, size_t frames) {
    updateCoefficients();
    for (size_t f = 0; f < frames; ++f) {
        const float inLeft = samples[2 * f];
        const float inRight = samples[2 * f + 1];
        const float input = (inLeft + inRight) * InputGain;
        float outLeft = 0.0f;
        float outRight = 0.0f;
        auto comb = [this, input](Comb& c) {
            const float out = c.buffer[c.index];
            c.store = out * damp2_ + c.store * damp1_ + AntiDenormal;
            c.buffer[c.index] = input + c.store * feedback_;
            if (++c.index == c.buffer.size()) {
                c.index = 0;
            }
            return out;
        };
        for (int i = 0; i < Combs; ++i) {
            outLeft += comb(combLeft_[i]);
            outRight += comb(combRight_[i]);
        }
        auto allPass = [](AllPass& a, float in) {
            const float delayed = a.buffer[a.index];
            a.buffer[a.index] = in + delayed * AllPassFeedback;
            if (++a.index == a.buffer.size()) {
                a.index = 0;
            }
            return delayed - in;
        };
        for (int i = 0; i < AllPasses; ++i) {
            outLeft = allPass(allPassLeft_[i], outLeft);
            outRight = allPass(allPassRight_[i], outRight);
        }
        samples[2 * f] = outLeft * wet1_ + outRight * wet2_ + inLeft * dry_;
        samples[2 * f + 1] = outRight * wet1_ + outLeft * wet2_ + inRight * dry_;
    }
}

} // namespace audio::detail
