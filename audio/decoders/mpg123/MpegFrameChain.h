#pragma once
// The rule that decides whether data surely is MPEG audio (layer I, II or III), checked before
// libmpg123 sees it. libmpg123 itself skips junk until something looks like a frame; random
// bytes or a packed module must never be played that way, they go on to the other decoders
// and, in the end, the module ripper.
//
// The rule: after zero or more ID3v2 tags at the very start (each "ID3", a major version 2..4,
// a minor version other than 0xFF and a size of four 7-bit bytes; a footer adds 10 bytes) and at
// most MaxZeroPaddingBytes zero bytes, MinChainHeaders frame headers follow each other exactly
// at the offsets the previous frame's size gives. Every header in the chain is valid (sync,
// version, layer, bit rate index 1..14 so never free format, sample rate index 0..2, emphasis
// other than 2) and has the same version, layer, sample rate and channel count as the first.
// Anything else, also a file too short for the chain, is left to the other decoders, and so are
// files joined end to end: when the first frame's Xing or Info tag states the stream's size and
// another chain of frames starts right after it, libmpg123 would stop at the end of the first
// file (its gapless trimming needs one stream), where FFmpeg plays them all.
//
// Threading: pure functions on the caller's source; any thread.

#include "MpegByteSource.h"

#include <cstdint>
#include <optional>

namespace audio::mpg123_decoder {

// Frame headers that must follow each other (the last one needs only its 4 header bytes).
inline constexpr int MinChainHeaders = 4;
// Zero bytes tolerated between the tags and the first frame (some taggers leave them).
inline constexpr uint64_t MaxZeroPaddingBytes = 4096;

struct MpegStreamStart {
    uint64_t audioOffset = 0; // first frame header, in bytes from the source's start
    int layer = 0;            // 1, 2 or 3
    int sampleRate = 0;       // Hz
    int channels = 0;         // 1 or 2
    int bitRateKbps = 0;      // of the first frame (an Info/Xing frame for most encoders)
};

// Applies the rule above to `source`. Returns where the audio starts, or nothing.
std::optional<MpegStreamStart> findMpegStreamStart(MpegByteSource& source);

} // namespace audio::mpg123_decoder
