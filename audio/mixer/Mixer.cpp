#include "Mixer.h"

#include <algorithm>
#include <chrono>

namespace audio::detail {

Mixer::Mixer(int sampleRate, std::vector<Voice*> voices)
    : sampleRate_(sampleRate), voices_(std::move(voices)),
      load_(std::make_unique<std::atomic<uint32_t>[]>(LoadHistory)) {}

bool Mixer::addUnit(Dsp::Unit* unit) {
    const int count = unitCount_.load(std::memory_order_relaxed);
    if (count >= MaxUnits ||
        std::find(units_.begin(), units_.begin() + count, unit) != units_.begin() + count) {
        return false;
    }
    units_[static_cast<size_t>(count)] = unit;
    unitCount_.store(count + 1, std::memory_order_release); // publishes the slot written above
    return true;
}

void Mixer::render(float* out, size_t frames) {
    const int unitCount = unitCount_.load(std::memory_order_acquire);
    bool underrun = false;
    while (frames > 0) {
        // Mixed straight into the caller's buffer: no copy on the way out.
        const size_t n = std::min(frames, ChunkFrames);
        std::fill(out, out + n * 2, 0.0f);
        ++pass_;
        for (Voice* voice : voices_) {
            underrun = voice->render(out, n, pass_) || underrun;
        }
        for (int i = 0; i < unitCount; ++i) {
            units_[static_cast<size_t>(i)]->process(out, n);
        }
        const float volume = masterVolume_.load(std::memory_order_relaxed);
        if (volume != 1.0f) {
            for (size_t i = 0; i < n * 2; ++i) {
                out[i] *= volume;
            }
        }
        out += n * 2;
        frames -= n;
    }
    if (underrun) {
        underruns_.fetch_add(1, std::memory_order_relaxed);
    }
}

void Mixer::renderTimed(float* out, size_t frames) {
    const auto start = std::chrono::steady_clock::now();
    render(out, frames);
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    const double period = static_cast<double>(frames) / sampleRate_;
    const double share = std::min(spent.count() / period, 4000.0);
    const uint64_t at = loadCount_.load(std::memory_order_relaxed);
    load_[at % LoadHistory].store(static_cast<uint32_t>(share * 1e6), std::memory_order_relaxed);
    loadCount_.store(at + 1, std::memory_order_release);
    if (firstSound_.load(std::memory_order_relaxed) == 0 &&
        std::any_of(out, out + frames * 2, [](float v) { return v != 0.0f; })) {
        firstSound_.store(start.time_since_epoch().count(), std::memory_order_relaxed);
    }
}

void Mixer::callbackLoad(double* median, double* p99) const {
    const uint64_t count =
        std::min<uint64_t>(loadCount_.load(std::memory_order_acquire), LoadHistory);
    std::vector<uint32_t> values(count);
    for (uint64_t i = 0; i < count; ++i) {
        values[i] = load_[i].load(std::memory_order_relaxed);
    }
    *median = 0.0;
    *p99 = 0.0;
    if (values.empty()) {
        return;
    }
    std::sort(values.begin(), values.end());
    *median = values[values.size() / 2] / 1e6;
    *p99 = values[std::min(values.size() - 1, values.size() * 99 / 100)] / 1e6;
}

} // namespace audio::detail
