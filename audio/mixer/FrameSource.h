#pragma once
// Where a playing channel's decoded frames come from: a decoder shared with its Sound (streams)
// or a block of PCM decoded at creation (samples).
//
// Threading: used by one thread at a time: the channel's decode worker, or the GUI thread
// while it prefills a starting channel or the mixer decodes offline.

#include "Decoder.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace audio::detail {

class FrameSource {
public:
    virtual ~FrameSource() = default;
    // Interleaved stereo float frames into out; 0 at the end of the data.
    virtual size_t read(float* out, size_t frames) = 0;
    virtual Result seek(uint64_t frame) = 0;
    virtual Result selectSubsong(int index) = 0;
    // Ends a network stream's waits at once (a reconnect's back-off), so a worker blocked in
    // read() returns; the stream's data then ends for good. Other sources ignore it. Any thread.
    virtual void interrupt() {}
};

// A decoder with the lock that serialises its users (the worker, and readData on the GUI
// thread). The worker holds the lock for one block at a time.
struct SharedDecoder {
    std::mutex mutex;
    std::unique_ptr<Decoder> decoder;
};

class DecoderFrameSource final : public FrameSource {
public:
    explicit DecoderFrameSource(std::shared_ptr<SharedDecoder> shared)
        : shared_(std::move(shared)) {}
    size_t read(float* out, size_t frames) override {
        std::lock_guard lock(shared_->mutex);
        return shared_->decoder->read(out, frames);
    }
    Result seek(uint64_t frame) override {
        std::lock_guard lock(shared_->mutex);
        return shared_->decoder->seek(frame);
    }
    // Only network streams (files and blocks must stay playable on a later channel), and
    // without the lock: the worker may hold it, blocked in the read this is meant to end.
    void interrupt() override {
        if (shared_->decoder->streamStatus().reconnectTries > 0) {
            shared_->decoder->interrupt();
        }
    }
    Result selectSubsong(int index) override {
        std::lock_guard lock(shared_->mutex);
        return shared_->decoder->selectSubsong(index);
    }

private:
    std::shared_ptr<SharedDecoder> shared_;
};

class PcmFrameSource final : public FrameSource {
public:
    explicit PcmFrameSource(std::shared_ptr<const std::vector<float>> pcm) : pcm_(std::move(pcm)) {}
    size_t read(float* out, size_t frames) override {
        const size_t total = pcm_->size() / 2;
        const size_t n = next_ < total ? std::min(frames, total - next_) : 0;
        std::copy_n(pcm_->data() + next_ * 2, n * 2, out);
        next_ += n;
        return n;
    }
    Result seek(uint64_t frame) override {
        if (frame > pcm_->size() / 2) {
            return Result::SeekFailed;
        }
        next_ = frame;
        return Result::Ok;
    }
    Result selectSubsong(int index) override {
        return index == 0 ? Result::Ok : Result::Unsupported;
    }

private:
    std::shared_ptr<const std::vector<float>> pcm_;
    size_t next_ = 0;
};

} // namespace audio::detail
