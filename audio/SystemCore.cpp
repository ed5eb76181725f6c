#include "SystemCore.h"

#include "Normalizer.h"
#include "PluginRegistry.h"
#include "Reverb.h"
#include "SoundImpl.h"

#include <algorithm>
#include <cstdlib>

namespace audio::detail {

// The registry exists from the start, so that a loader thread's createSound only reads it.
SystemCore::SystemCore() : plugins_(std::make_unique<PluginRegistry>()), master_(this) {}

SystemCore::~SystemCore() {
    close();
}

PluginRegistry& SystemCore::plugins() {
    return *plugins_;
}

Result SystemCore::openOutput(const OutputSpec& requested) {
    OutputSpec outputSpec = requested;
    if (outputSpec.kind == OutputKind::Auto) {
        outputSpec.kind = OutputKind::Sdl;
        const char* env = std::getenv("TAMBERLO_OUTPUT");
        if (env != nullptr && *env != '\0' && parseOutputSpec(env, &outputSpec) != Result::Ok) {
            info_.detail = std::string("unknown TAMBERLO_OUTPUT \"") + env + "\", using sdl";
        }
    }
    info_.kind = outputSpec.kind;
    offline_ = outputSpec.kind == OutputKind::Offline;
    switch (outputSpec.kind) {
    case OutputKind::Offline:
        return Result::Ok;
    case OutputKind::Sdl: {
        std::string error;
        if (openSdlOutput(*mixer_, outputSpec.bufferFrames, &output_, &error) == Result::Ok) {
            return Result::Ok;
        }
        // A machine without a sound device still plays, silently, at real-time pace.
        info_.kind = OutputKind::Null;
        info_.fallbackReason = Result::OutputInitFailed;
        info_.detail = "SDL audio device: " + error + "; using the null output";
        return openPacedOutput(*mixer_, outputSpec.bufferFrames, "", &output_);
    }
    case OutputKind::Null:
        return openPacedOutput(*mixer_, outputSpec.bufferFrames, "", &output_);
    case OutputKind::Wav:
        return openPacedOutput(*mixer_, outputSpec.bufferFrames, outputSpec.wavPath, &output_);
    case OutputKind::Auto:
        break;
    }
    return Result::InvalidParameter;
}

Result SystemCore::init(int maxChannels, const OutputSpec& outputSpec) {
    if (initialised()) {
        return Result::NotReady;
    }
    if (maxChannels < 1 || maxChannels > 256 || outputSpec.sampleRate < 8000 ||
        outputSpec.sampleRate > 192000 || outputSpec.bufferFrames < 64 ||
        outputSpec.bufferFrames > 16384) {
        return Result::InvalidParameter;
    }
    std::vector<std::unique_ptr<Voice>> voices(static_cast<size_t>(maxChannels));
    for (auto& voice : voices) {
        const Result made = Voice::create(outputSpec.sampleRate, Mixer::ChunkFrames, &voice);
        if (made != Result::Ok) {
            return made;
        }
    }
    info_ = OutputInfo{};
    info_.sampleRate = outputSpec.sampleRate;
    info_.bufferFrames = outputSpec.bufferFrames;
    pool_ = std::make_shared<ChannelPool>(std::move(voices), false);
    mixer_ = std::make_unique<Mixer>(outputSpec.sampleRate, pool_->voices());
    const Result opened = openOutput(outputSpec);
    if (opened != Result::Ok) {
        pool_.reset();
        mixer_.reset();
        return opened == Result::InvalidParameter ? opened : Result::OutputInitFailed;
    }
    pool_->setRealtime(!offline_);
    return Result::Ok;
}

Result SystemCore::close() {
    if (!initialised()) {
        return Result::NotReady;
    }
    if (output_) {
        output_->close();
        output_.reset();
    }
    pool_->shutdown();
    std::vector<Sound*> left;
    {
        std::lock_guard lock(soundsMutex_);
        left.assign(sounds_.begin(), sounds_.end());
    }
    for (Sound* sound : left) {
        sound->release();
    }
    pool_.reset(); // outstanding Channel handles expire here
    mixer_.reset();
    dsps_.clear();
    return Result::Ok;
}

Result SystemCore::createSound(std::unique_ptr<Decoder> decoder, Mode mode, Sound** sound) {
    if (!initialised()) {
        return Result::NotReady;
    }
    std::unique_ptr<Sound::Impl> impl;
    const Result made = Sound::Impl::make(this, std::move(decoder), mode, &impl);
    if (made != Result::Ok) {
        return made;
    }
    *sound = new Sound(std::move(impl));
    std::lock_guard lock(soundsMutex_);
    sounds_.insert(*sound);
    return Result::Ok;
}

void SystemCore::forgetSound(Sound* sound) {
    for (Channel& channel : sound->impl().channels()) {
        channel.stop();
    }
    std::lock_guard lock(soundsMutex_);
    sounds_.erase(sound);
}

bool SystemCore::owns(Sound* sound) {
    std::lock_guard lock(soundsMutex_);
    return sounds_.count(sound) != 0;
}

Result SystemCore::playSound(Sound* sound, bool paused, Channel* channel) {
    return startChannel(sound, paused, nullptr, channel);
}

Result SystemCore::playSoundAfter(Sound* next, const Channel& current, Channel* channel) {
    if (channel != nullptr) {
        *channel = Channel();
    }
    if (!initialised()) {
        return Result::NotReady;
    }
    if (next == nullptr || sounds_.count(next) == 0 || current.pool_.lock() != pool_) {
        return Result::InvalidHandle;
    }
    ChannelSlot* before = pool_->live(current.index_, current.generation_);
    if (before == nullptr) {
        return Result::InvalidHandle;
    }
    if (before->successor >= 0) {
        return Result::InvalidParameter; // one queued channel per channel
    }
    if (before->sound == next && next->impl().isStream()) {
        return Result::InvalidParameter; // a stream's one decoder cannot play twice at once
    }
    const Queue queue{before, current.index_, current.generation_};
    return startChannel(next, false, &queue, channel);
}

Result SystemCore::startChannel(Sound* sound, bool paused, const Queue* after, Channel* channel) {
    if (channel != nullptr) {
        *channel = Channel();
    }
    if (!initialised()) {
        return Result::NotReady;
    }
    if (sound == nullptr || !owns(sound)) {
        return Result::InvalidHandle;
    }
    Sound::Impl& impl = sound->impl();
    auto& channels = impl.channels();
    // Forget handles that went stale; a stream plays on one channel at a time.
    channels.erase(std::remove_if(channels.begin(), channels.end(),
                                  [](const Channel& c) {
                                      bool playing = false;
                                      return c.isPlaying(&playing) != Result::Ok;
                                  }),
                   channels.end());
    if (impl.isStream()) {
        for (Channel& old : channels) {
            if (ChannelSlot* slot = pool_->live(old.index_, old.generation_)) {
                pool_->retireAndJoin(*slot); // its worker must not touch the decoder any more
            }
        }
        channels.clear();
    }
    uint32_t index = 0;
    ChannelSlot* slot = pool_->acquire(&index);
    if (slot == nullptr) {
        return Result::NoFreeChannel;
    }
    // Finding a slot reclaims finished channels: the one to queue after may have ended by now.
    if (after != nullptr && pool_->live(after->index, after->generation) == nullptr) {
        slot->inUse = false;
        return Result::InvalidHandle;
    }
    const Result prepared =
        slot->voice->prepare(impl.sampleRate(), offline_ ? slot->feeder.get() : nullptr);
    if (prepared != Result::Ok) {
        slot->inUse = false;
        return prepared;
    }
    slot->sound = sound;
    slot->epoch = 0;
    slot->sourceRate = impl.sampleRate();
    // Two blocks decoded here let the first callback play at once; more would keep the GUI
    // waiting on a slow network stream.
    slot->feeder->start(impl.playbackSource(), offline_ ? 0 : 2, !offline_);
    if (after != nullptr) {
        slot->voice->queue();
        pool_->link(*after->slot, after->index, *slot, index);
    } else {
        slot->voice->start(paused);
    }
    Channel handle(pool_, index, slot->generation);
    channels.push_back(handle);
    if (channel != nullptr) {
        *channel = handle;
    }
    return Result::Ok;
}

} // namespace audio::detail
