#pragma once
// A decoder restricted to a range of another decoder's frames, played as a sound of its own
// (a CUE sheet's track inside a whole-album file): position 0 is the range's first frame, the
// length is the range's, reads end at its last frame and seeks stay within it.
//
// Threading: as Decoder (Decoder.h): one thread at a time; streamStatus and interrupt from any
// thread, forwarded to the wrapped decoder.

#include "Decoder.h"

#include <cstdint>
#include <memory>

namespace audio {

// Turns a range in milliseconds into frames at `sampleRate`, rounded to the nearest frame. Two
// ranges that meet at the same millisecond meet at the same frame, so consecutive tracks
// neither lose nor repeat a frame.
uint64_t rangeMsToFrames(uint32_t ms, int sampleRate);

// Wraps `inner` so that only its frames [startFrame, endFrame) play; endFrame UnknownFrames, or
// one past the inner length, means "to the inner decoder's end". Positions `inner` at
// startFrame. Returns Ok with *out set, InvalidParameter for an empty range or one that starts
// at or after the inner decoder's end, or the failure of that first seek (Unsupported for a
// live stream, SeekFailed). On failure `inner` is released.
Result openRangeDecoder(std::unique_ptr<Decoder> inner, uint64_t startFrame, uint64_t endFrame,
                        std::unique_ptr<Decoder>* out);

} // namespace audio
