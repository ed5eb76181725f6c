#pragma once
// Writes small files of the game-music formats besides VGM (see VgmWriter.h): NSF, GBS and GYM
// songs that hold one tone, for the game-music plug-in's tests and fuzz seeds.
//
// Threading: pure functions.

#include <cstdint>
#include <vector>

namespace chipgen {

// NES pulse timer periods of the two songs of twoSongNsf().
inline constexpr uint16_t NsfPulsePeriods[2] = {253, 169};
// Frequency in Hz of NES pulse timer period `period` (NTSC CPU clock).
double nesPulseHz(uint16_t period);

// An NSF with two songs: each one's init routine starts the first pulse channel at full volume
// on NsfPulsePeriods[song] and leaves it playing; the play routine does nothing.
std::vector<uint8_t> twoSongNsf();

// Frequency in Hz of Game Boy square channel period value `period` (0..2047).
double gbSquareHz(uint16_t period);

// A GBS with one song whose init routine starts the first square channel at full volume on
// `period` and leaves it playing; the play routine does nothing.
std::vector<uint8_t> gbsTone(uint16_t period);

// A headerless GYM stream: the PSG's first tone channel plays `period` (same clock and formula
// as VGM's SN76489) for `frames` frames of 1/60 s.
std::vector<uint8_t> headerlessGym(uint16_t period, int frames);

// `bytes` compressed as one gzip member.
std::vector<uint8_t> gzipped(const std::vector<uint8_t>& bytes);

} // namespace chipgen
