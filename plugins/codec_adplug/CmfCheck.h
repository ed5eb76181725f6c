#pragma once
// Checks a Creative Music File before libadplug's player sees it. The player follows the
// header's offsets and counts and walks the MIDI-like event stream without bounds of its own,
// and a stream in which no time passes keeps it inside one update() for ever. A file passes
// only when its header fits the file and its stream reads cleanly to the end.
//
// Layout (little-endian words): "CTMF", version (0x0100 or 0x0101), offset of the instrument
// block, offset of the music, ticks per quarter note, ticks per second, offsets of the title,
// composer and remarks (0: none), 16 channel-in-use bytes, then the instrument count (a byte in
// version 1.0, a word followed by the tempo in 1.1). Instruments are 16 bytes each. The music
// is a delta time (MIDI variable-length number) before each event, running status allowed.
//
// Threading: pure functions, callable from any thread.

#include <cstdint>
#include <span>

namespace adplug_codec {

// True when `head` (at least the file's first 40 bytes) has the magic, a known version and
// non-zero tick rates: enough to claim the file before it is read whole.
bool cmfHeaderIsPlausible(std::span<const uint8_t> head);

// True when the whole file `file` is safe to play: a plausible header; the instrument block
// (at least one instrument), the music and every title string inside the file; and an event
// stream holding only channel messages (program changes naming existing instruments, notes
// only on channels that had a program change before, note-off events only for keys that
// sound) and an optional end-of-track meta event,
// whose data bytes are all inside the file, which never needs running status before a status
// byte, and in which time passes after the first event.
bool isPlayableCmf(std::span<const uint8_t> file);

} // namespace adplug_codec
