// The sound device through SDL2: SDL's audio thread calls the mixer directly.
#include "Output.h"

#include <SDL2/SDL.h>

namespace audio::detail {
namespace {

// Keeps SDL's audio subsystem initialised for as long as the device is open.
class SdlAudioSubsystem {
public:
    SdlAudioSubsystem() : ok_(SDL_InitSubSystem(SDL_INIT_AUDIO) == 0) {}
    ~SdlAudioSubsystem() {
        if (ok_) {
            SDL_QuitSubSystem(SDL_INIT_AUDIO);
        }
    }
    SdlAudioSubsystem(const SdlAudioSubsystem&) = delete;
    SdlAudioSubsystem& operator=(const SdlAudioSubsystem&) = delete;
    bool ok() const { return ok_; }

private:
    bool ok_;
};

class SdlOutput final : public Output {
public:
    explicit SdlOutput(Mixer& mixer) : mixer_(mixer) {}
    ~SdlOutput() override { close(); }

    Result open(int bufferFrames, std::string* error) {
        if (!subsystem_.ok()) {
            *error = SDL_GetError();
            return Result::OutputInitFailed;
        }
        SDL_AudioSpec want{};
        want.freq = mixer_.sampleRate();
        want.format = AUDIO_F32SYS;
        want.channels = 2;
        want.samples = static_cast<Uint16>(bufferFrames);
        want.callback = &SdlOutput::callback;
        want.userdata = this;
        SDL_AudioSpec have{};
        device_ = SDL_OpenAudioDevice(nullptr, 0, &want, &have, 0);
        if (device_ == 0) {
            *error = SDL_GetError();
            return Result::OutputInitFailed;
        }
        SDL_PauseAudioDevice(device_, 0);
        return Result::Ok;
    }

    void close() override {
        if (device_ != 0) {
            SDL_CloseAudioDevice(device_); // waits for a running callback
            device_ = 0;
        }
    }

private:
    static void callback(void* self, Uint8* stream, int bytes) {
        auto* output = static_cast<SdlOutput*>(self);
        const size_t frames = static_cast<size_t>(bytes) / (2 * sizeof(float));
        output->mixer_.renderTimed(reinterpret_cast<float*>(stream), frames);
    }

    Mixer& mixer_;
    SdlAudioSubsystem subsystem_;
    SDL_AudioDeviceID device_ = 0;
};

} // namespace

Result openSdlOutput(Mixer& mixer, int bufferFrames, std::unique_ptr<Output>* out,
                     std::string* error) {
    auto output = std::make_unique<SdlOutput>(mixer);
    const Result result = output->open(bufferFrames, error);
    if (result == Result::Ok) {
        *out = std::move(output);
    }
    return result;
}

} // namespace audio::detail
