// The mix path on the offline output: what a channel plays, where, how fast, on which side and
// how loud.
#include "OfflineSystem.h"
#include "SignalDecoder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace audio::test {
namespace {

constexpr int Rate = 44100;

// Frames rendered until the channel stops playing (or `limit`), and the index just past the
// last frame that was not silent.
struct PlayedLength {
    size_t rendered = 0;
    size_t lastSound = 0;
};
PlayedLength renderUntilDone(OfflineSystem& system, Channel channel, size_t limit) {
    PlayedLength result;
    bool playing = true;
    while (playing && result.rendered < limit) {
        const std::vector<float> out = system.render(512);
        for (size_t i = 0; i < 512; ++i) {
            if (out[2 * i] != 0.0f || out[2 * i + 1] != 0.0f) {
                result.lastSound = result.rendered + i + 1;
            }
        }
        result.rendered += 512;
        channel.isPlaying(&playing);
    }
    return result;
}

Frame constant(uint64_t) {
    return {0.5f, 0.5f};
}

TEST(Mixer, PlaysTheSourceUnchangedAtItsOwnRate) {
    OfflineSystem system;
    for (Mode mode : {Mode::Stream, Mode::Sample}) {
        SCOPED_TRACE(static_cast<int>(mode));
        Channel channel = system.play(system.sound(makeSignal(Rate, 5000, ramp), mode));
        const std::vector<float> out = system.render(6000);
        for (size_t i = 0; i < 5000; ++i) {
            ASSERT_EQ(out[2 * i], ramp(i).left) << i;
            ASSERT_EQ(out[2 * i + 1], ramp(i).right) << i;
        }
        for (size_t i = 5000; i < 6000; ++i) {
            ASSERT_EQ(out[2 * i], 0.0f);
        }
        bool playing = true;
        EXPECT_EQ(channel.isPlaying(&playing), Result::InvalidHandle); // it ended by itself
        EXPECT_FALSE(playing);
    }
}

TEST(Mixer, FrequencyScalesTheRenderedLength) {
    const struct {
        double factor;
        double expected; // share of the source length
    } cases[] = {{1.0, 1.0}, {2.0, 0.5}, {0.5, 2.0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.factor);
        OfflineSystem system;
        const size_t frames = Rate; // one second
        Channel channel = system.play(system.sound(makeSignal(Rate, frames, constant)));
        ASSERT_EQ(channel.setFrequency(static_cast<float>(Rate * c.factor)), Result::Ok);
        float hz = 0;
        ASSERT_EQ(channel.getFrequency(&hz), Result::Ok);
        EXPECT_FLOAT_EQ(hz, static_cast<float>(Rate * c.factor));
        const PlayedLength played = renderUntilDone(system, channel, frames * 4);
        EXPECT_NEAR(static_cast<double>(played.lastSound), frames * c.expected, 0.01 * frames);
    }
}

TEST(Mixer, SourceAtAnotherRateKeepsItsDuration) {
    OfflineSystem system;
    Channel channel = system.play(system.sound(makeSignal(48000, 48000, constant)));
    float hz = 0;
    ASSERT_EQ(channel.getFrequency(&hz), Result::Ok);
    EXPECT_EQ(hz, 48000.0f); // the base frequency is the sound's own rate
    const PlayedLength played = renderUntilDone(system, channel, Rate * 3);
    EXPECT_NEAR(static_cast<double>(played.lastSound), Rate, 0.01 * Rate);
}

TEST(Mixer, PanIsABalance) {
    const struct {
        float pan;
        float left;
        float right;
    } cases[] = {{-1.0f, 0.5f, 0.0f},  {1.0f, 0.0f, 0.5f},  {0.0f, 0.5f, 0.5f},
                 {-0.5f, 0.5f, 0.25f}, {0.5f, 0.25f, 0.5f}, {-7.0f, 0.5f, 0.0f}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pan);
        OfflineSystem system;
        Channel channel = system.play(system.sound(makeSignal(Rate, 4096, constant)));
        ASSERT_EQ(channel.setPan(c.pan), Result::Ok);
        const std::vector<float> out = system.render(1024);
        for (size_t i = 0; i < 1024; ++i) {
            ASSERT_FLOAT_EQ(out[2 * i], c.left);
            ASSERT_FLOAT_EQ(out[2 * i + 1], c.right);
        }
    }
}

TEST(Mixer, MasterVolumeScalesTheSum) {
    for (float volume : {0.0f, 0.25f, 1.0f}) {
        SCOPED_TRACE(volume);
        OfflineSystem system;
        ChannelGroup* master = nullptr;
        ASSERT_EQ(system->getMasterChannelGroup(&master), Result::Ok);
        ASSERT_EQ(master->setVolume(volume), Result::Ok);
        system.play(system.sound(makeSignal(Rate, 4096, constant)));
        system.play(system.sound(makeSignal(Rate, 4096, constant)));
        const std::vector<float> out = system.render(1024);
        for (float v : out) {
            ASSERT_EQ(v, 1.0f * volume); // two channels of 0.5 summed, then scaled
        }
    }
}

TEST(Mixer, WaveDataIsWhatTheChannelJustPlayed) {
    OfflineSystem system;
    ChannelGroup* master = nullptr;
    system->getMasterChannelGroup(&master);
    master->setVolume(0.5f); // after the channel: not part of its wave data
    Channel channel = system.play(system.sound(makeSignal(Rate, Rate, ramp)));
    channel.setPan(0.5f);
    const std::vector<float> out = system.render(3000);
    std::vector<float> left(2000), right(2000);
    ASSERT_EQ(channel.getWaveData(left.data(), 2000, 0), Result::Ok);
    ASSERT_EQ(channel.getWaveData(right.data(), 2000, 1), Result::Ok);
    for (size_t i = 0; i < 2000; ++i) {
        ASSERT_EQ(left[i] * 0.5f, out[2 * (1000 + i)]) << i;
        ASSERT_EQ(right[i] * 0.5f, out[2 * (1000 + i) + 1]) << i;
    }
    EXPECT_EQ(channel.getWaveData(left.data(), 0, 0), Result::InvalidParameter);
    EXPECT_EQ(channel.getWaveData(left.data(), 16385, 0), Result::InvalidParameter);
    EXPECT_EQ(channel.getWaveData(left.data(), 10, 2), Result::InvalidParameter);
}

TEST(Mixer, PositionCountsConsumedFramesAndSeeksAreExact) {
    OfflineSystem system;
    Channel channel = system.play(system.sound(makeSignal(Rate, 10 * Rate, ramp)));
    system.render(1000);
    unsigned position = 0;
    ASSERT_EQ(channel.getPosition(&position, TimeUnit::Pcm), Result::Ok);
    EXPECT_EQ(position, 1000u);

    ASSERT_EQ(channel.setPosition(123457, TimeUnit::Pcm), Result::Ok);
    ASSERT_EQ(channel.getPosition(&position, TimeUnit::Pcm), Result::Ok);
    EXPECT_EQ(position, 123457u); // reported at once, before the mixer catches up
    std::vector<float> out = system.render(10);
    EXPECT_EQ(out[0], ramp(123457).left);
    EXPECT_EQ(out[18], ramp(123466).left);

    ASSERT_EQ(channel.setPosition(2500, TimeUnit::Ms), Result::Ok);
    out = system.render(1);
    EXPECT_EQ(out[0], ramp(2500 * Rate / 1000).left);
    ASSERT_EQ(channel.getPosition(&position, TimeUnit::Ms), Result::Ok);
    EXPECT_EQ(position, 2500u);
    ASSERT_EQ(channel.getPosition(&position, TimeUnit::RawBytes), Result::Ok);
    EXPECT_EQ(position, (2500u * Rate / 1000 + 1) * 4); // 32 bits a frame in this source

    // Millisecond positions that fall between frames read back as set.
    for (unsigned ms : {1u, 999u, 4321u, 9999u}) {
        ASSERT_EQ(channel.setPosition(ms, TimeUnit::Ms), Result::Ok);
        system.render(1);
        ASSERT_EQ(channel.getPosition(&position, TimeUnit::Pcm), Result::Ok);
        EXPECT_EQ(position, (ms * Rate + 999) / 1000 + 1) << ms;
        ASSERT_EQ(channel.setPosition(ms, TimeUnit::Ms), Result::Ok);
        ASSERT_EQ(channel.getPosition(&position, TimeUnit::Ms), Result::Ok);
        EXPECT_EQ(position, ms);
    }

    EXPECT_EQ(channel.setPosition(10 * Rate + 1, TimeUnit::Pcm), Result::SeekFailed);
    EXPECT_EQ(channel.getPosition(&position, TimeUnit::SubsongCount), Result::InvalidParameter);
}

TEST(Mixer, PausedChannelsAreSilentAndKeepTheirPlace) {
    OfflineSystem system;
    Channel channel = system.play(system.sound(makeSignal(Rate, Rate, ramp)), true);
    std::vector<float> out = system.render(500);
    EXPECT_EQ(out[998], 0.0f);
    unsigned position = 1;
    channel.getPosition(&position, TimeUnit::Pcm);
    EXPECT_EQ(position, 0u);
    bool paused = false;
    ASSERT_EQ(channel.getPaused(&paused), Result::Ok);
    EXPECT_TRUE(paused);
    channel.setPaused(false);
    out = system.render(500);
    EXPECT_EQ(out[2 * 499], ramp(499).left);
}

TEST(Mixer, SubsongSwitchStartsThatSubsong) {
    OfflineSystem system;
    auto decoder = std::make_unique<SignalDecoder>(
        Rate, Rate, std::vector<Signal>{ramp, [](uint64_t) {
                                            return Frame{0.25f, 0.75f};
                                        }});
    Sound* sound = system.sound(std::move(decoder));
    unsigned count = 0;
    ASSERT_EQ(sound->getLength(&count, TimeUnit::SubsongCount), Result::Ok);
    EXPECT_EQ(count, 2u);
    Channel channel = system.play(sound);
    system.render(700);
    ASSERT_EQ(channel.setPosition(1, TimeUnit::SubsongCount), Result::Ok);
    const std::vector<float> out = system.render(4);
    EXPECT_EQ(out[0], 0.25f);
    EXPECT_EQ(out[1], 0.75f);
    unsigned position = 99;
    channel.getPosition(&position, TimeUnit::Pcm);
    EXPECT_EQ(position, 4u);
    EXPECT_EQ(channel.setPosition(2, TimeUnit::SubsongCount), Result::InvalidParameter);
}

TEST(Mixer, EndlessSourcesHaveNoLengthAndCannotSeek) {
    OfflineSystem system;
    Sound* sound = system.sound(makeSignal(Rate, UnknownFrames, constant));
    unsigned length = 0;
    ASSERT_EQ(sound->getLength(&length, TimeUnit::Ms), Result::Ok);
    EXPECT_EQ(length, UnknownLength);
    ASSERT_EQ(sound->getLength(&length, TimeUnit::Pcm), Result::Ok);
    EXPECT_EQ(length, UnknownLength);
    Channel channel = system.play(sound);
    system.render(Rate);
    EXPECT_EQ(channel.setPosition(0, TimeUnit::Ms), Result::Unsupported);
    bool playing = false;
    EXPECT_EQ(channel.isPlaying(&playing), Result::Ok);
    EXPECT_TRUE(playing);
}

TEST(Mixer, AStreamPlaysOnOneChannelAtATimeASampleOnMany) {
    OfflineSystem system;
    Sound* stream = system.sound(makeSignal(Rate, Rate, constant), Mode::Stream);
    Channel first = system.play(stream);
    Channel second = system.play(stream);
    bool playing = false;
    EXPECT_EQ(first.isPlaying(&playing), Result::InvalidHandle);
    EXPECT_EQ(second.isPlaying(&playing), Result::Ok);

    Sound* sample = system.sound(makeSignal(Rate, Rate, constant), Mode::Sample);
    Channel a = system.play(sample);
    Channel b = system.play(sample);
    EXPECT_EQ(a.isPlaying(&playing), Result::Ok);
    EXPECT_EQ(b.isPlaying(&playing), Result::Ok);
    const std::vector<float> out = system.render(16);
    EXPECT_EQ(out[0], 1.5f); // three channels of 0.5
}

TEST(Mixer, RunsOutOfChannelsAndReusesFinishedOnes) {
    OfflineSystem system(2);
    Sound* sample = system.sound(makeSignal(Rate, 100, constant), Mode::Sample);
    system.play(sample);
    system.play(sample);
    Channel none;
    EXPECT_EQ(system->playSound(sample, false, &none), Result::NoFreeChannel);
    system.render(200); // both end
    EXPECT_EQ(system->playSound(sample, false, &none), Result::Ok);
}

} // namespace
} // namespace audio::test
