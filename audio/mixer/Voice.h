#pragma once
// One mixer channel: takes decoded blocks from its ring, resamples them to the output rate at
// the channel's frequency, applies the balance and adds them to the mix. Keeps the most recent
// output values for getWaveData and counts the source frames it consumed (the position).
// A voice may carry a successor: a Queued voice that starts at the output frame right after
// this voice's last one, inside the same mixer pass, so two songs join without a gap.
//
// Threading: the GUI thread writes the control atomics (state, paused, frequency, pan, seek,
// successor) and reads the status atomics (position, wave history); render() runs on the mixer
// thread only and never locks, allocates, logs or does I/O. prepare() runs on the GUI thread
// while the mixer ignores the voice (state Idle or Done).

#include "BlockRing.h"
#include "Resampler.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace audio::detail {

// Lets the offline mixer decode on its own thread when a ring runs dry (no worker exists then).
class BlockProducer {
public:
    virtual ~BlockProducer() = default;
    // Decodes at most one block into the ring; false when nothing could be added.
    virtual bool produce() = 0;
};

enum class VoiceState : int {
    Idle,          // not in use; the mixer ignores it
    Queued,        // waits for its predecessor's last frame; the mixer ignores it until then
    Playing,       // mixed (or held while paused)
    StopRequested, // the GUI stopped it; the mixer acknowledges with Done
    Done,          // the mixer has let go of it (stopped, or its data ended)
};

class Voice {
public:
    static constexpr size_t WaveHistory = 16384; // power of two
    static constexpr size_t RingBlocks = 32;

    // Reserves the ring and buffers for chunks of up to maxFrames output frames; the resampler
    // is made by the first prepare().
    static Result create(int outputRate, size_t maxFrames, std::unique_ptr<Voice>* out);

    BlockRing& ring() { return ring_; }
    int outputRate() const { return outputRate_; }

    // GUI thread, while the mixer ignores the voice: readies it for a new sound. Fails only
    // when the first call cannot make the resampler (the voice then stays unused).
    Result prepare(int sourceRate, BlockProducer* inlineProducer);
    // GUI thread: hands the prepared voice to the mixer.
    void start(bool paused) {
        paused_.store(paused, std::memory_order_relaxed);
        state_.store(VoiceState::Playing, std::memory_order_release);
    }
    // GUI thread: hands the prepared voice to the mixer as a successor; it plays once a
    // predecessor whose setSuccessor names it has played its last frame.
    void queue() {
        paused_.store(false, std::memory_order_relaxed);
        state_.store(VoiceState::Queued, std::memory_order_release);
    }
    // GUI thread: the voice that starts when this one's data ends (nullptr: none). The successor
    // must be Queued; it is taken only if still Queued at that moment.
    void setSuccessor(Voice* next) { successor_.store(next, std::memory_order_release); }
    VoiceState state() const { return state_.load(std::memory_order_acquire); }
    // GUI thread: asks the mixer to let go (of a playing or a queued voice). When the mixer is
    // not running (offline, closed) the caller may mark it Done itself with markDone().
    void requestStop() {
        for (VoiceState from : {VoiceState::Queued, VoiceState::Playing}) {
            VoiceState expected = from;
            if (state_.compare_exchange_strong(expected, VoiceState::StopRequested,
                                               std::memory_order_acq_rel)) {
                return;
            }
        }
    }
    void markDone() { state_.store(VoiceState::Done, std::memory_order_release); }
    void markIdle() { state_.store(VoiceState::Idle, std::memory_order_release); }

    void setPaused(bool paused) { paused_.store(paused, std::memory_order_relaxed); }
    bool paused() const { return paused_.load(std::memory_order_relaxed); }
    void setFrequency(float hz) { frequency_.store(hz, std::memory_order_relaxed); }
    float frequency() const { return frequency_.load(std::memory_order_relaxed); }
    void setPan(float pan) { pan_.store(pan, std::memory_order_relaxed); }
    float pan() const { return pan_.load(std::memory_order_relaxed); }
    // GUI thread: from now on only blocks of `epoch` play, starting at source frame `frame`.
    void seek(uint32_t epoch, uint64_t frame) {
        seekFrame_.store(frame, std::memory_order_relaxed);
        epoch_.store(epoch, std::memory_order_release);
    }
    // Source frames consumed so far (the seek target while the mixer has not caught up).
    uint64_t position() const;
    // Copies the latest `count` values of `side` (0/1), oldest first.
    void copyWave(float* out, size_t count, int side) const;

    // Mixer thread: adds up to `frames` (<= maxFrames) frames into `mix` (interleaved stereo).
    // `pass` numbers the mixer's chunks: a voice renders once per pass, so a successor that
    // its predecessor already started in this pass is skipped. Returns true when the voice
    // wanted data that was not there (an underrun).
    bool render(float* mix, size_t frames, uint64_t pass);

private:
    Voice(size_t maxFrames, int outputRate);
    bool renderPass(float* mix, size_t frames);
    // Mixer thread: starts this Queued voice and renders it into the `frames` frames left in
    // the predecessor's chunk. False when it was no longer Queued (stopped by the GUI).
    bool takeOver(float* mix, size_t frames, uint64_t pass, bool* underrun);
    // Adds up to `frames` frames to `mix`; returns how many it added (a successor started at
    // the end fills the rest).
    size_t produce(float* mix, size_t frames, bool* underrun);
    AudioBlock* currentBlock();
    // Pans `count` frames in place, records them as heard and adds them to `mix`.
    void deliver(float* frames, size_t count, float* mix);
    // Appends `count` frames to the wave history (nullptr: silence).
    void recordHistory(const float* frames, size_t count);
    // The data has ended: the successor (if any) fills the chunk's remaining `restFrames` at
    // `rest`, then this voice is Done. Sets *underrun when the successor lacked data.
    void finish(float* rest, size_t restFrames, bool* underrun);

    BlockRing ring_;
    std::unique_ptr<Resampler> resampler_; // made by the first prepare()
    std::vector<float> scratch_;
    size_t maxFrames_;
    int outputRate_;
    BlockProducer* inlineProducer_ = nullptr;

    // Written by the GUI thread.
    std::atomic<VoiceState> state_{VoiceState::Idle};
    std::atomic<bool> paused_{false};
    std::atomic<float> frequency_{44100.0f};
    std::atomic<float> pan_{0.0f};
    std::atomic<uint32_t> epoch_{0};
    std::atomic<uint64_t> seekFrame_{0};
    std::atomic<Voice*> successor_{nullptr};

    // Written by the mixer.
    std::atomic<uint64_t> position_{0};
    std::atomic<uint32_t> epochSeen_{0};
    // One stereo frame per element (left in the low half, as in memory), so the mixer stores a
    // frame with one plain 64-bit write; accessed through std::atomic_ref only.
    ZeroedArray<uint64_t> wave_;
    std::atomic<uint64_t> waveWritten_{0};

    // Mixer-private.
    uint64_t lastPass_ = ~uint64_t{0};
    uint64_t pass_ = 0; // the pass being rendered, for a successor started within it
    uint32_t mixEpoch_ = 0;
    uint32_t blockOffset_ = 0;
    // Source frames the listener has heard: frames handed out, converted back to source frames
    // by the ratio while resampling, so the resampler's look-ahead does not count as played.
    double mixPosition_ = 0;
    bool resampling_ = false; // once engaged, stays on until the next seek (no glitch)
    bool flushed_ = false;
    bool primed_ = false;                      // a block of the current epoch has arrived
    float gainLeft_ = 1.0f, gainRight_ = 1.0f; // the balance, read once per chunk
};

} // namespace audio::detail
