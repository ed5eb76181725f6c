#pragma once
// The ".tone" format: a short text that describes a sine tone, e.g.
//
//   TAMBERLO-TONE 1
//   rate 44100
//   frequency 440
//   frames 88200
//   subsongs 3
//
// Subsong i (0-based) plays frequency * (i + 1) Hz for `frames` frames at half amplitude,
// mono. Unknown keys are ignored; every value must be within its range.
//
// Threading: pure function, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <optional>

namespace tone {

struct ToneDescription {
    int rate = 44100;        // Hz, 1000..192000
    double frequency = 440;  // Hz, 1..20000
    uint64_t frames = 44100; // 1..(rate * 600)
    int subsongs = 1;        // 1..16
};

inline constexpr char Magic[] = "TAMBERLO-TONE 1\n";

// True when `head` starts with the magic line.
bool hasMagic(const uint8_t* head, size_t size);

// Parses a whole description; nothing when the magic is missing or a value is out of range.
std::optional<ToneDescription> parseToneDescription(const char* text, size_t size);

} // namespace tone
