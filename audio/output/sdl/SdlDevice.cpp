// The SDL module: the sound device through SDL2, behind the table of SdlModuleTable.h. SDL's
// audio thread calls the render callback directly.
#include "SdlModuleTable.h"

#include <SDL2/SDL.h>

#include <cstdio>
#include <mutex>
#include <new>

#ifdef _WIN32
#define TAMBERLO_MODULE_EXPORT __declspec(dllexport)
#else
#define TAMBERLO_MODULE_EXPORT __attribute__((visibility("default")))
#endif

namespace {

// Keeps SDL's audio part initialised for as long as a device is open. SDL_AudioInit rather
// than SDL_InitSubSystem: the latter also connects to the D-Bus session and system buses (and,
// without a session bus, forks to start one), which costs a sound-only user start-up time for
// nothing. SDL_AudioInit is not counted, so this counts the devices itself.
class SdlAudioSubsystem {
public:
    SdlAudioSubsystem() {
        const std::lock_guard<std::mutex> lock(mutex());
        ok_ = users() > 0 || SDL_AudioInit(nullptr) == 0;
        if (ok_) {
            ++users();
        }
    }
    ~SdlAudioSubsystem() {
        const std::lock_guard<std::mutex> lock(mutex());
        if (ok_ && --users() == 0) {
            SDL_AudioQuit();
        }
    }
    SdlAudioSubsystem(const SdlAudioSubsystem&) = delete;
    SdlAudioSubsystem& operator=(const SdlAudioSubsystem&) = delete;
    bool ok() const { return ok_; }

private:
    static std::mutex& mutex() {
        static std::mutex instance;
        return instance;
    }
    static int& users() {
        static int count = 0;
        return count;
    }
    bool ok_ = false;
};

class SdlDevice {
public:
    SdlDevice(audio::sdl::RenderCallback render, void* context)
        : render_(render), context_(context) {}
    ~SdlDevice() {
        if (device_ != 0) {
            SDL_CloseAudioDevice(device_); // waits for a running callback
        }
    }
    SdlDevice(const SdlDevice&) = delete;
    SdlDevice& operator=(const SdlDevice&) = delete;

    // False with SDL's reason in `error` when the device cannot be opened.
    bool open(int sampleRate, int bufferFrames, char* error, size_t errorBytes) {
        if (!subsystem_.ok()) {
            std::snprintf(error, errorBytes, "%s", SDL_GetError());
            return false;
        }
        SDL_AudioSpec want{};
        want.freq = sampleRate;
        want.format = AUDIO_F32SYS;
        want.channels = 2;
        want.samples = static_cast<Uint16>(bufferFrames);
        want.callback = &SdlDevice::callback;
        want.userdata = this;
        SDL_AudioSpec have{};
        device_ = SDL_OpenAudioDevice(nullptr, 0, &want, &have, 0);
        if (device_ == 0) {
            std::snprintf(error, errorBytes, "%s", SDL_GetError());
            return false;
        }
        SDL_PauseAudioDevice(device_, 0);
        return true;
    }

private:
    static void callback(void* self, Uint8* stream, int bytes) {
        auto* device = static_cast<SdlDevice*>(self);
        const size_t frames = static_cast<size_t>(bytes) / (2 * sizeof(float));
        device->render_(device->context_, reinterpret_cast<float*>(stream), frames);
    }

    audio::sdl::RenderCallback render_;
    void* context_;
    SdlAudioSubsystem subsystem_;
    SDL_AudioDeviceID device_ = 0;
};

void* openDevice(int sampleRate, int bufferFrames, audio::sdl::RenderCallback render, void* context,
                 char* error, size_t errorBytes) {
    auto* device = new (std::nothrow) SdlDevice(render, context);
    if (device == nullptr) {
        std::snprintf(error, errorBytes, "out of memory");
        return nullptr;
    }
    if (!device->open(sampleRate, bufferFrames, error, errorBytes)) {
        delete device;
        return nullptr;
    }
    return device;
}

void closeDevice(void* device) {
    delete static_cast<SdlDevice*>(device);
}

} // namespace

extern "C" TAMBERLO_MODULE_EXPORT const void* tamberlo_sdl_module() {
    static constexpr audio::sdl::ModuleTable table{audio::sdl::ModuleTableVersion, &openDevice,
                                                   &closeDevice};
    return &table;
}
