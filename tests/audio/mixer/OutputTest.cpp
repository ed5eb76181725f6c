// Output choice and the real-time outputs (null, wav, SDL with its fallback).
#include "SignalDecoder.h"
#include "SystemInternal.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace audio::test {
namespace {

using namespace std::chrono_literals;

TEST(Output, ParsesOutputTexts) {
    const struct {
        const char* text;
        Result result;
        OutputKind kind;
        const char* path;
    } cases[] = {
        {"sdl", Result::Ok, OutputKind::Sdl, ""},
        {"null", Result::Ok, OutputKind::Null, ""},
        {"offline", Result::Ok, OutputKind::Offline, ""},
        {"wav:/tmp/x y.wav", Result::Ok, OutputKind::Wav, "/tmp/x y.wav"},
        {"wav:", Result::InvalidParameter, OutputKind::Auto, ""},
        {"SDL", Result::InvalidParameter, OutputKind::Auto, ""},
        {"", Result::InvalidParameter, OutputKind::Auto, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        OutputSpec outputSpec;
        EXPECT_EQ(parseOutputSpec(c.text, &outputSpec), c.result);
        EXPECT_EQ(outputSpec.kind, c.kind);
        EXPECT_EQ(outputSpec.wavPath, c.path);
    }
}

// Starts a real-time system, plays one second of a tone for `playFor` and reports the position.
struct RealTimeRun {
    OutputInfo info;
    unsigned positionMs = 0;
};
RealTimeRun runRealTime(const OutputSpec& outputSpec, std::chrono::milliseconds playFor) {
    RealTimeRun run;
    System* system = nullptr;
    EXPECT_EQ(System::create(&system), Result::Ok);
    EXPECT_EQ(system->init(4, outputSpec), Result::Ok);
    EXPECT_EQ(system->getOutputInfo(&run.info), Result::Ok);
    Sound* sound = nullptr;
    EXPECT_EQ(createSoundFromDecoder(system,
                                     makeSignal(44100, 44100,
                                                [](uint64_t) {
                                                    return Frame{0.5f, 0.25f};
                                                }),
                                     Mode::Stream, &sound),
              Result::Ok);
    Channel channel;
    EXPECT_EQ(system->playSound(sound, false, &channel), Result::Ok);
    std::this_thread::sleep_for(playFor);
    channel.getPosition(&run.positionMs, TimeUnit::Ms);
    EXPECT_EQ(system->mix(16, nullptr),
              Result::NotReady); // only the offline output mixes on demand
    system->release();
    return run;
}

TEST(Output, NullOutputPlaysAtRealTimePace) {
    OutputSpec outputSpec;
    outputSpec.kind = OutputKind::Null;
    const RealTimeRun run = runRealTime(outputSpec, 300ms);
    EXPECT_EQ(run.info.kind, OutputKind::Null);
    EXPECT_EQ(run.info.fallbackReason, Result::Ok);
    EXPECT_GT(run.positionMs, 150u);
    EXPECT_LT(run.positionMs, 800u); // paced, not as fast as possible
}

TEST(Output, RealTimeChannelsSeekStopAndAreReused) {
    System* system = nullptr;
    ASSERT_EQ(System::create(&system), Result::Ok);
    OutputSpec outputSpec;
    outputSpec.kind = OutputKind::Null;
    outputSpec.bufferFrames = 256;
    ASSERT_EQ(system->init(2, outputSpec), Result::Ok);
    Sound* sound = nullptr;
    ASSERT_EQ(
        createSoundFromDecoder(system, makeSignal(44100, 10 * 44100, ramp), Mode::Stream, &sound),
        Result::Ok);
    Channel channel;
    for (int round = 0; round < 20; ++round) {
        // Replaying the stream stops its channel and waits for that channel's worker.
        ASSERT_EQ(system->playSound(sound, false, &channel), Result::Ok) << round;
        system->update();
    }
    ASSERT_EQ(channel.setPosition(5 * 44100, TimeUnit::Pcm), Result::Ok);
    std::this_thread::sleep_for(100ms);
    unsigned position = 0;
    ASSERT_EQ(channel.getPosition(&position, TimeUnit::Pcm), Result::Ok);
    EXPECT_GT(position, 5u * 44100);
    EXPECT_LT(position, 5u * 44100 + 44100);
    EXPECT_EQ(channel.stop(), Result::Ok);
    system->release();
}

// A source that delivers far slower than real time, like a stalling network stream.
class StallingDecoder final : public Decoder {
public:
    int sampleRate() const override { return 44100; }
    SoundType type() const override { return SoundType::MPEG; }
    uint64_t lengthFrames() const override { return UnknownFrames; }
    uint64_t lengthRawBytes() const override { return 0; }
    int64_t bitRate() const override { return 0; }
    int subsongCount() const override { return 1; }
    Result selectSubsong(int) override { return Result::Ok; }
    size_t read(float* out, size_t frames) override {
        std::this_thread::sleep_for(40ms);
        frames = std::min<size_t>(frames, 64);
        std::fill(out, out + frames * 2, 0.1f);
        return frames;
    }
    Result seek(uint64_t) override { return Result::Unsupported; }
    Result lastError() const override { return Result::Ok; }
};

TEST(Output, UnderrunsPlaySilenceAndAreCounted) {
    System* system = nullptr;
    ASSERT_EQ(System::create(&system), Result::Ok);
    OutputSpec outputSpec;
    outputSpec.kind = OutputKind::Null;
    outputSpec.bufferFrames = 256;
    ASSERT_EQ(system->init(2, outputSpec), Result::Ok);
    Sound* sound = nullptr;
    ASSERT_EQ(
        createSoundFromDecoder(system, std::make_unique<StallingDecoder>(), Mode::Stream, &sound),
        Result::Ok);
    Channel channel;
    ASSERT_EQ(system->playSound(sound, false, &channel), Result::Ok);
    std::this_thread::sleep_for(400ms);
    EXPECT_GT(system->underrunCount(), 3u);
    unsigned position = 0;
    ASSERT_EQ(channel.getPosition(&position, TimeUnit::Pcm), Result::Ok);
    EXPECT_LT(position, 44100u / 4); // it plays only what arrived, never invents frames
    const auto start = std::chrono::steady_clock::now();
    system->release(); // stops the worker even while its source stalls
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
}

TEST(Output, WavOutputWritesWhatItPlays) {
    const std::string path = ::testing::TempDir() + "tamberlo-output-test.wav";
    OutputSpec outputSpec;
    ASSERT_EQ(parseOutputSpec("wav:" + path, &outputSpec), Result::Ok);
    runRealTime(outputSpec, 200ms);
    std::ifstream file(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    ASSERT_GT(bytes.size(), 44u + 4 * 4410);
    EXPECT_EQ(std::string(bytes.data(), 4), "RIFF");
    EXPECT_EQ(std::string(bytes.data() + 8, 4), "WAVE");
    uint32_t dataBytes = 0;
    std::memcpy(&dataBytes, bytes.data() + 40, 4);
    EXPECT_EQ(dataBytes, bytes.size() - 44);
    // The tone starts within the first buffers: find a frame of it.
    bool found = false;
    for (size_t at = 44; at + 4 <= bytes.size() && !found; at += 4) {
        int16_t left = 0, right = 0;
        std::memcpy(&left, bytes.data() + at, 2);
        std::memcpy(&right, bytes.data() + at + 2, 2);
        found = left == 16384 && right == 8192;
    }
    EXPECT_TRUE(found);
    std::remove(path.c_str());
}

TEST(Output, WavOutputThatCannotBeWrittenFails) {
    System* system = nullptr;
    ASSERT_EQ(System::create(&system), Result::Ok);
    OutputSpec outputSpec;
    outputSpec.kind = OutputKind::Wav;
    outputSpec.wavPath = "/nonexistent-dir/out.wav";
    EXPECT_EQ(system->init(2, outputSpec), Result::OutputInitFailed);
    system->release();
}

TEST(Output, SdlFallsBackToNullWithoutADevice) {
    // A driver name SDL does not know stands for a machine with no sound server.
    setenv("SDL_AUDIODRIVER", "no-such-driver", 1);
    OutputSpec outputSpec;
    outputSpec.kind = OutputKind::Sdl;
    const RealTimeRun fallback = runRealTime(outputSpec, 200ms);
    EXPECT_EQ(fallback.info.kind, OutputKind::Null);
    EXPECT_EQ(fallback.info.fallbackReason, Result::OutputInitFailed);
    EXPECT_FALSE(fallback.info.detail.empty());
    EXPECT_GT(fallback.positionMs, 50u);

    setenv("SDL_AUDIODRIVER", "dummy", 1);
    const RealTimeRun dummy = runRealTime(outputSpec, 300ms);
    EXPECT_EQ(dummy.info.kind, OutputKind::Sdl);
    EXPECT_EQ(dummy.info.fallbackReason, Result::Ok);
    EXPECT_GT(dummy.positionMs, 50u);
    unsetenv("SDL_AUDIODRIVER");
}

TEST(Output, AutoFollowsTheEnvironment) {
    const struct {
        const char* env;
        OutputKind kind;
    } cases[] = {{"offline", OutputKind::Offline}, {"null", OutputKind::Null}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.env);
        setenv("TAMBERLO_OUTPUT", c.env, 1);
        System* system = nullptr;
        ASSERT_EQ(System::create(&system), Result::Ok);
        ASSERT_EQ(system->init(2), Result::Ok);
        OutputInfo info;
        ASSERT_EQ(system->getOutputInfo(&info), Result::Ok);
        EXPECT_EQ(info.kind, c.kind);
        system->release();
    }
    setenv("TAMBERLO_OUTPUT", "offline", 1);
}

} // namespace
} // namespace audio::test
