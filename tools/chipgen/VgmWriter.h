#pragma once
// Writes small VGM files (version 1.51) that play notes on the SN76489's first tone channel:
// test media for the game-music plug-in and seeds for its fuzz target.
//
// Threading: pure function, callable from any thread.

#include <cstdint>
#include <string>
#include <vector>

namespace chipgen {

// SN76489 clock of the files written, Hz (the NTSC Master System's).
inline constexpr uint32_t VgmSnClock = 3579545;
// VGM time base: samples per second of every wait.
inline constexpr uint32_t VgmSampleRate = 44100;

struct VgmNote {
    // Tone period 1..1023 (the channel plays VgmSnClock / (32 * period) Hz); 0 is a rest.
    uint16_t period = 0;
    uint32_t samples = 0; // duration at VgmSampleRate
};

struct VgmSong {
    std::vector<VgmNote> notes;
    // True: the song loops back to its first note after the last (loop samples = total).
    bool loop = false;
    std::string title; // ASCII, stored in the GD3 tag
};

// Frequency in Hz that `period` sounds at.
double vgmToneHz(uint16_t period);

// The whole VGM file: header with total and loop samples, a GD3 tag and the command stream.
std::vector<uint8_t> writeVgm(const VgmSong& song);

} // namespace chipgen
