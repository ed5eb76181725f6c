#pragma once
// Fixed tables of the Future Composer replay: the note periods and the waveforms that version
// 1.3 players carry built in (1.4 files store their own).
//
// Decisions where the format leaves room:
// - Note index n (a pattern note plus transposes) selects periodForNote(n); index 0 is the
//   lowest C (period 1712), each further index a semitone higher over six octaves; indices
//   past the table play its highest note.
// - The 47 built-in waveforms are 32 bytes each: 0..31 a pulse-width sweep (0 is a 50% square,
//   the high part shrinks to 1/32 at 16 and grows back by 31), then sawtooth, triangle, sine,
//   falling sawtooth and eleven mixtures of them.

#include <array>
#include <cstdint>
#include <span>

namespace fc {

inline constexpr int NoteCount = 72;
inline constexpr int BuiltinWaveCount = 47;
inline constexpr int BuiltinWaveBytes = 32;

// The Amiga period (in 3546895 Hz clock ticks per sample) of note index `note`, clamped to
// 0..NoteCount-1.
int periodForNote(int note);

// Built-in waveform `index` (0..BuiltinWaveCount-1) as signed 8-bit samples.
std::span<const int8_t> builtinWave(int index);

} // namespace fc
