#include "Reverb.h"

#include "Float4.h"

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
// Combs run side by side in one pass: enough to hide each one's carry, few enough that their
// states and the coefficients stay in registers.
constexpr int CombsPerPass = 4;
static_assert(8 % CombsPerPass == 0, "the passes cover every comb");

size_t scaled(int frames, int sampleRate) {
    return std::max<size_t>(1,
                            static_cast<size_t>(frames) * static_cast<size_t>(sampleRate) / 44100);
}

} // namespace

Reverb::Reverb(int sampleRate)
    : Unit(ReverbRanges, Count), input_(BlockFrames), left_(BlockFrames), right_(BlockFrames) {
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

namespace {

// N damped combs over a block, adding their output to `out`. A comb's delay line is longer than
// a block, so within one run of frames only its low-pass state links a frame to the one before:
// s[t] = d[t] * damp2 + A + s[t-1] * damp1. Four frames at a time, that recurrence is a
// prefix scan (two shifted multiply-adds) plus the previous state carried in by powers of
// damp1. Several combs run side by side so the processor overlaps their carries.
template <int N>
void runCombs(Reverb::Comb* combs, float feedback, float damp1, float damp2, const float* in,
              float* out, size_t frames) {
    const Float4 damp2s = Float4::fill(damp2);
    const Float4 offset = Float4::fill(AntiDenormal);
    const Float4 damp1s = Float4::fill(damp1);
    const Float4 damp1Squared = Float4::fill(damp1 * damp1);
    const Float4 carryIn =
        Float4::of(damp1, damp1 * damp1, damp1 * damp1 * damp1, damp1 * damp1 * damp1 * damp1);
    const Float4 feedbacks = Float4::fill(feedback);

    float* line[N];
    size_t size[N];
    size_t at[N];
    Float4 state[N]; // the last state, in every lane
    for (int c = 0; c < N; ++c) {
        line[c] = combs[c].buffer.data();
        size[c] = combs[c].buffer.size();
        at[c] = combs[c].index;
        state[c] = Float4::fill(combs[c].store);
    }
    size_t f = 0;
    while (f < frames) {
        // Run up to the first wrap of any delay line, so the inner loop has no branches.
        size_t run = frames - f;
        for (int c = 0; c < N; ++c) {
            run = std::min(run, size[c] - at[c]);
        }
        float* tap[N];
        for (int c = 0; c < N; ++c) {
            tap[c] = line[c] + at[c];
        }
        size_t i = 0;
        for (; i + 4 <= run; i += 4) {
            const Float4 input = Float4::load(in + f + i);
            Float4 sum = Float4::load(out + f + i);
            for (int c = 0; c < N; ++c) {
                const Float4 delayed = Float4::load(tap[c] + i);
                Float4 s = delayed * damp2s + offset;
                s = s + damp1s * s.shiftUp1();
                s = s + damp1Squared * s.shiftUp2();
                s = s + carryIn * state[c];
                state[c] = s.broadcastLast();
                (input + s * feedbacks).store(tap[c] + i);
                sum = sum + delayed;
            }
            sum.store(out + f + i);
        }
        for (; i < run; ++i) {
            const float input = in[f + i];
            float sum = 0.0f;
            for (int c = 0; c < N; ++c) {
                const float delayed = tap[c][i];
                const float s = delayed * damp2 + AntiDenormal + state[c].last() * damp1;
                state[c] = Float4::fill(s);
                tap[c][i] = input + s * feedback;
                sum += delayed;
            }
            out[f + i] += sum;
        }
        for (int c = 0; c < N; ++c) {
            at[c] += run;
            if (at[c] == size[c]) {
                at[c] = 0;
            }
        }
        f += run;
    }
    for (int c = 0; c < N; ++c) {
        combs[c].index = at[c];
        combs[c].store = state[c].last();
    }
}

// One all-pass over a block, in place, in runs up to the delay line's wrap.
void runAllPass(std::vector<float>& buffer, size_t& index, float* samples, size_t frames) {
    float* line = buffer.data();
    const size_t size = buffer.size();
    size_t at = index;
    size_t f = 0;
    while (f < frames) {
        const size_t run = std::min(frames - f, size - at);
        float* __restrict tap = line + at; // the delay line and the block never overlap
        float* __restrict x = samples + f;
        for (size_t i = 0; i < run; ++i) {
            const float delayed = tap[i];
            tap[i] = x[i] + delayed * AllPassFeedback;
            x[i] = delayed - x[i];
        }
        at += run;
        if (at == size) {
            at = 0;
        }
        f += run;
    }
    index = at;
}

} // namespace

void Reverb::processActive(float* samples, size_t frames) {
    updateCoefficients();
    while (frames > 0) {
        const size_t n = std::min(frames, BlockFrames);
        for (size_t f = 0; f < n; ++f) {
            input_[f] = (samples[2 * f] + samples[2 * f + 1]) * InputGain;
        }
        std::fill(left_.begin(), left_.begin() + static_cast<long>(n), 0.0f);
        std::fill(right_.begin(), right_.begin() + static_cast<long>(n), 0.0f);
        for (int c = 0; c < Combs; c += CombsPerPass) {
            runCombs<CombsPerPass>(combLeft_.data() + c, feedback_, damp1_, damp2_, input_.data(),
                                   left_.data(), n);
            runCombs<CombsPerPass>(combRight_.data() + c, feedback_, damp1_, damp2_, input_.data(),
                                   right_.data(), n);
        }
        for (int i = 0; i < AllPasses; ++i) {
            runAllPass(allPassLeft_[i].buffer, allPassLeft_[i].index, left_.data(), n);
            runAllPass(allPassRight_[i].buffer, allPassRight_[i].index, right_.data(), n);
        }
        for (size_t f = 0; f < n; ++f) {
            const float inLeft = samples[2 * f];
            const float inRight = samples[2 * f + 1];
            samples[2 * f] = left_[f] * wet1_ + right_[f] * wet2_ + inLeft * dry_;
            samples[2 * f + 1] = right_[f] * wet1_ + left_[f] * wet2_ + inRight * dry_;
        }
        samples += 2 * n;
        frames -= n;
    }
}

} // namespace audio::detail
