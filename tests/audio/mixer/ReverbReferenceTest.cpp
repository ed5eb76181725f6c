// The mixer's reverb against a plain sample-by-sample rendering of the same comb/all-pass
// network: the mixer's version works in blocks, vectors and wrap-free runs, and any slip in
// that bookkeeping shows up as a difference here.
#include "OfflineSystem.h"
#include "SignalDecoder.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace audio::test {
namespace {

struct ReverbSettings {
    float room, damping, wet, dry, width;
};

// The textbook network, one frame at a time: eight damped combs and four all-passes per side.
class ReferenceReverb {
public:
    ReferenceReverb(int rate, const ReverbSettings& s) {
        const int combTuning[8] = {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617};
        const int allPassTuning[4] = {556, 441, 341, 225};
        auto length = [rate](int frames) {
            return std::max<size_t>(1, static_cast<size_t>(frames) * rate / 44100);
        };
        for (int side = 0; side < 2; ++side) {
            const int spread = side == 0 ? 0 : 23;
            for (int frames : combTuning) {
                combs_[side].push_back({std::vector<float>(length(frames + spread)), 0, 0.0f});
            }
            for (int frames : allPassTuning) {
                allPasses_[side].push_back({std::vector<float>(length(frames + spread)), 0, 0.0f});
            }
        }
        feedback_ = s.room * 0.28f + 0.7f;
        damp_ = s.damping * 0.4f;
        const float wet = s.wet * 3.0f;
        wet1_ = wet * (s.width / 2.0f + 0.5f);
        wet2_ = wet * ((1.0f - s.width) / 2.0f);
        dry_ = s.dry * 2.0f;
    }

    std::vector<float> process(const std::vector<float>& in) {
        std::vector<float> out(in.size());
        for (size_t f = 0; f < in.size() / 2; ++f) {
            const float input = (in[2 * f] + in[2 * f + 1]) * 0.015f;
            float side[2] = {0.0f, 0.0f};
            for (int s = 0; s < 2; ++s) {
                for (Line& comb : combs_[s]) {
                    const float delayed = comb.buffer[comb.at];
                    comb.state = delayed * (1.0f - damp_) + comb.state * damp_;
                    comb.buffer[comb.at] = input + comb.state * feedback_;
                    comb.at = (comb.at + 1) % comb.buffer.size();
                    side[s] += delayed;
                }
                for (Line& pass : allPasses_[s]) {
                    const float delayed = pass.buffer[pass.at];
                    pass.buffer[pass.at] = side[s] + delayed * 0.5f;
                    side[s] = delayed - side[s];
                    pass.at = (pass.at + 1) % pass.buffer.size();
                }
            }
            out[2 * f] = side[0] * wet1_ + side[1] * wet2_ + in[2 * f] * dry_;
            out[2 * f + 1] = side[1] * wet1_ + side[0] * wet2_ + in[2 * f + 1] * dry_;
        }
        return out;
    }

private:
    struct Line {
        std::vector<float> buffer;
        size_t at;
        float state;
    };
    std::vector<Line> combs_[2], allPasses_[2];
    float feedback_, damp_, wet1_, wet2_, dry_;
};

// A deterministic mix of tones and noise with a loud start, so every comb rings.
Frame testSignal(uint64_t i) {
    uint32_t x = static_cast<uint32_t>(i) * 2654435761u;
    x ^= x >> 15;
    const float noise = static_cast<float>(x & 0xffff) / 65536.0f - 0.5f;
    const float tone = static_cast<float>(std::sin(static_cast<double>(i) * 0.031));
    const float envelope = i < 2000 ? 1.0f : 0.2f;
    return {envelope * (0.5f * tone + 0.3f * noise), envelope * (0.4f * noise - 0.3f * tone)};
}

// Renders the signal through the mixer at `rate` in uneven chunks, with or without the reverb.
std::vector<float> render(int rate, const ReverbSettings* settings, size_t frames) {
    OfflineSystem system(4, rate);
    if (settings != nullptr) {
        Dsp* reverb = nullptr;
        EXPECT_EQ(system->createDsp(DspType::Reverb, &reverb), Result::Ok);
        EXPECT_EQ(system->addDsp(reverb), Result::Ok);
        EXPECT_EQ(reverb->setBypass(false), Result::Ok);
        const float values[5] = {settings->room, settings->damping, settings->wet, settings->dry,
                                 settings->width};
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(reverb->setParameter(i, values[i]), Result::Ok);
        }
    }
    system.play(system.sound(
        std::make_unique<SignalDecoder>(rate, frames, std::vector<Signal>{testSignal})));
    std::vector<float> out;
    const size_t chunks[] = {1, 3, 777, 4096, 250, 1024, 13};
    for (size_t i = 0; out.size() < frames * 2; ++i) {
        const size_t n = std::min(chunks[i % 7], frames - out.size() / 2);
        const std::vector<float> part = system.render(n);
        out.insert(out.end(), part.begin(), part.end());
    }
    return out;
}

TEST(ReverbReference, BlockwiseReverbMatchesThePlainNetwork) {
    const ReverbSettings settings[] = {
        {0.5f, 0.5f, 0.33f, 0.66f, 1.0f}, // the unit's defaults
        {0.95f, 0.1f, 0.8f, 0.0f, 0.3f},  // long tail, wet only
        {0.2f, 1.0f, 1.0f, 0.5f, 0.0f},   // heavy damping, mono width
    };
    // 8 kHz makes every comb and all-pass shorter than the mixer's blocks.
    for (int rate : {44100, 8000}) {
        const size_t frames = static_cast<size_t>(rate) * 3 / 2;
        const std::vector<float> dry = render(rate, nullptr, frames);
        for (const ReverbSettings& s : settings) {
            SCOPED_TRACE(testing::Message() << rate << " Hz, room " << s.room);
            const std::vector<float> expected = ReferenceReverb(rate, s).process(dry);
            const std::vector<float> actual = render(rate, &s, frames);
            ASSERT_EQ(actual.size(), expected.size());
            float peak = 0.0f;
            float worst = 0.0f;
            for (size_t i = 0; i < expected.size(); ++i) {
                peak = std::max(peak, std::fabs(expected[i]));
                worst = std::max(worst, std::fabs(actual[i] - expected[i]));
            }
            EXPECT_GT(peak, 0.01f);
            EXPECT_LT(worst, peak * 1e-4f) << "largest difference " << worst;
        }
    }
}

} // namespace
} // namespace audio::test
