// The master chain's effect units, heard through the offline mixer.
#include "OfflineSystem.h"
#include "SignalDecoder.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace audio::test {
namespace {

constexpr int Rate = 44100;

Frame music(uint64_t i) {
    const double t = static_cast<double>(i) / Rate;
    return {static_cast<float>(0.4 * std::sin(2 * M_PI * 440 * t)),
            static_cast<float>(0.3 * std::sin(2 * M_PI * 660 * t + 1.0))};
}

float peak(const std::vector<float>& samples, size_t from, size_t to) {
    float p = 0.0f;
    for (size_t i = from * 2; i < to * 2; ++i) {
        p = std::max(p, std::fabs(samples[i]));
    }
    return p;
}

std::vector<float> renderWith(const std::vector<DspType>& units, bool bypass,
                              const std::function<void(Dsp*)>& configure, Signal signal,
                              size_t frames) {
    OfflineSystem system;
    for (DspType type : units) {
        Dsp* dsp = nullptr;
        EXPECT_EQ(system->createDsp(type, &dsp), Result::Ok);
        EXPECT_EQ(system->addDsp(dsp), Result::Ok);
        EXPECT_EQ(dsp->setBypass(bypass), Result::Ok);
        if (configure) {
            configure(dsp);
        }
    }
    system.play(system.sound(makeSignal(Rate, frames, std::move(signal))));
    return system.render(frames + Rate);
}

TEST(Dsp, BypassedUnitsLeaveTheOutputBitIdentical) {
    const std::vector<float> dry = renderWith({}, false, nullptr, music, Rate);
    const std::vector<std::vector<DspType>> chains = {
        {DspType::Reverb}, {DspType::Normalize}, {DspType::Reverb, DspType::Normalize}};
    for (const auto& chain : chains) {
        SCOPED_TRACE(chain.size());
        EXPECT_EQ(renderWith(chain, true, nullptr, music, Rate), dry);
        EXPECT_NE(renderWith(chain, false, nullptr, music, Rate), dry);
    }
}

TEST(Dsp, ReverbAddsATailAfterAClick) {
    auto click = [](uint64_t i) { return i == 0 ? Frame{1.0f, 1.0f} : Frame{0.0f, 0.0f}; };
    const std::vector<float> dry = renderWith({DspType::Reverb}, true, nullptr, click, 10);
    const std::vector<float> wet = renderWith(
        {DspType::Reverb}, false,
        [](Dsp* reverb) {
            reverb->setParameter(0, 0.8f); // room size
            reverb->setParameter(2, 0.5f); // wet
        },
        click, 10);
    EXPECT_EQ(peak(dry, 1, Rate), 0.0f);
    EXPECT_GT(peak(wet, Rate / 10, Rate / 5), 1e-4f); // still ringing 100..200 ms later
    EXPECT_LT(peak(wet, 1, Rate), 1.0f);
}

TEST(Dsp, ReverbDryOnlyPassesTheInputScaled) {
    const std::vector<float> dry = renderWith({}, false, nullptr, music, 4096);
    const std::vector<float> out = renderWith(
        {DspType::Reverb}, false,
        [](Dsp* reverb) {
            reverb->setParameter(2, 0.0f); // no wet
            reverb->setParameter(3, 0.5f); // dry at unity
        },
        music, 4096);
    for (size_t i = 0; i < 4096 * 2; ++i) {
        ASSERT_FLOAT_EQ(out[i], dry[i]);
    }
}

TEST(Dsp, NormalizerRaisesAQuietSignalByAtMostItsMaximum) {
    auto quiet = [](uint64_t i) {
        return i % 2 == 0 ? Frame{0.05f, 0.05f} : Frame{-0.05f, -0.05f};
    };
    const struct {
        float maxAmp;
        float expectedPeak;
    } cases[] = {{4.0f, 0.2f}, {100.0f, 1.0f}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.maxAmp);
        const std::vector<float> out = renderWith(
            {DspType::Normalize}, false,
            [&](Dsp* normalizer) {
                normalizer->setParameter(0, 100.0f); // fade time, ms
                normalizer->setParameter(1, 0.01f);  // threshold
                normalizer->setParameter(2, c.maxAmp);
            },
            quiet, 2 * Rate);
        EXPECT_LE(peak(out, 0, 2 * Rate), c.expectedPeak * 1.0001f);
        EXPECT_NEAR(peak(out, Rate, 2 * Rate), c.expectedPeak, c.expectedPeak * 0.01f);
    }
}

TEST(Dsp, NormalizerLeavesASignalUnderItsThresholdAlone) {
    auto quiet = [](uint64_t i) {
        return i % 2 == 0 ? Frame{0.05f, 0.05f} : Frame{-0.05f, -0.05f};
    };
    const std::vector<float> plain = renderWith({}, false, nullptr, quiet, Rate);
    const std::vector<float> out = renderWith(
        {DspType::Normalize}, false,
        [](Dsp* normalizer) {
            normalizer->setParameter(0, 10.0f);
            normalizer->setParameter(1, 0.1f);
        },
        quiet, Rate);
    EXPECT_EQ(out, plain);
}

TEST(Dsp, ParametersAreCheckedAndClamped) {
    OfflineSystem system;
    Dsp* reverb = nullptr;
    Dsp* normalizer = nullptr;
    ASSERT_EQ(system->createDsp(DspType::Reverb, &reverb), Result::Ok);
    ASSERT_EQ(system->createDsp(DspType::Normalize, &normalizer), Result::Ok);
    const struct {
        Dsp* dsp;
        int index;
        float value;
        Result result;
        float stored;
    } cases[] = {
        {reverb, 0, 0.71f, Result::Ok, 0.71f},
        {reverb, 4, 2.0f, Result::Ok, 1.0f},
        {reverb, 5, 0.5f, Result::InvalidParameter, 0},
        {reverb, -1, 0.5f, Result::InvalidParameter, 0},
        {normalizer, 0, 5000.0f, Result::Ok, 5000.0f},
        {normalizer, 2, 0.0f, Result::Ok, 1.0f},
        {normalizer, 2, 1e9f, Result::Ok, 100000.0f},
        {normalizer, 3, 1.0f, Result::InvalidParameter, 0},
        {normalizer, 1, NAN, Result::InvalidParameter, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.index);
        EXPECT_EQ(c.dsp->setParameter(c.index, c.value), c.result);
        if (c.result == Result::Ok) {
            float stored = -1;
            EXPECT_EQ(c.dsp->getParameter(c.index, &stored), Result::Ok);
            EXPECT_EQ(stored, c.stored);
        }
    }
    EXPECT_EQ(system->addDsp(reverb), Result::Ok);
    EXPECT_EQ(system->addDsp(reverb), Result::InvalidParameter);
    EXPECT_EQ(system->addDsp(nullptr), Result::InvalidHandle);
}

} // namespace
} // namespace audio::test
