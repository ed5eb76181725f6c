#pragma once
// Packers: turn a plain ProTracker module into the NoisePacker v2 and AC1D packed
// layouts, and build the module the ripper must write back, with the differences the
// conversion prescribes (zero title and names, the banner, restart byte, effects a packed format
// cannot hold, periods snapped to the finetune-0 table, NoisePacker v2's order entry 29).
//
// Threading: pure functions; any thread.

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

using Bytes = std::vector<std::uint8_t>;
using Pattern = std::array<std::uint8_t, 1024>;

struct Cell {
    unsigned sample = 0; // 0-31
    unsigned period = 0; // 0 = no note
    unsigned effect = 0; // 0-15
    unsigned parameter = 0;
};

Cell readCell(const Pattern& pattern, int row, int channel);
void writeCell(Pattern& pattern, int row, int channel, const Cell& cell);

struct ProTrackerModule {
    std::array<std::uint8_t, 1084> header{};
    std::vector<Pattern> patterns;
    Bytes sampleData; // every sample's data in order, as long as the records say

    // A 31-sample "M.K." module; nullopt for anything else. Short sample data is zero-padded.
    static std::optional<ProTrackerModule> parse(const Bytes& file);
    // A module with `patterns` empty patterns, song length 1 and no samples; the caller fills it.
    static ProTrackerModule blank(int patternCount);

    unsigned songLength() const { return header[950]; }
    unsigned order(int position) const { return header[952 + position]; }
    unsigned sampleWords(int sample) const; // sample 0-30
    void setSample(int sample, unsigned words, unsigned finetune, unsigned volume,
                   unsigned loopStartWords, unsigned loopWords);
    Bytes bytes() const;
};

// Tools for packers: the finetune-0 period of note 1-36 (0 for 0 or out of range), the nearest
// note number of a period (0 for no note), big-endian stores and loads.
constexpr std::size_t kPeriodCount = 37;
unsigned periodOfNote(unsigned note);
unsigned noteOf(unsigned period);
void put16(Bytes& out, std::size_t at, unsigned value);
void put32(Bytes& out, std::size_t at, unsigned value);
unsigned get16(const std::uint8_t* at);
// Number of patterns the song plays: the highest of its first songLength order entries + 1.
unsigned songPatternCount(const ProTrackerModule& module);
// The converter's output: `header` with zero title and names, "M.K." and the banner texts with
// `bannerName` (18 characters), then the patterns and the sample data.
Bytes assemble(std::array<std::uint8_t, 1084> header, const std::vector<Pattern>& patterns,
               const Bytes& samples, const char* bannerName);

Bytes packNoisePackerV2(const ProTrackerModule& module);
Bytes packAc1d(const ProTrackerModule& module);

// The file the ripper must write for the packed form of `module`.
Bytes expectedFromNoisePackerV2(const ProTrackerModule& module);
Bytes expectedFromAc1d(const ProTrackerModule& module);

// Offset of the first sample record's volume byte in packNoisePackerV2's output (the scan
// position at which the module is found).
constexpr std::size_t kNoisePackerV2ScanOffset = 15;
