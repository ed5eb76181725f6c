#pragma once
// A System on the offline output, released at the end of the test.

#include "Audio.h"
#include "SystemInternal.h"

#include <gtest/gtest.h>
#include <vector>

namespace audio::test {

class OfflineSystem {
public:
    explicit OfflineSystem(int channels = 8, int rate = 44100) {
        EXPECT_EQ(System::create(&system_), Result::Ok);
        OutputSpec outputSpec;
        outputSpec.kind = OutputKind::Offline;
        outputSpec.sampleRate = rate;
        EXPECT_EQ(system_->init(channels, outputSpec), Result::Ok);
    }
    ~OfflineSystem() { system_->release(); }
    OfflineSystem(const OfflineSystem&) = delete;
    OfflineSystem& operator=(const OfflineSystem&) = delete;

    System* operator->() { return system_; }
    System* get() { return system_; }

    Sound* sound(std::unique_ptr<Decoder> decoder, Mode mode = Mode::Stream) {
        Sound* sound = nullptr;
        EXPECT_EQ(createSoundFromDecoder(system_, std::move(decoder), mode, &sound), Result::Ok);
        return sound;
    }
    Channel play(Sound* sound, bool paused = false) {
        Channel channel;
        EXPECT_EQ(system_->playSound(sound, paused, &channel), Result::Ok);
        return channel;
    }
    // Renders `frames` frames of interleaved stereo.
    std::vector<float> render(size_t frames) {
        std::vector<float> out(frames * 2);
        EXPECT_EQ(system_->mix(frames, out.data()), Result::Ok);
        return out;
    }

private:
    System* system_ = nullptr;
};

} // namespace audio::test
