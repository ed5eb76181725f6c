#pragma once
// A time limit for blocking FFmpeg calls, checked through the format context's interrupt
// callback: when it passes, the blocked call returns AVERROR_EXIT. It bounds network opens and
// reads even where a protocol's own timeout options do not apply (DNS, TLS handshakes).
//
// Threading: arm() and the callback run on the decoder's thread.

#include <chrono>

namespace audio::ffmpeg {

class Deadline {
public:
    // Starts a limit of `milliseconds` (> 0) from now; 0 or less disarms it.
    void arm(int milliseconds) {
        armed_ = milliseconds > 0;
        end_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    }
    bool passed() const { return armed_ && std::chrono::steady_clock::now() >= end_; }

    // AVIOInterruptCB callback (opaque = this): non-zero aborts the blocked call.
    static int interrupt(void* opaque) { return static_cast<Deadline*>(opaque)->passed() ? 1 : 0; }

private:
    bool armed_ = false;
    std::chrono::steady_clock::time_point end_;
};

} // namespace audio::ffmpeg
