// System::playSoundAfter on the offline output: the queued channel's first frame follows the
// current channel's last one in the mix, whatever the chunk boundaries, slot order and rates.
#include "OfflineSystem.h"
#include "SignalDecoder.h"

#include <gtest/gtest.h>

namespace audio::test {
namespace {

// Never zero, and distinct from ramp(), so a gap or a repeated frame shows.
Frame second(uint64_t frame) {
    const float v = 0.5f + static_cast<float>(frame % (1u << 20)) / static_cast<float>(1u << 22);
    return {v, v};
}

struct QueueCase {
    const char* name;
    uint64_t firstFrames;
    uint64_t secondFrames;
    size_t renderFrames;       // frames per System::mix call
    bool successorInLowerSlot; // the queued channel's voice is mixed before the current one
};

class QueuedChannel : public testing::TestWithParam<QueueCase> {};

TEST_P(QueuedChannel, StartsOnTheFrameAfterTheLastOne) {
    const QueueCase& c = GetParam();
    OfflineSystem system;
    Channel placeholder;
    if (c.successorInLowerSlot) {
        placeholder = system.play(system.sound(makeSignal(44100, 100000, ramp)));
    }
    Channel first = system.play(system.sound(makeSignal(44100, c.firstFrames, ramp)));
    placeholder.stop();
    ASSERT_EQ(system->update(), Result::Ok); // frees the placeholder's slot for the queued one
    Sound* next = system.sound(makeSignal(44100, c.secondFrames, second));
    Channel queued;
    ASSERT_EQ(system->playSoundAfter(next, first, &queued), Result::Ok);
    unsigned position = 99;
    EXPECT_EQ(queued.getPosition(&position, TimeUnit::Pcm), Result::Ok);
    EXPECT_EQ(position, 0u);

    const uint64_t total = c.firstFrames + c.secondFrames;
    std::vector<float> out;
    while (out.size() < 2 * (total + 100)) {
        const std::vector<float> part = system.render(c.renderFrames);
        out.insert(out.end(), part.begin(), part.end());
    }
    for (uint64_t i = 0; i < total + 100; ++i) {
        const Frame want = i < c.firstFrames ? ramp(i)
                           : i < total       ? second(i - c.firstFrames)
                                             : Frame{0.0f, 0.0f};
        ASSERT_EQ(out[2 * i], want.left) << i;
        ASSERT_EQ(out[2 * i + 1], want.right) << i;
    }
    bool playing = true;
    EXPECT_EQ(first.isPlaying(&playing), Result::InvalidHandle);
    EXPECT_EQ(queued.isPlaying(&playing), Result::InvalidHandle); // it ended too
}

INSTANTIATE_TEST_SUITE_P(Joins, QueuedChannel,
                         testing::Values(QueueCase{"MidChunk", 5000, 3000, 700, false},
                                         QueueCase{"OnChunkBoundary", 3 * 1024, 2000, 1024, false},
                                         QueueCase{"SuccessorMixedFirst", 5000, 3000, 700, true},
                                         QueueCase{"LongerThanAMixerChunk", 2500, 4000, 4096, true},
                                         QueueCase{"EmptyFirst", 0, 3000, 512, false}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(QueuedChannelRates, DifferentRatesJoinWithoutGapOrOverlap) {
    OfflineSystem system(8, 48000);
    const Signal level = [](uint64_t) { return Frame{0.25f, 0.25f}; };
    Channel first = system.play(system.sound(makeSignal(44100, 44100, level)));
    Channel queued;
    ASSERT_EQ(
        system->playSoundAfter(system.sound(makeSignal(48000, 24000, second)), first, &queued),
        Result::Ok);
    const std::vector<float> out = system.render(48000 + 24000 + 2000);
    // Resampled, the first second becomes 48000 frames; the queued one plays unchanged from
    // there. Only the resampler's edge ripple differs from the source values.
    for (size_t i = 100; i < 47900; i += 7) {
        ASSERT_NEAR(out[2 * i], 0.25f, 0.01f) << i;
    }
    for (size_t i = 0; i < 24000; ++i) {
        ASSERT_EQ(out[2 * (48000 + i)], second(i).left) << i;
    }
    EXPECT_EQ(out[2 * (48000 + 24000)], 0.0f);
}

TEST(QueuedChannelControl, StopsAndRefusals) {
    OfflineSystem system;
    const auto sound = [&system] { return system.sound(makeSignal(44100, 4000, ramp)); };
    Channel first = system.play(sound());
    Channel queued;
    ASSERT_EQ(system->playSoundAfter(sound(), first, &queued), Result::Ok);
    Channel another;
    EXPECT_EQ(system->playSoundAfter(sound(), first, &another), Result::InvalidParameter);
    EXPECT_EQ(system->playSoundAfter(nullptr, first, &another), Result::InvalidHandle);
    EXPECT_EQ(system->playSoundAfter(sound(), Channel(), &another), Result::InvalidHandle);

    // Stopping the queued channel leaves the current one alone, and nothing follows it.
    queued.stop();
    std::vector<float> out = system.render(5000);
    EXPECT_EQ(out[2 * 3999], ramp(3999).left);
    EXPECT_EQ(out[2 * 4000], 0.0f);

    // Stopping the current channel before its end stops the one queued after it.
    first = system.play(sound());
    ASSERT_EQ(system->playSoundAfter(sound(), first, &queued), Result::Ok);
    system.render(1000);
    first.stop();
    bool playing = true;
    EXPECT_EQ(queued.isPlaying(&playing), Result::InvalidHandle);
    out = system.render(5000);
    EXPECT_EQ(out[0], 0.0f);
}

} // namespace
} // namespace audio::test
