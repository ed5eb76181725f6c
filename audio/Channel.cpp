// Channel handle calls: each one looks the handle up in the pool and answers InvalidHandle
// when it is stale, so nothing reaches a voice that belongs to another channel.
#include "ChannelPool.h"
#include "SoundImpl.h"

#include <algorithm>
#include <cmath>

namespace audio {
namespace {

using detail::ChannelPool;
using detail::ChannelSlot;

// Resolves a handle; holds the pool alive for the call.
struct Resolved {
    std::shared_ptr<ChannelPool> pool;
    ChannelSlot* slot = nullptr;
};

Resolved resolve(const std::weak_ptr<ChannelPool>& weak, uint32_t index, uint32_t generation) {
    Resolved r;
    r.pool = weak.lock();
    if (r.pool) {
        r.slot = r.pool->live(index, generation);
    }
    return r;
}

} // namespace

#define AUDIO_RESOLVE_OR_FAIL()                                                                    \
    Resolved r = resolve(pool_, index_, generation_);                                              \
    if (r.slot == nullptr) {                                                                       \
        return Result::InvalidHandle;                                                              \
    }

Result Channel::setPaused(bool paused) {
    AUDIO_RESOLVE_OR_FAIL();
    r.slot->voice->setPaused(paused);
    return Result::Ok;
}

Result Channel::getPaused(bool* paused) const {
    AUDIO_RESOLVE_OR_FAIL();
    if (paused == nullptr) {
        return Result::InvalidParameter;
    }
    *paused = r.slot->voice->paused();
    return Result::Ok;
}

Result Channel::stop() {
    AUDIO_RESOLVE_OR_FAIL();
    r.pool->retire(*r.slot);
    return Result::Ok;
}

Result Channel::isPlaying(bool* playing) const {
    if (playing != nullptr) {
        *playing = false;
    }
    AUDIO_RESOLVE_OR_FAIL();
    if (playing == nullptr) {
        return Result::InvalidParameter;
    }
    *playing = true;
    return Result::Ok;
}

Result Channel::getPosition(unsigned* position, TimeUnit unit) const {
    AUDIO_RESOLVE_OR_FAIL();
    if (position == nullptr) {
        return Result::InvalidParameter;
    }
    const uint64_t frames = r.slot->voice->position();
    const auto rate = static_cast<uint64_t>(r.slot->sourceRate);
    uint64_t value = 0;
    switch (unit) {
    case TimeUnit::Pcm:
        value = frames;
        break;
    case TimeUnit::Ms:
        value = frames * 1000 / rate;
        break;
    case TimeUnit::RawBytes: {
        const int64_t bitRate = std::max<int64_t>(0, r.slot->sound->impl().bitRate());
        value = frames * static_cast<uint64_t>(bitRate) / 8 / rate;
        break;
    }
    case TimeUnit::SubsongCount:
        return Result::InvalidParameter;
    }
    *position = static_cast<unsigned>(std::min<uint64_t>(value, UnknownLength - 1));
    return Result::Ok;
}

Result Channel::setPosition(unsigned position, TimeUnit unit) {
    AUDIO_RESOLVE_OR_FAIL();
    ChannelSlot& slot = *r.slot;
    Sound::Impl& sound = slot.sound->impl();
    if (unit == TimeUnit::SubsongCount) {
        if (static_cast<int>(position) >= sound.subsongCount()) {
            return Result::InvalidParameter;
        }
        if (!sound.isStream() && position != 0) {
            return Result::Unsupported; // a sample holds only the subsong it was decoded from
        }
        ++slot.epoch;
        slot.voice->seek(slot.epoch, 0);
        if (sound.isStream()) {
            slot.feeder->requestSubsong(slot.epoch, static_cast<int>(position));
        } else {
            slot.feeder->requestSeek(slot.epoch, 0);
        }
        return Result::Ok;
    }
    uint64_t frame = 0;
    const auto rate = static_cast<uint64_t>(slot.sourceRate);
    switch (unit) {
    case TimeUnit::Pcm:
        frame = position;
        break;
    case TimeUnit::Ms:
        // The first frame at or after that time, so the position reads back as the same ms.
        frame = (uint64_t{position} * rate + 999) / 1000;
        break;
    default:
        return Result::InvalidParameter;
    }
    const uint64_t length = sound.lengthFrames();
    if (length == UnknownFrames) {
        return Result::Unsupported;
    }
    if (frame > length) {
        return Result::SeekFailed;
    }
    ++slot.epoch;
    slot.voice->seek(slot.epoch, frame);
    slot.feeder->requestSeek(slot.epoch, frame);
    return Result::Ok;
}

Result Channel::setFrequency(float hz) {
    AUDIO_RESOLVE_OR_FAIL();
    if (!(hz > 0.0f) || std::isinf(hz)) {
        return Result::InvalidParameter;
    }
    // Above this the resampler would be asked for a ratio beyond what it was built for.
    const float limit =
        static_cast<float>(MaxSpeed) * static_cast<float>(r.slot->voice->outputRate());
    r.slot->voice->setFrequency(std::min(hz, limit));
    return Result::Ok;
}

Result Channel::getFrequency(float* hz) const {
    AUDIO_RESOLVE_OR_FAIL();
    if (hz == nullptr) {
        return Result::InvalidParameter;
    }
    *hz = r.slot->voice->frequency();
    return Result::Ok;
}

Result Channel::setPan(float pan) {
    AUDIO_RESOLVE_OR_FAIL();
    if (std::isnan(pan)) {
        return Result::InvalidParameter;
    }
    r.slot->voice->setPan(std::clamp(pan, -1.0f, 1.0f));
    return Result::Ok;
}

Result Channel::getPan(float* pan) const {
    AUDIO_RESOLVE_OR_FAIL();
    if (pan == nullptr) {
        return Result::InvalidParameter;
    }
    *pan = r.slot->voice->pan();
    return Result::Ok;
}

Result Channel::getWaveData(float* out, int count, int side) const {
    AUDIO_RESOLVE_OR_FAIL();
    if (out == nullptr || count < 1 || count > MaxWaveData || (side != 0 && side != 1)) {
        return Result::InvalidParameter;
    }
    r.slot->voice->copyWave(out, static_cast<size_t>(count), side);
    return Result::Ok;
}

#undef AUDIO_RESOLVE_OR_FAIL

} // namespace audio
