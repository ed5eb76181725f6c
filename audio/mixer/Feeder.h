#pragma once
// Decodes a playing channel ahead of the mixer into the channel's block ring, and carries out
// the seeks and subsong switches the GUI asks for. Runs on its own worker thread for real-time
// outputs; for the offline output the mixer calls produce() on the caller's thread instead.
//
// Threading: start/request*/stop/join/exited are GUI-thread calls; the worker thread (or, with
// no thread, the mixer through produce) does the decoding. Requests cross under a mutex that
// the real-time mixer never touches.

#include "BlockRing.h"
#include "FrameSource.h"
#include "Voice.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace audio::detail {

class Feeder final : public BlockProducer {
public:
    explicit Feeder(BlockRing& ring) : ring_(ring) {}
    ~Feeder() override;
    Feeder(const Feeder&) = delete;
    Feeder& operator=(const Feeder&) = delete;

    // Binds a source (ring reset by the caller). Decodes `prefillBlocks` blocks right away so
    // a starting channel has sound at once; then starts the worker when `threaded`.
    void start(std::shared_ptr<FrameSource> source, int prefillBlocks, bool threaded);
    // The next blocks belong to `epoch` and start at `frame` / at the start of `subsong`.
    void requestSeek(uint32_t epoch, uint64_t frame);
    void requestSubsong(uint32_t epoch, int subsong);
    // Asks the worker to end; it does after its current block.
    void stop();
    // True once no worker runs (never started, or it has returned).
    bool exited() const { return !thread_.joinable() || exited_.load(std::memory_order_acquire); }
    // Waits for the worker (after stop) and drops the source.
    void join();

    bool produce() override;

private:
    struct Request {
        bool pending = false;
        bool subsong = false;
        uint32_t epoch = 0;
        uint64_t value = 0;
    };
    void run();
    void applyRequest();
    // How long the worker waits for the mixer when the ring is full (see Feeder.cpp).
    std::chrono::nanoseconds nextPause(std::chrono::steady_clock::time_point now);

    static constexpr std::chrono::nanoseconds MinPause = std::chrono::milliseconds(5);
    static constexpr std::chrono::nanoseconds MaxPause = std::chrono::milliseconds(40);

    BlockRing& ring_;
    std::shared_ptr<FrameSource> source_;
    std::mutex mutex_;
    std::condition_variable wake_;
    Request request_;
    bool quit_ = false;
    std::thread thread_;
    std::atomic<bool> exited_{false};

    // Producer-side state.
    uint32_t epoch_ = 0;
    uint64_t nextFrame_ = 0;
    bool ended_ = false;
    bool failed_ = false; // the last seek or subsong switch failed

    // Worker-side pacing.
    std::chrono::steady_clock::time_point lastLook_;
    size_t lastConsumed_ = 0;
    std::chrono::nanoseconds pause_ = MinPause;
};

} // namespace audio::detail
