// Sounds made from the generated test media in every creation mode play the same audio, from a
// path or from a memory block the caller frees at once, and seek to the exact frame.
#include "Audio.h"
#include "OfflineSystem.h"
#include "WavData.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace audio {
namespace {

std::string media(const std::string& name) {
    return test::mediaPath(name);
}

using test::fileBytes;
using test::wavSamples;

using Offline = test::OfflineSystem;

// Plays `sound` from `startFrame` and returns `frames` rendered frames as 16-bit values.
std::vector<int16_t> play(Offline& system, Sound* sound, size_t frames, unsigned startFrame = 0) {
    Channel channel = system.play(sound);
    if (startFrame > 0) {
        EXPECT_EQ(channel.setPosition(startFrame, TimeUnit::Pcm), Result::Ok);
    }
    const std::vector<float> out = system.render(frames);
    channel.stop();
    std::vector<int16_t> pcm(out.size());
    for (size_t i = 0; i < out.size(); ++i) {
        pcm[i] = static_cast<int16_t>(std::lrint(out[i] * 32768.0f));
    }
    return pcm;
}

TEST(CreationModes, EveryModePlaysTheWavExactly) {
    const std::string path = media("music.wav");
    const std::vector<int16_t> reference = wavSamples(path);
    ASSERT_GT(reference.size(), 2u * 44100);
    Offline system;
    const struct {
        const char* name;
        Mode mode;
    } modes[] = {{"stream", Mode::Stream},
                 {"sample", Mode::Sample},
                 {"accurate stream", Mode::Stream | Mode::AccurateTime},
                 {"memory stream", Mode::Stream | Mode::OpenMemory},
                 {"memory sample", Mode::Sample | Mode::OpenMemory}};
    for (const auto& m : modes) {
        SCOPED_TRACE(m.name);
        Sound* sound = nullptr;
        if (hasMode(m.mode, Mode::OpenMemory)) {
            auto block = std::make_unique<std::vector<char>>(fileBytes(path));
            CreateSoundInfo info;
            info.length = block->size();
            ASSERT_EQ(system->createSound(block->data(), m.mode, &info, &sound), Result::Ok);
            std::memset(block->data(), 0, block->size()); // the library kept its own copy
            block.reset();
        } else {
            ASSERT_EQ(system->createSound(path.c_str(), m.mode, nullptr, &sound), Result::Ok);
        }
        unsigned frames = 0;
        ASSERT_EQ(sound->getLength(&frames, TimeUnit::Pcm), Result::Ok);
        EXPECT_EQ(frames, reference.size() / 2);
        unsigned ms = 0;
        ASSERT_EQ(sound->getLength(&ms, TimeUnit::Ms), Result::Ok);
        EXPECT_EQ(ms, 20000u);
        SoundType type = SoundType::Unknown;
        sound->getType(&type);
        EXPECT_EQ(type, SoundType::WAV);

        const std::vector<int16_t> played = play(system, sound, 44100);
        EXPECT_TRUE(std::equal(played.begin(), played.end(), reference.begin()));
        const unsigned start = 123457;
        const std::vector<int16_t> seeked = play(system, sound, 4096, start);
        EXPECT_TRUE(std::equal(seeked.begin(), seeked.end(), reference.begin() + 2 * start));
        sound->release();
    }
}

TEST(CreationModes, OpenOnlyReadsWhatPlaybackPlays) {
    Offline system;
    for (const char* name : {"music.flac", "music.mp3", "music.ogg", "mono.wav"}) {
        SCOPED_TRACE(name);
        const std::string path = media(name);
        Sound* reader = nullptr;
        ASSERT_EQ(
            system->createSound(path.c_str(), Mode::Stream | Mode::OpenOnly, nullptr, &reader),
            Result::Ok);
        std::vector<int16_t> read(2 * 8192);
        unsigned bytes = 0;
        ASSERT_EQ(reader->readData(read.data(), static_cast<unsigned>(read.size() * 2), &bytes),
                  Result::Ok);
        EXPECT_EQ(bytes, read.size() * 2);
        Sound* player = nullptr;
        ASSERT_EQ(system->createSound(path.c_str(), Mode::Stream, nullptr, &player), Result::Ok);
        float rate = 0;
        player->getDefaultFrequency(&rate);
        if (rate == 44100.0f) { // played without resampling: the very same values
            EXPECT_EQ(play(system, player, 8192), read);
        }
        reader->release();
        player->release();
    }
}

TEST(CreationModes, AccurateTimeGivesTheExactMp3Length) {
    Offline system;
    const unsigned wavFrames = 20 * 44100;
    for (const char* name : {"music.mp3", "music-vbr.mp3"}) {
        SCOPED_TRACE(name);
        Sound* sound = nullptr;
        ASSERT_EQ(system->createSound(media(name).c_str(), Mode::Stream | Mode::AccurateTime,
                                      nullptr, &sound),
                  Result::Ok);
        unsigned frames = 0;
        sound->getLength(&frames, TimeUnit::Pcm);
        EXPECT_EQ(frames, wavFrames);
        sound->release();
    }
}

TEST(CreationModes, BadSourcesAreRefusedWithAResult) {
    Offline system;
    Sound* sound = nullptr;
    EXPECT_EQ(system->createSound(media("no-such-file.mp3").c_str(), Mode::Stream, nullptr, &sound),
              Result::FileNotFound);
    EXPECT_EQ(sound, nullptr);
    const char bytes[] = "definitely not audio, just some text";
    CreateSoundInfo info;
    EXPECT_EQ(system->createSound(bytes, Mode::Stream | Mode::OpenMemory, nullptr, &sound),
              Result::InvalidParameter); // no length given
    info.length = sizeof bytes;
    EXPECT_NE(system->createSound(bytes, Mode::Stream | Mode::OpenMemory, &info, &sound),
              Result::Ok);
    EXPECT_EQ(system->createSound("x", Mode::Stream | Mode::Sample, nullptr, &sound),
              Result::InvalidParameter);
    EXPECT_EQ(system->loadPlugin("plugin/codec_missing.so"), Result::PluginMissing);
}

} // namespace
} // namespace audio
