#pragma once
// A parsed Future Composer module ("SMOD" = version 1.3, "FC14" = version 1.4). The module
// views the file's bytes, which must outlive it.
//
// Layout (all numbers big-endian): magic, then u32 sequence length in bytes; u32 offset and
// length of the patterns, the frequency macros and the volume macros; u32 offset of the sample
// data and of the waveform data (1.4); ten sample slots of three u16 (length in words, loop
// start in bytes, loop length in words); 1.4 then has 80 waveform lengths in words (one byte
// each). The sequence follows the header: 13-byte steps of (pattern, note transpose, sound
// transpose) per voice and a speed byte. Patterns hold 32 rows of (note, info); macros are 64
// bytes each.
//
// Decisions where the format leaves room:
// - The sequence, pattern and macro areas must lie inside the file; sample and waveform data
//   past the end are cut to what is there.
// - Samples lie one after the other from the sample offset, waveforms likewise from the
//   waveform offset. A loop length of one word or less means the sample plays once.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace fc {

enum class Version { Fc13, Fc14 };

inline constexpr int Voices = 4;
inline constexpr int StepBytes = 13;
inline constexpr int PatternRows = 32;
inline constexpr int MacroBytes = 64;
inline constexpr int SampleSlots = 10;
inline constexpr int Fc14WaveSlots = 80;
inline constexpr size_t Fc13HeaderBytes = 100;
inline constexpr size_t Fc14HeaderBytes = 180;
// The pattern note that ends a pattern before its 32nd row.
inline constexpr uint8_t PatternEndNote = 0x49;

// A playable sound: a sample slot or a waveform. Lengths in bytes; loopLength 0 = no loop.
struct Sound {
    const int8_t* data = nullptr;
    uint32_t length = 0;
    uint32_t loopStart = 0;
    uint32_t loopLength = 0;
};

struct Step {
    uint8_t pattern[Voices];
    int8_t noteTranspose[Voices];
    int8_t soundTranspose[Voices];
    uint8_t speed; // ticks per row from this step on; 0 keeps the current speed
};

class Module {
public:
    // The module in `file`, or nothing when it is not one or an area lies outside the file.
    static std::optional<Module> parse(std::span<const uint8_t> file);

    Version version() const { return version_; }
    const std::vector<Step>& steps() const { return steps_; }

    // Row `row` (0..31) of pattern `pattern` as {note, info}; {0, 0} for a missing pattern.
    std::pair<uint8_t, uint8_t> patternRow(int pattern, int row) const;
    // Byte `position` of a macro; 0xE1 (end) for a missing macro or a position past 63.
    uint8_t frequencyMacro(int macro, int position) const;
    uint8_t volumeMacro(int macro, int position) const;
    int volumeMacroCount() const { return static_cast<int>(volumeMacros_.size() / MacroBytes); }

    // Sound `index`: 0..9 the sample slots, 10 on the waveforms; null for none or an empty one.
    const Sound* sound(int index) const;

private:
    Version version_ = Version::Fc13;
    std::vector<Step> steps_;
    std::span<const uint8_t> patterns_;
    std::span<const uint8_t> frequencyMacros_;
    std::span<const uint8_t> volumeMacros_;
    std::vector<Sound> sounds_;
};

// True when `head` (the file's first bytes) starts like a module: the magic and a header whose
// areas are in order and, when `head` is the whole file, inside it. Cheap: a few compares.
bool looksLikeModule(std::span<const uint8_t> head, bool headIsWholeFile);

} // namespace fc
