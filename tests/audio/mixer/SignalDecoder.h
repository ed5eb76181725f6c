#pragma once
// A Decoder that generates exact signals, so mixer tests can predict every output sample.
// Each subsong is a function of the frame index; seeking is exact.

#include "Decoder.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace audio::test {

struct Frame {
    float left;
    float right;
};
using Signal = std::function<Frame(uint64_t frame)>;

class SignalDecoder final : public Decoder {
public:
    // frames: length of every subsong (UnknownFrames: endless, unseekable like a live stream).
    SignalDecoder(int rate, uint64_t frames, std::vector<Signal> subsongs)
        : rate_(rate), frames_(frames), subsongs_(std::move(subsongs)) {}

    int sampleRate() const override { return rate_; }
    SoundType type() const override { return SoundType::WAV; }
    uint64_t lengthFrames() const override { return frames_; }
    uint64_t lengthRawBytes() const override { return frames_ == UnknownFrames ? 0 : frames_ * 4; }
    int64_t bitRate() const override { return int64_t{rate_} * 32; }
    int subsongCount() const override { return static_cast<int>(subsongs_.size()); }
    Result selectSubsong(int index) override {
        if (index < 0 || index >= subsongCount()) {
            return Result::InvalidParameter;
        }
        current_ = static_cast<size_t>(index);
        next_ = 0;
        return Result::Ok;
    }
    size_t read(float* out, size_t frames) override {
        size_t n = 0;
        for (; n < frames && (frames_ == UnknownFrames || next_ < frames_); ++n, ++next_) {
            const Frame f = subsongs_[current_](next_);
            out[2 * n] = f.left;
            out[2 * n + 1] = f.right;
        }
        return n;
    }
    Result seek(uint64_t frame) override {
        if (frames_ == UnknownFrames) {
            return Result::Unsupported;
        }
        if (frame > frames_) {
            return Result::SeekFailed;
        }
        next_ = frame;
        return Result::Ok;
    }
    Result lastError() const override { return Result::Ok; }

private:
    int rate_;
    uint64_t frames_;
    std::vector<Signal> subsongs_;
    size_t current_ = 0;
    uint64_t next_ = 0;
};

// Distinct, exactly representable values: frame i plays i / 2^20 on the left and its negation
// on the right, so any output sample tells which source frame it came from.
inline Frame ramp(uint64_t frame) {
    const float v = static_cast<float>(frame % (1u << 20)) / static_cast<float>(1u << 20);
    return {v, -v};
}

inline std::unique_ptr<Decoder> makeSignal(int rate, uint64_t frames, Signal signal) {
    return std::make_unique<SignalDecoder>(rate, frames, std::vector<Signal>{std::move(signal)});
}

} // namespace audio::test
