// Every Channel call on a handle that is not (or no longer) a playing channel answers
// InvalidHandle and touches nothing.
#include "OfflineSystem.h"
#include "SignalDecoder.h"

#include <functional>
#include <gtest/gtest.h>

namespace audio::test {
namespace {

Frame constant(uint64_t) {
    return {0.5f, 0.5f};
}

using Call = std::function<Result(Channel&)>;

const std::vector<std::pair<const char*, Call>>& everyCall() {
    static const std::vector<std::pair<const char*, Call>> calls = {
        {"setPaused", [](Channel& c) { return c.setPaused(true); }},
        {"getPaused",
         [](Channel& c) {
             bool p;
             return c.getPaused(&p);
         }},
        {"stop", [](Channel& c) { return c.stop(); }},
        {"isPlaying",
         [](Channel& c) {
             bool p;
             return c.isPlaying(&p);
         }},
        {"getPosition",
         [](Channel& c) {
             unsigned p;
             return c.getPosition(&p, TimeUnit::Ms);
         }},
        {"setPosition", [](Channel& c) { return c.setPosition(0, TimeUnit::Pcm); }},
        {"setSubsong", [](Channel& c) { return c.setPosition(0, TimeUnit::SubsongCount); }},
        {"setFrequency", [](Channel& c) { return c.setFrequency(22050.0f); }},
        {"getFrequency",
         [](Channel& c) {
             float f;
             return c.getFrequency(&f);
         }},
        {"setPan", [](Channel& c) { return c.setPan(0.5f); }},
        {"getPan",
         [](Channel& c) {
             float p;
             return c.getPan(&p);
         }},
        {"getWaveData",
         [](Channel& c) {
             float w[4];
             return c.getWaveData(w, 4, 0);
         }},
    };
    return calls;
}

void expectStale(Channel channel) {
    for (const auto& [name, call] : everyCall()) {
        EXPECT_EQ(call(channel), Result::InvalidHandle) << name;
    }
}

TEST(ChannelHandle, StaleHandlesAnswerInvalidHandle) {
    const std::vector<std::pair<const char*, std::function<Channel(OfflineSystem&)>>> cases = {
        {"default", [](OfflineSystem&) { return Channel(); }},
        {"stopped",
         [](OfflineSystem& s) {
             Channel c = s.play(s.sound(makeSignal(44100, 44100, constant)));
             c.stop();
             return c;
         }},
        {"finished",
         [](OfflineSystem& s) {
             Channel c = s.play(s.sound(makeSignal(44100, 100, constant)));
             s.render(1024);
             return c;
         }},
        {"sound released",
         [](OfflineSystem& s) {
             Sound* sound = s.sound(makeSignal(44100, 44100, constant));
             Channel c = s.play(sound);
             sound->release();
             return c;
         }},
        {"system closed",
         [](OfflineSystem& s) {
             Channel c = s.play(s.sound(makeSignal(44100, 44100, constant)));
             s->close();
             return c;
         }},
    };
    for (const auto& [name, make] : cases) {
        SCOPED_TRACE(name);
        OfflineSystem system;
        expectStale(make(system));
    }
}

TEST(ChannelHandle, AReusedSlotDoesNotRespondToTheOldHandle) {
    OfflineSystem system(1);
    Sound* sound = system.sound(makeSignal(44100, 44100, constant), Mode::Sample);
    Channel old = system.play(sound);
    old.stop();
    Channel fresh = system.play(sound);
    EXPECT_EQ(old.setPaused(true), Result::InvalidHandle);
    bool paused = true;
    ASSERT_EQ(fresh.getPaused(&paused), Result::Ok);
    EXPECT_FALSE(paused);
}

TEST(ChannelHandle, HandlesOutliveTheSystem) {
    System* system = nullptr;
    ASSERT_EQ(System::create(&system), Result::Ok);
    OutputSpec outputSpec;
    outputSpec.kind = OutputKind::Offline;
    ASSERT_EQ(system->init(2, outputSpec), Result::Ok);
    Sound* sound = nullptr;
    ASSERT_EQ(
        createSoundFromDecoder(system, makeSignal(44100, 44100, constant), Mode::Stream, &sound),
        Result::Ok);
    Channel channel;
    ASSERT_EQ(system->playSound(sound, false, &channel), Result::Ok);
    system->release();
    expectStale(channel);
}

} // namespace
} // namespace audio::test
