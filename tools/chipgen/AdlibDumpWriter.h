#pragma once
// Writers of OPL2 register dumps for tests: Apogee IMF (type 1, played at 560 Hz ticks for
// ".imf") and DOSBox Raw OPL v2.0 (".dro", millisecond delays). Both program one OPL2 voice
// (channel 0) with a plain sine instrument and play the notes one after another, so the pitch
// of each note is known: f = fnum * 49716 / 2^(20 - block) Hz.
//
// Threading: pure functions, callable from any thread.

#include <cstdint>
#include <vector>

namespace chipgen {

struct AdlibNote {
    uint16_t fnum = 0x244;      // F-number, 0..1023
    uint8_t block = 4;          // octave block, 0..7
    uint32_t durationMs = 1000; // key held this long, then a silent gap of gapMs
};

struct AdlibSong {
    std::vector<AdlibNote> notes;
    uint32_t gapMs = 0; // key off between notes (and after the last one), in ms
};

// The note's pitch in Hz on a 49716 Hz OPL2.
double adlibNoteHz(const AdlibNote& note);

// Total length of `song` in ms: every note's duration plus its gap.
uint32_t adlibSongMs(const AdlibSong& song);

// An IMF type 1 file: a 16-bit little-endian byte count of the records, then records of
// register, value and a 16-bit delay in 560 Hz ticks (durations are rounded to ticks), then a
// footer with the title "Tamberlo test".
std::vector<uint8_t> writeImf(const AdlibSong& song);

// A DRO v2.0 file for one OPL2: header, register code map, then (code, value) pairs with the
// short (1..256 ms) and long (256 ms steps) delay codes.
std::vector<uint8_t> writeDro(const AdlibSong& song);

} // namespace chipgen
