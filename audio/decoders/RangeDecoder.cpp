#include "RangeDecoder.h"

#include <algorithm>

namespace audio {

namespace {

class RangeDecoder final : public Decoder {
public:
    // `end` is already clamped to the inner length (or UnknownFrames); start < end.
    RangeDecoder(std::unique_ptr<Decoder> inner, uint64_t start, uint64_t end)
        : inner_(std::move(inner)), start_(start), end_(end), position_(start) {}

    int sampleRate() const override { return inner_->sampleRate(); }
    SoundType type() const override { return inner_->type(); }
    std::string formatName() const override { return inner_->formatName(); }
    uint64_t lengthFrames() const override {
        return end_ == UnknownFrames ? UnknownFrames : end_ - start_;
    }
    uint64_t lengthRawBytes() const override { return inner_->lengthRawBytes(); }
    int64_t bitRate() const override { return inner_->bitRate(); }
    // The range lies in the subsong that was current when it was made; it has no others.
    int subsongCount() const override { return 1; }
    Result selectSubsong(int index) override {
        return index == 0 ? seek(0) : Result::InvalidParameter;
    }

    size_t read(float* out, size_t frames) override {
        if (end_ != UnknownFrames) {
            frames = static_cast<size_t>(std::min<uint64_t>(frames, end_ - position_));
        }
        if (frames == 0) {
            return 0;
        }
        const size_t got = inner_->read(out, frames);
        position_ += got;
        return got;
    }

    Result seek(uint64_t frame) override {
        if (end_ != UnknownFrames && frame > end_ - start_) {
            return Result::SeekFailed;
        }
        const Result sought = inner_->seek(start_ + frame);
        if (sought == Result::Ok) {
            position_ = start_ + frame;
        }
        return sought;
    }

    Result lastError() const override { return inner_->lastError(); }
    StreamStatus streamStatus() const override { return inner_->streamStatus(); }
    void interrupt() override { inner_->interrupt(); }

private:
    std::unique_ptr<Decoder> inner_;
    uint64_t start_;
    uint64_t end_;
    uint64_t position_; // inner frame the next read starts at
};

} // namespace

uint64_t rangeMsToFrames(uint32_t ms, int sampleRate) {
    return (uint64_t{ms} * static_cast<uint64_t>(std::max(sampleRate, 0)) + 500) / 1000;
}

Result openRangeDecoder(std::unique_ptr<Decoder> inner, uint64_t startFrame, uint64_t endFrame,
                        std::unique_ptr<Decoder>* out) {
    if (inner == nullptr || out == nullptr) {
        return Result::InvalidParameter;
    }
    const uint64_t innerLength = inner->lengthFrames();
    if (innerLength != UnknownFrames) {
        endFrame = std::min(endFrame, innerLength);
    }
    if (startFrame >= endFrame) {
        return Result::InvalidParameter;
    }
    if (startFrame > 0) {
        const Result sought = inner->seek(startFrame);
        if (sought != Result::Ok) {
            return sought;
        }
    }
    *out = std::make_unique<RangeDecoder>(std::move(inner), startFrame, endFrame);
    return Result::Ok;
}

} // namespace audio
