#include "Feeder.h"

#include "SampleGuard.h"

#include <algorithm>

namespace audio::detail {

Feeder::~Feeder() {
    stop();
    join();
}

void Feeder::start(std::shared_ptr<FrameSource> source, int prefillBlocks, bool threaded) {
    source_ = std::move(source);
    request_ = {};
    quit_ = false;
    exited_.store(false, std::memory_order_relaxed);
    epoch_ = 0;
    nextFrame_ = 0;
    ended_ = false;
    failed_ = false;
    for (int i = 0; i < prefillBlocks && produce(); ++i) {
    }
    if (threaded) {
        thread_ = std::thread([this] { run(); });
    }
}

void Feeder::requestSeek(uint32_t epoch, uint64_t frame) {
    {
        std::lock_guard lock(mutex_);
        request_ = {true, false, epoch, frame};
    }
    wake_.notify_one();
}

void Feeder::requestSubsong(uint32_t epoch, int subsong) {
    {
        std::lock_guard lock(mutex_);
        request_ = {true, true, epoch, static_cast<uint64_t>(subsong)};
    }
    wake_.notify_one();
}

void Feeder::stop() {
    {
        std::lock_guard lock(mutex_);
        quit_ = true;
    }
    wake_.notify_one();
    // A stream waiting to reconnect would hold the worker (and its channel) for up to the
    // whole back-off after the channel was stopped.
    if (source_ != nullptr) {
        source_->interrupt();
    }
}

void Feeder::join() {
    if (thread_.joinable()) {
        thread_.join();
    }
    source_.reset();
}

void Feeder::applyRequest() {
    Request request;
    {
        std::lock_guard lock(mutex_);
        if (!request_.pending) {
            return;
        }
        request = request_;
        request_.pending = false;
    }
    epoch_ = request.epoch;
    ended_ = false;
    Result result;
    if (request.subsong) {
        result = source_->selectSubsong(static_cast<int>(request.value));
        nextFrame_ = 0;
    } else {
        result = source_->seek(request.value);
        nextFrame_ = request.value;
    }
    // Nothing sensible follows a failed seek: the channel ends rather than play from a position
    // that is not the one asked for.
    failed_ = result != Result::Ok;
}

bool Feeder::produce() {
    if (source_ == nullptr) {
        return false;
    }
    applyRequest();
    if (ended_) {
        return false;
    }
    AudioBlock* block = ring_.beginWrite();
    if (block == nullptr) {
        return false;
    }
    const size_t frames = failed_ ? 0 : source_->read(block->samples, AudioBlock::MaxFrames);
    keepSamplesSafe(block->samples, frames * 2);
    block->epoch = epoch_;
    block->frames = static_cast<uint32_t>(frames);
    block->startFrame = nextFrame_;
    block->endOfData = frames == 0;
    ended_ = frames == 0;
    nextFrame_ += frames;
    ring_.commitWrite();
    return true;
}

std::chrono::nanoseconds Feeder::nextPause(std::chrono::steady_clock::time_point now) {
    // The mixer drains the ring at the channel's speed, which the worker does not know: it
    // measures it over the last pause and sleeps for about a quarter of the time the mixer
    // needs to drain the whole ring at that speed. A ring that did not drain at all (paused)
    // doubles the pause. Both within MinPause..MaxPause.
    const size_t consumed = ring_.consumed();
    const size_t drained = consumed - lastConsumed_;
    const auto elapsed = now - lastLook_;
    lastConsumed_ = consumed;
    lastLook_ = now;
    std::chrono::nanoseconds pause = pause_ * 2;
    if (drained > 0) {
        pause = elapsed * ring_.capacity() / (4 * drained);
    }
    pause_ = std::clamp<std::chrono::nanoseconds>(pause, MinPause, MaxPause);
    return pause_;
}

void Feeder::run() {
    lastLook_ = std::chrono::steady_clock::now();
    lastConsumed_ = ring_.consumed();
    for (;;) {
        {
            std::lock_guard lock(mutex_);
            if (quit_) {
                break;
            }
        }
        if (!produce()) {
            // The ring is full or the data has ended: wait for the mixer to drain some blocks
            // (polling keeps the real-time side free of any wake-up call) or for a request.
            const auto pause = nextPause(std::chrono::steady_clock::now());
            std::unique_lock lock(mutex_);
            wake_.wait_for(lock, pause, [this] { return quit_ || request_.pending; });
        }
    }
    exited_.store(true, std::memory_order_release);
}

} // namespace audio::detail
