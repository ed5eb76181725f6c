#include "Voice.h"

#include <algorithm>
#include <cstring>

namespace audio::detail {

static_assert(std::atomic_ref<uint64_t>::is_always_lock_free, "the mixer must never take a lock");
static_assert(alignof(std::max_align_t) >= std::atomic_ref<uint64_t>::required_alignment);
static_assert(sizeof(uint64_t) == 2 * sizeof(float), "a history element holds one stereo frame");

Result Voice::create(int outputRate, size_t maxFrames, std::unique_ptr<Voice>* out) {
    out->reset(new Voice(maxFrames, outputRate));
    return Result::Ok;
}

Voice::Voice(size_t maxFrames, int outputRate)
    : ring_(RingBlocks), scratch_(maxFrames * 2), maxFrames_(maxFrames), outputRate_(outputRate),
      wave_(makeZeroedArray<uint64_t>(WaveHistory)) {}

Result Voice::prepare(int sourceRate, BlockProducer* inlineProducer) {
    // The first use makes the resampler and commits the ring's pages, here on the GUI thread
    // rather than at start-up for voices that may never play, and never in the mixer.
    if (!resampler_) {
        // Channel::setFrequency keeps the ratio at or below MaxSpeed.
        const Result made = Resampler::create(8.0, &resampler_);
        if (made != Result::Ok) {
            return made;
        }
        ring_.prefault();
    }
    ring_.reset();
    resampler_->clear();
    inlineProducer_ = inlineProducer;
    successor_.store(nullptr, std::memory_order_relaxed);
    paused_.store(false, std::memory_order_relaxed);
    frequency_.store(static_cast<float>(sourceRate), std::memory_order_relaxed);
    pan_.store(0.0f, std::memory_order_relaxed);
    seekFrame_.store(0, std::memory_order_relaxed);
    epoch_.store(0, std::memory_order_relaxed);
    epochSeen_.store(0, std::memory_order_relaxed);
    position_.store(0, std::memory_order_relaxed);
    mixEpoch_ = 0;
    blockOffset_ = 0;
    mixPosition_ = 0;
    resampling_ = false;
    flushed_ = false;
    primed_ = false;
    for (size_t i = 0; i < WaveHistory; ++i) {
        std::atomic_ref<uint64_t>(wave_[i]).store(0, std::memory_order_relaxed);
    }
    waveWritten_.store(0, std::memory_order_release);
    return Result::Ok;
}

uint64_t Voice::position() const {
    const uint32_t wanted = epoch_.load(std::memory_order_acquire);
    if (epochSeen_.load(std::memory_order_acquire) != wanted) {
        return seekFrame_.load(std::memory_order_relaxed);
    }
    return position_.load(std::memory_order_relaxed);
}

void Voice::copyWave(float* out, size_t count, int side) const {
    const uint64_t written = waveWritten_.load(std::memory_order_acquire);
    const uint64_t first = written - count; // wraps harmlessly: the history starts as zeros
    for (size_t i = 0; i < count; ++i) {
        const uint64_t frame = std::atomic_ref<uint64_t>(wave_[(first + i) & (WaveHistory - 1)])
                                   .load(std::memory_order_relaxed);
        float pair[2];
        std::memcpy(pair, &frame, sizeof pair);
        out[i] = pair[side == 0 ? 0 : 1];
    }
}

AudioBlock* Voice::currentBlock() {
    for (;;) {
        AudioBlock* block = ring_.front();
        if (block == nullptr && inlineProducer_ != nullptr && inlineProducer_->produce()) {
            block = ring_.front();
        }
        if (block == nullptr) {
            return nullptr;
        }
        if (block->epoch == mixEpoch_) {
            return block;
        }
        ring_.pop(); // left over from before a seek
        blockOffset_ = 0;
    }
}

size_t Voice::produce(float* mix, size_t frames, bool* underrun) {
    size_t produced = 0;
    // Every pass consumes a block, produces output or stops, so the loop is bounded by the
    // ring size plus the chunk size; the cap only guards against a resampler that stalls.
    for (int guard = 0; produced < frames && guard < 4096; ++guard) {
        AudioBlock* block = currentBlock();
        if (block == nullptr) {
            // Waiting for the first block after a start or seek is not an underrun.
            *underrun = primed_;
            break;
        }
        primed_ = true;
        const size_t available = block->frames - blockOffset_;
        if (available == 0 && block->endOfData) {
            if (!resampling_ || flushed_) {
                finish(mix + produced * 2, frames - produced, underrun);
                break;
            }
            size_t consumed = 0;
            size_t made = 0;
            resampler_->process(nullptr, 0, &consumed, scratch_.data(), frames - produced, &made);
            deliver(scratch_.data(), made, mix + produced * 2);
            produced += made;
            mixPosition_ += static_cast<double>(made) * resampler_->ratio();
            if (made == 0) {
                flushed_ = true;
            }
            continue;
        }
        float* in = block->samples + size_t{blockOffset_} * 2;
        size_t consumed = 0;
        size_t made = 0;
        if (resampling_) {
            resampler_->process(in, available, &consumed, scratch_.data(), frames - produced,
                                &made);
            deliver(scratch_.data(), made, mix + produced * 2);
        } else {
            // Straight from the block: it is ours until popped, and these frames are done.
            consumed = made = std::min(available, frames - produced);
            deliver(in, made, mix + produced * 2);
        }
        produced += made;
        blockOffset_ += static_cast<uint32_t>(consumed);
        mixPosition_ += resampling_ ? static_cast<double>(made) * resampler_->ratio()
                                    : static_cast<double>(consumed);
        if (blockOffset_ == block->frames && !block->endOfData) {
            ring_.pop();
            blockOffset_ = 0;
        }
    }
    // A channel whose last frame was just played ends now, not one call later, so whoever
    // watches isPlaying (the render tool, a playlist) does not add a buffer of silence.
    if (produced == frames && !resampling_) {
        const AudioBlock* next = currentBlock();
        if (next != nullptr && next->endOfData && next->frames == blockOffset_) {
            finish(mix + produced * 2, 0, underrun);
        }
    }
    return produced;
}

void Voice::finish(float* rest, size_t restFrames, bool* underrun) {
    // The successor is started before this voice reads as Done, so the GUI thread, once it
    // sees Done, finds the successor Playing and leaves it alone. A voice the GUI is stopping
    // hands over nothing.
    Voice* next = successor_.load(std::memory_order_acquire);
    if (next != nullptr && state_.load(std::memory_order_acquire) == VoiceState::Playing) {
        next->takeOver(rest, restFrames, pass_, underrun);
    }
    state_.store(VoiceState::Done, std::memory_order_release);
}

bool Voice::takeOver(float* mix, size_t frames, uint64_t pass, bool* underrun) {
    VoiceState expected = VoiceState::Queued;
    if (!state_.compare_exchange_strong(expected, VoiceState::Playing, std::memory_order_acq_rel)) {
        return false;
    }
    lastPass_ = pass;
    pass_ = pass;
    *underrun = renderPass(mix, frames) || *underrun;
    return true;
}

void Voice::deliver(float* frames, size_t count, float* mix) {
    if (gainLeft_ != 1.0f || gainRight_ != 1.0f) {
        for (size_t i = 0; i < count; ++i) {
            frames[2 * i] *= gainLeft_;
            frames[2 * i + 1] *= gainRight_;
        }
    }
    recordHistory(frames, count);
    for (size_t i = 0; i < count * 2; ++i) {
        mix[i] += frames[i];
    }
}

void Voice::recordHistory(const float* frames, size_t count) {
    const uint64_t written = waveWritten_.load(std::memory_order_relaxed);
    // Only the newest WaveHistory frames can ever be read; they land in at most two runs.
    const size_t kept = std::min(count, WaveHistory);
    const float* from = frames + 2 * (count - kept);
    size_t at = static_cast<size_t>((written + count - kept) & (WaveHistory - 1));
    uint64_t* wave = wave_.get();
    for (size_t left = kept; left > 0;) {
        const size_t run = std::min(left, WaveHistory - at);
        if (from == nullptr) {
            for (size_t i = 0; i < run; ++i) {
                std::atomic_ref<uint64_t>(wave[at + i]).store(0, std::memory_order_relaxed);
            }
        } else {
            for (size_t i = 0; i < run; ++i) {
                uint64_t frame;
                std::memcpy(&frame, from + 2 * i, sizeof frame);
                std::atomic_ref<uint64_t>(wave[at + i]).store(frame, std::memory_order_relaxed);
            }
            from += 2 * run;
        }
        left -= run;
        at = 0;
    }
    waveWritten_.store(written + count, std::memory_order_release);
}

bool Voice::render(float* mix, size_t frames, uint64_t pass) {
    if (pass == lastPass_) {
        return false; // started by its predecessor earlier in this pass
    }
    lastPass_ = pass;
    pass_ = pass;
    return renderPass(mix, frames);
}

bool Voice::renderPass(float* mix, size_t frames) {
    const VoiceState state = state_.load(std::memory_order_acquire);
    if (state == VoiceState::StopRequested) {
        state_.store(VoiceState::Done, std::memory_order_release);
        return false;
    }
    if (state != VoiceState::Playing) {
        return false;
    }
    const uint32_t epoch = epoch_.load(std::memory_order_acquire);
    if (epoch != mixEpoch_) {
        mixEpoch_ = epoch;
        mixPosition_ = static_cast<double>(seekFrame_.load(std::memory_order_relaxed));
        blockOffset_ = 0;
        resampler_->clear();
        resampling_ = false;
        flushed_ = false;
        primed_ = false;
        position_.store(static_cast<uint64_t>(mixPosition_), std::memory_order_relaxed);
        epochSeen_.store(epoch, std::memory_order_release);
    }
    if (paused_.load(std::memory_order_relaxed)) {
        return false;
    }
    const double ratio =
        static_cast<double>(frequency_.load(std::memory_order_relaxed)) / outputRate_;
    if (ratio != 1.0) {
        resampling_ = true;
    }
    if (resampling_) {
        resampler_->setRatio(ratio);
    }
    const float pan = pan_.load(std::memory_order_relaxed);
    gainLeft_ = pan > 0.0f ? 1.0f - pan : 1.0f;
    gainRight_ = pan < 0.0f ? 1.0f + pan : 1.0f;
    frames = std::min(frames, maxFrames_);
    bool underrun = false;
    const size_t produced = produce(mix, frames, &underrun);
    position_.store(static_cast<uint64_t>(mixPosition_), std::memory_order_relaxed);
    if (produced == 0 && state_.load(std::memory_order_relaxed) == VoiceState::Done) {
        return underrun; // only a successor that took over can have set it
    }
    // The rest of the chunk is silence, and the history says so.
    recordHistory(nullptr, frames - produced);
    return underrun;
}

} // namespace audio::detail
