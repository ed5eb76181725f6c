#pragma once
// The replay of a Future Composer module: a sequencer that walks the sequence's steps and
// their patterns at 50 Hz ticks (PAL vertical blank), four voices, and a mix to 44100 Hz
// stereo (voices 0 and 3 left, 1 and 2 right, as the Amiga pans them).
//
// The song is the sequence from its first step to its last, played once; it has no subsongs.
// Pattern rows as this replay reads them: note 0 = none, 1..72 a note index (plus the step's
// note transpose), 0x49 ends the step (in any voice, that row not played). Info bits 0..5 are
// the instrument (plus the step's sound transpose); with bit 7 set the row is a slide instead:
// bits 0..4 its speed, bit 5 set = downwards, and a note on that row changes the pitch without
// restarting the instrument. A new note without bit 7 stops the slide.
// Speed: a step's nonzero speed byte sets the ticks per row; before the first, 3.

#include "FcModule.h"
#include "FcVoice.h"

#include <array>
#include <cstdint>
#include <vector>

namespace fc {

inline constexpr int TicksPerSecond = 50;
inline constexpr int FramesPerTick = OutputRate / TicksPerSecond;
inline constexpr int DefaultSpeed = 3;

class Replay {
public:
    explicit Replay(const Module& module);

    // Ticks of the whole song (0 when no step has a row to play).
    uint64_t songTicks() const { return songTicks_; }
    uint64_t songFrames() const { return songTicks_ * FramesPerTick; }

    // Back to the song's start.
    void restart();
    // Writes up to `frames` stereo frames (interleaved) to `out`; fewer only at the song's
    // end. Returns the frames written.
    size_t render(float* out, size_t frames);
    // Positions at `frame` (<= songFrames()) by running the ticks without mixing.
    void skipTo(uint64_t frame);

private:
    void tick();
    void playRow();
    // Moves to the next step that has rows; false at the end of the sequence.
    bool enterStep(size_t step);
    // Whether there is a tick left and, if the current one is used up, runs the next.
    bool nextTickReady();

    const Module& module_;
    std::vector<uint8_t> stepRows_; // rows each step plays (0..32)
    uint64_t songTicks_ = 0;

    std::array<Voice, Voices> voices_{};
    size_t step_ = 0;
    int row_ = 0;
    int speed_ = DefaultSpeed;
    int rowCountdown_ = 0;
    bool sequenceEnded_ = false;
    uint64_t ticksDone_ = 0;
    int tickFramesLeft_ = 0;
};

} // namespace fc
