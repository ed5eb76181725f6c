#include "FcChannel.h"

namespace fc {

namespace {
uint64_t fixed(uint32_t bytes) {
    return uint64_t{bytes} << 32;
}
} // namespace

void Channel::start(const Sound& sound) {
    data_ = sound.data;
    length_ = sound.length;
    position_ = 0;
    loopData_ = sound.loopLength > 0 ? sound.data + sound.loopStart : nullptr;
    loopLength_ = sound.loopLength;
}

void Channel::queue(const Sound& sound) {
    if (data_ == nullptr) {
        start(sound);
        return;
    }
    if (sound.loopLength > 0) {
        loopData_ = sound.data + sound.loopStart;
        loopLength_ = sound.loopLength;
    } else {
        loopData_ = sound.data;
        loopLength_ = sound.length;
    }
}

void Channel::setPeriod(int period) {
    step_ = (uint64_t{PaulaClockHz} << 32) / (static_cast<uint64_t>(period) * OutputRate);
}

void Channel::wrap() {
    while (data_ != nullptr && position_ >= fixed(length_)) {
        position_ -= fixed(length_);
        if (loopData_ == nullptr || loopLength_ == 0) {
            data_ = nullptr;
            return;
        }
        data_ = loopData_;
        length_ = loopLength_;
        position_ %= fixed(length_);
    }
}

void Channel::mix(float* out, size_t stride, size_t frames, float gain) {
    const float scale = gain * static_cast<float>(volume_) / (64.0f * 128.0f);
    for (size_t i = 0; i < frames && data_ != nullptr; ++i) {
        const uint32_t index = static_cast<uint32_t>(position_ >> 32);
        const float fraction = static_cast<float>(position_ & 0xFFFFFFFFu) * (1.0f / 4294967296.0f);
        const float here = data_[index];
        float next = 0;
        if (index + 1 < length_) {
            next = data_[index + 1];
        } else if (loopData_ != nullptr) {
            next = loopData_[0];
        }
        out[i * stride] += scale * (here + (next - here) * fraction);
        position_ += step_;
        wrap();
    }
}

void Channel::skip(uint64_t frames) {
    if (data_ != nullptr) {
        position_ += step_ * frames;
        wrap();
    }
}

} // namespace fc
