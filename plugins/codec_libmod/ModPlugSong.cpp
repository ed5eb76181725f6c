#include "ModPlugSong.h"

#include <libmodplug/modplug.h>

#include <algorithm>
#include <climits>
#include <mutex>

namespace libmod_codec {

namespace {

// Frames rendered per libmodplug call: bounded work per read.
constexpr size_t MaxFramesPerRender = 4096;

std::mutex& libraryLock() {
    static std::mutex lock;
    return lock;
}

// The settings every song is loaded with (they are global in libmodplug): 44100 Hz stereo
// 32-bit, good interpolation, no effects, and no looping so that songs end.
void applySettings() {
    ModPlug_Settings settings{};
    ModPlug_GetSettings(&settings);
    settings.mFlags = MODPLUG_ENABLE_OVERSAMPLING;
    settings.mChannels = 2;
    settings.mBits = 32;
    settings.mFrequency = ModPlugSong::Rate;
    settings.mResamplingMode = MODPLUG_RESAMPLE_SPLINE;
    settings.mLoopCount = 0;
    ModPlug_SetSettings(&settings);
}

} // namespace

void ModPlugSong::Unloader::operator()(_ModPlugFile* file) const {
    const std::lock_guard guard(libraryLock());
    ModPlug_Unload(file);
}

std::unique_ptr<ModPlugSong> ModPlugSong::load(std::vector<uint8_t> data) {
    if (data.empty() || data.size() > static_cast<size_t>(INT_MAX)) {
        return nullptr;
    }
    FileHandle file;
    {
        const std::lock_guard guard(libraryLock());
        applySettings();
        file.reset(ModPlug_Load(data.data(), static_cast<int>(data.size())));
    }
    if (!file) {
        return nullptr;
    }
    return std::unique_ptr<ModPlugSong>(new ModPlugSong(std::move(data), std::move(file)));
}

ModPlugSong::ModPlugSong(std::vector<uint8_t> data, FileHandle file)
    : data_(std::move(data)), file_(std::move(file)) {
    const std::lock_guard guard(libraryLock());
    type_ = ModPlug_GetModuleType(file_.get());
    const int milliseconds = ModPlug_GetLength(file_.get());
    length_ = milliseconds > 0 ? static_cast<uint64_t>(milliseconds) * Rate / 1000 : 0;
}

size_t ModPlugSong::render(float* out, size_t frames) {
    frames = std::min(frames, MaxFramesPerRender);
    mix_.resize(2 * frames);
    int bytes = 0;
    {
        const std::lock_guard guard(libraryLock());
        bytes =
            ModPlug_Read(file_.get(), mix_.data(), static_cast<int>(mix_.size() * sizeof(int32_t)));
    }
    const size_t got =
        bytes > 0 ? std::min(frames, static_cast<size_t>(bytes) / (2 * sizeof(int32_t))) : 0;
    constexpr float Scale = 1.0f / 2147483648.0f;
    for (size_t i = 0; i < 2 * got; ++i) {
        out[i] = static_cast<float>(mix_[i]) * Scale;
    }
    return got;
}

void ModPlugSong::rewind() {
    const std::lock_guard guard(libraryLock());
    ModPlug_Seek(file_.get(), 0);
}

} // namespace libmod_codec
