#pragma once
// Lets another thread end a decoder's network waits at once: the back-off between reconnect
// tries (a condition variable, so the wait ends the moment it is asked to) and, through
// InputGuard, any FFmpeg call blocked on the server. Once interrupted it stays interrupted.
//
// Threading: interrupt and interrupted from any thread; waitFor on the decoder's thread.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace audio::ffmpeg {

class StreamInterruption {
public:
    void interrupt() {
        {
            // Set under the lock so that a waiter between its check and its sleep sees it.
            std::lock_guard lock(mutex_);
            interrupted_.store(true, std::memory_order_release);
        }
        wake_.notify_all();
    }
    bool interrupted() const { return interrupted_.load(std::memory_order_acquire); }

    // Waits `duration`; returns false at once when interrupted before or during the wait.
    bool waitFor(std::chrono::milliseconds duration) {
        std::unique_lock lock(mutex_);
        return !wake_.wait_for(lock, duration, [this] { return interrupted(); });
    }

private:
    std::atomic<bool> interrupted_{false};
    std::mutex mutex_;
    std::condition_variable wake_;
};

} // namespace audio::ffmpeg
