// Sound facts and caller-side decoding (readData/seekData) for each creation mode.
#include "OfflineSystem.h"
#include "SignalDecoder.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace audio::test {
namespace {

Frame levels(uint64_t i) {
    // Full scale both ways, and a value that must round: 16-bit conversion edges.
    static const Frame table[] = {{1.0f, -1.0f}, {0.5f, -0.5f}, {1.5f, -1.5f}, {0.0f, 1e-6f}};
    return table[i % 4];
}

TEST(SoundData, LengthsInEveryUnit) {
    OfflineSystem system;
    for (Mode mode : {Mode::Stream, Mode::Sample, Mode::OpenOnly | Mode::Stream}) {
        SCOPED_TRACE(static_cast<int>(mode));
        Sound* sound = system.sound(makeSignal(48000, 72000, levels), mode);
        const struct {
            TimeUnit unit;
            unsigned expected;
        } cases[] = {{TimeUnit::Ms, 1500},
                     {TimeUnit::Pcm, 72000},
                     {TimeUnit::RawBytes, 72000 * 4},
                     {TimeUnit::SubsongCount, 1}};
        for (const auto& c : cases) {
            unsigned length = 0;
            EXPECT_EQ(sound->getLength(&length, c.unit), Result::Ok);
            EXPECT_EQ(length, c.expected);
        }
        SoundType type = SoundType::Unknown;
        EXPECT_EQ(sound->getType(&type), Result::Ok);
        EXPECT_EQ(type, SoundType::WAV);
        sound->release();
    }
}

TEST(SoundData, ReadDataGivesSixteenBitStereoAndSeeks) {
    OfflineSystem system;
    for (Mode mode : {Mode::Stream | Mode::OpenOnly, Mode::Sample}) {
        SCOPED_TRACE(static_cast<int>(mode));
        Sound* sound = system.sound(makeSignal(44100, 10, levels), mode);
        int16_t pcm[2 * 12] = {};
        unsigned read = 0;
        ASSERT_EQ(sound->readData(pcm, 4 * 4 + 3, &read), Result::Ok); // partial frame dropped
        EXPECT_EQ(read, 16u);
        const int16_t expected[] = {32767, -32768, 16384, -16384, 32767, -32768, 0, 0};
        for (int i = 0; i < 8; ++i) {
            EXPECT_EQ(pcm[i], expected[i]) << i;
        }
        ASSERT_EQ(sound->seekData(9), Result::Ok);
        ASSERT_EQ(sound->readData(pcm, sizeof pcm, &read), Result::Ok);
        EXPECT_EQ(read, 4u); // only the last frame is left
        EXPECT_EQ(pcm[0], 16384);
        EXPECT_EQ(sound->readData(pcm, sizeof pcm, &read), Result::FileEndOfData);
        EXPECT_EQ(read, 0u);
        EXPECT_EQ(sound->seekData(11), Result::SeekFailed);
        sound->release();
    }
}

TEST(SoundData, ReadDataRefusedWhilePlaying) {
    OfflineSystem system;
    Sound* sound = system.sound(makeSignal(44100, 44100, levels));
    Channel channel = system.play(sound);
    int16_t pcm[8];
    unsigned read = 1;
    EXPECT_EQ(sound->readData(pcm, sizeof pcm, &read), Result::Unsupported);
    EXPECT_EQ(read, 0u);
    channel.stop();
    EXPECT_EQ(sound->readData(pcm, sizeof pcm, &read), Result::Ok);
}

TEST(SoundData, SampleModeStreamsEndlessSourcesAndRefusesHugeOnes) {
    OfflineSystem system;
    Sound* endless = nullptr;
    ASSERT_EQ(createSoundFromDecoder(system.get(), makeSignal(8000, UnknownFrames, levels),
                                     Mode::Sample, &endless),
              Result::Ok);
    Channel channel = system.play(endless);
    system.render(4096);
    bool playing = false;
    EXPECT_EQ(channel.isPlaying(&playing), Result::Ok);

    Sound* huge = nullptr;
    EXPECT_EQ(createSoundFromDecoder(system.get(), makeSignal(8000, 8000ull * 3600, levels),
                                     Mode::Sample, &huge),
              Result::OutOfMemory);
    EXPECT_EQ(huge, nullptr);
}

TEST(SoundData, CallsBeforeInitAnswerNotReady) {
    System* system = nullptr;
    ASSERT_EQ(System::create(&system), Result::Ok);
    Sound* sound = nullptr;
    EXPECT_EQ(createSoundFromDecoder(system, makeSignal(8000, 10, levels), Mode::Stream, &sound),
              Result::NotReady);
    float out[2];
    EXPECT_EQ(system->mix(1, out), Result::NotReady);
    Dsp* dsp = nullptr;
    EXPECT_EQ(system->createDsp(DspType::Reverb, &dsp), Result::NotReady);
    SpeakerMode mode;
    EXPECT_EQ(system->getSpeakerMode(0, &mode), Result::Ok);
    EXPECT_EQ(mode, SpeakerMode::Stereo);
    system->release();
}

} // namespace
} // namespace audio::test
