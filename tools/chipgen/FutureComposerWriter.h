#pragma once
// Writes small Future Composer modules (1.3 "SMOD" or 1.4 "FC14") from a description, for the
// tests of the replay and the seeds of its fuzz target.
//
// Each voice has one pattern that every step of the sequence plays; each instrument is a
// volume macro that holds one volume and a frequency macro that starts one sound. The replay
// reads notes as indices into its period table (index 13 = period 808) and sound numbers
// 0..9 as sample slots, 10 on as waveforms; in 1.3 waveform 0 (sound 10) is the player's
// 32-byte square, in 1.4 this writer stores that square as the file's waveform 0.

#include <cstdint>
#include <vector>

namespace chipgen {

enum class FcVersion { Fc13, Fc14 };

enum class FcSound {
    Square, // 32-byte 50% square waveform, one period per 32 bytes
    Sample, // sample slot 0: a 32-byte looped triangle, one period per 32 bytes
};

struct FcInstrument {
    int volume = 64; // 0..64, held for the whole note
    FcSound sound = FcSound::Square;
    // When not empty, the 64-byte macros start with these bytes instead (the rest is end
    // markers): for hostile and special cases.
    std::vector<uint8_t> frequencyMacro;
    std::vector<uint8_t> volumeMacro;
};

struct FcNote {
    int voice = 0; // 0..3
    int row = 0;   // 0..31 in the voice's pattern
    int note = 13; // note index 1..72
    int instrument = 0;
};

struct FutureComposerSong {
    FcVersion version = FcVersion::Fc13;
    int speed = 3; // ticks per row, 1..255
    int steps = 1; // sequence steps, each 32 rows
    std::vector<FcInstrument> instruments = {FcInstrument{}};
    std::vector<FcNote> notes;
};

// The module's bytes. Offsets of the areas follow the layout the replay expects: header,
// sequence, patterns, frequency macros, volume macros, samples, (1.4) waveforms.
std::vector<uint8_t> writeFutureComposer(const FutureComposerSong& song);

} // namespace chipgen
