// The null and wav outputs: a thread of our own that mixes one buffer per period, sleeping
// until the next period's deadline, so playback runs at real-time pace without a device.
#include "Output.h"
#include "WavWriter.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace audio::detail {
namespace {

class PacedOutput final : public Output {
public:
    PacedOutput(Mixer& mixer, int bufferFrames, std::unique_ptr<WavWriter> wav)
        : mixer_(mixer), bufferFrames_(static_cast<size_t>(bufferFrames)), wav_(std::move(wav)),
          buffer_(bufferFrames_ * 2) {
        thread_ = std::thread([this] { run(); });
    }
    ~PacedOutput() override { close(); }

    void close() override {
        quit_.store(true, std::memory_order_relaxed);
        if (thread_.joinable()) {
            thread_.join();
        }
        if (wav_) {
            wav_->finish();
        }
    }

private:
    void run() {
        using Clock = std::chrono::steady_clock;
        const auto period =
            std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(
                static_cast<double>(bufferFrames_) / mixer_.sampleRate()));
        auto deadline = Clock::now();
        while (!quit_.load(std::memory_order_relaxed)) {
            mixer_.renderTimed(buffer_.data(), bufferFrames_);
            // The mix itself stays free of I/O; the file is written here, between periods.
            if (wav_) {
                wav_->write(buffer_.data(), bufferFrames_);
            }
            deadline += period;
            const auto now = Clock::now();
            if (deadline < now - 10 * period) {
                deadline = now; // fell far behind (machine suspended): do not race to catch up
            }
            std::this_thread::sleep_until(deadline);
        }
    }

    Mixer& mixer_;
    size_t bufferFrames_;
    std::unique_ptr<WavWriter> wav_;
    std::vector<float> buffer_;
    std::atomic<bool> quit_{false};
    std::thread thread_;
};

} // namespace

Result openPacedOutput(Mixer& mixer, int bufferFrames, const std::string& wavPath,
                       std::unique_ptr<Output>* out) {
    std::unique_ptr<WavWriter> wav;
    if (!wavPath.empty() && WavWriter::open(wavPath, mixer.sampleRate(), &wav) != Result::Ok) {
        return Result::OutputInitFailed;
    }
    *out = std::make_unique<PacedOutput>(mixer, bufferFrames, std::move(wav));
    return Result::Ok;
}

} // namespace audio::detail
