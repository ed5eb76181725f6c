#pragma once
// Sums the channels, runs the master DSP chain in the order the units were added, applies the
// master volume and hands out interleaved stereo float at the output rate. Also keeps the
// underrun count and, when asked, the time each real-time callback took.
//
// Threading: render() runs on the output's real-time thread (or the offline caller) and never
// locks, allocates, logs or does I/O. addUnit/setMasterVolume/underruns/callbackLoad are GUI-
// thread calls that cross by atomics. The voices and the unit storage are fixed at creation.

#include "DspUnit.h"
#include "Voice.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace audio::detail {

class Mixer {
public:
    static constexpr int MaxUnits = 8;
    static constexpr size_t ChunkFrames = 1024;

    // voices: fixed for the mixer's life, owned by the caller.
    Mixer(int sampleRate, std::vector<Voice*> voices);

    int sampleRate() const { return sampleRate_; }
    void render(float* out, size_t frames);
    // As render, also recording the call's cost against the buffer period (real-time outputs).
    void renderTimed(float* out, size_t frames);

    // Returns false when the chain is full or already holds the unit.
    bool addUnit(Dsp::Unit* unit);
    void setMasterVolume(float volume) { masterVolume_.store(volume, std::memory_order_relaxed); }
    float masterVolume() const { return masterVolume_.load(std::memory_order_relaxed); }
    uint64_t underruns() const { return underruns_.load(std::memory_order_relaxed); }
    void callbackLoad(double* median, double* p99) const;
    // steady_clock ticks at the start of the first timed render whose output was not silent;
    // 0 before.
    int64_t firstSound() const { return firstSound_.load(std::memory_order_relaxed); }

private:
    static constexpr size_t LoadHistory = 1 << 16;

    int sampleRate_;
    std::vector<Voice*> voices_;
    std::array<Dsp::Unit*, MaxUnits> units_{};
    std::atomic<int> unitCount_{0};
    std::atomic<float> masterVolume_{1.0f};
    std::atomic<uint64_t> underruns_{0};
    // Callback cost as a share of its period, in millionths; a ring written only by render.
    std::unique_ptr<std::atomic<uint32_t>[]> load_;
    std::atomic<uint64_t> loadCount_{0};
    uint64_t pass_ = 0; // render-private: numbers the chunks for Voice::render
    std::atomic<int64_t> firstSound_{0};
};

} // namespace audio::detail
