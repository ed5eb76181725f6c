#pragma once
// Limits for blocking FFmpeg calls, checked through the format context's interrupt callback:
// when one is crossed, the blocked call returns AVERROR_EXIT.
// - A time limit bounds network opens and reads even where a protocol's own timeout options do
//   not apply (DNS, TLS handshakes, a server that trickles its headers forever).
// - A byte budget bounds what a network stream may deliver without giving sound: a demuxer
//   keeps in memory what it cannot yet use (a tag of hundreds of megabytes, a packet that never
//   ends), so memory would otherwise grow with the bytes the server sends.
// - An interruption (StreamInterruption.h) ends a blocked call when the sound goes away.
// - A cancel flag from the caller of the open ends it when nobody waits for it any more.
//
// Threading: arm/watch/noteProgress and the callback run on the decoder's thread; only the
// interruption and the cancel flag are set from other threads (they are atomic).

#include "FfmpegHeaders.h"
#include "StreamInterruption.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

namespace audio::ffmpeg {

class InputGuard {
public:
    // Starts a limit of `milliseconds` (> 0) from now; 0 or less disarms it.
    void arm(int milliseconds) {
        armed_ = milliseconds > 0;
        end_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    }
    bool timedOut() const { return armed_ && std::chrono::steady_clock::now() >= end_; }

    // From now on `io` may deliver at most `budget` bytes between two noteProgress calls.
    void watch(const AVIOContext* io, int64_t budget) {
        io_ = io;
        budget_ = budget;
        noteProgress();
    }
    // Sound came out: the budget starts again.
    void noteProgress() { progressAt_ = io_ != nullptr ? io_->bytes_read : 0; }
    bool overBudget() const { return io_ != nullptr && io_->bytes_read - progressAt_ > budget_; }

    // From now on `interruption` (null: none; it must outlive the guard) also aborts calls.
    void obey(const StreamInterruption* interruption) { interruption_ = interruption; }
    bool interrupted() const { return interruption_ != nullptr && interruption_->interrupted(); }
    // From now on `cancel` (null: none) turning true also aborts calls.
    void cancelWith(std::shared_ptr<const std::atomic<bool>> cancel) {
        cancel_ = std::move(cancel);
    }
    bool cancelled() const { return cancel_ != nullptr && cancel_->load(); }

    // AVIOInterruptCB callback (opaque = this): non-zero aborts the blocked call.
    static int interrupt(void* opaque) {
        const auto* guard = static_cast<const InputGuard*>(opaque);
        return guard->timedOut() || guard->overBudget() || guard->interrupted() ||
                       guard->cancelled()
                   ? 1
                   : 0;
    }

private:
    bool armed_ = false;
    std::chrono::steady_clock::time_point end_;
    const AVIOContext* io_ = nullptr;
    int64_t budget_ = 0;
    int64_t progressAt_ = 0;
    const StreamInterruption* interruption_ = nullptr;
    std::shared_ptr<const std::atomic<bool>> cancel_;
};

} // namespace audio::ffmpeg
