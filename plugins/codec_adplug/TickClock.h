#pragma once
// Turns a player's ticks into output frames. A libadplug player runs one tick per update() and
// then wants the next one 1 / getrefresh() seconds later; the clock adds up those seconds and
// says at which frame each tick ends, so long songs do not drift by rounding. The length scan
// and the decoder use the same clock, so both count the same frames.
//
// Threading: one clock per song, used by one thread at a time.

#include <cstdint>

namespace adplug_codec {

class TickClock {
public:
    // Tick rates are kept within these bounds (Hz): a broken or hostile song's 0, NaN or
    // absurd rate cannot divide by zero nor make a tick shorter than a few frames.
    static constexpr double MinRefreshHz = 0.001;
    static constexpr double MaxRefreshHz = 10000;

    explicit TickClock(int sampleRate) : sampleRate_(sampleRate) {}

    // Starts a tick of 1 / refreshHz seconds (clamped to the bounds above) and returns the
    // frame (counted from the song's start) at which it ends.
    uint64_t advance(double refreshHz);
    // Seconds from the song's start to the end of the last tick.
    double seconds() const { return seconds_; }
    void reset() { seconds_ = 0; }

private:
    int sampleRate_;
    double seconds_ = 0;
};

} // namespace adplug_codec
