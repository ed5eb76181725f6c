#pragma once
// Writers of small AdLib songs in two note-based formats for tests: an HSC-Tracker song (".hsc")
// and a Creative Music File (".cmf"). Both play one sine instrument (carrier and modulator at
// multiple 1, the modulator silent) on one voice, so what is heard is the pitch of the note.
//
// Threading: pure functions, callable from any thread.

#include <cstdint>
#include <vector>

namespace chipgen {

// One note of an HSC pattern on channel 0: `note` 1..96 (octave (note - 1) / 12, semitone
// (note - 1) % 12 from C) starting at `row` 1..63 (row 0 selects the instrument).
struct HscNote {
    uint8_t note = 49;
    uint8_t row = 1;
};

// An HSC song of one pattern (instrument 0 selected on channel 0 at row 0, then `notes`), its
// order list [0, end]: 1587 + 1152 bytes. Every one of the 128 instruments is the sine.
std::vector<uint8_t> writeHsc(const std::vector<HscNote>& notes);

// One CMF note on MIDI channel 0: key `key` (60 = middle C) held for `durationTicks`, then
// `gapTicks` of silence.
struct CmfNote {
    uint8_t key = 69;
    uint16_t durationTicks = 100;
    uint16_t gapTicks = 0;
};

// A CMF version 1.1 file with one instrument, played at `ticksPerSecond`: program change to
// instrument 0, then the notes (note on at velocity 127, note off), then the end of the track.
// Title "Tamberlo test".
std::vector<uint8_t> writeCmf(const std::vector<CmfNote>& notes, uint16_t ticksPerSecond);

// The pitch of MIDI key `key` in Hz (equal temperament, A4 = 440 Hz).
double midiKeyHz(int key);

} // namespace chipgen
