#pragma once
// Pieces the Tracker Packer v1, v2 and v3 converters share: the 8-byte sample record all three
// versions keep and the ProTracker note cell they write.
//
// Sample record (8 bytes, big-endian): 0 finetune, 1 volume, 2-3 length, 4-5 loop start and 6-7
// loop length, the last three in 16-bit words. The sample data is plain 8-bit signed PCM, the
// samples in record order.
//
// Threading: none; used from the ripper's one thread.

#include "../ModuleWriter.h"
#include "../RipState.h"

#include <cstdint>

namespace trackerPacker {

inline constexpr std::uint32_t kRecordBytes = 8;

// True when the `count` records from `records` are plausible samples. The caller has checked
// that they lie inside the input.
bool recordsPlausible(const RipState& st, std::uint64_t records, unsigned count);

// Sum of the lengths of `count` records in bytes.
std::uint64_t sampleBytes(const RipState& st, std::uint64_t records, unsigned count);

// Writes `count` records as ProTracker sample records with empty names, then empty records (all
// zero but loop length 1) up to 31.
void writeSampleRecords(ModuleWriter& out, std::uint64_t records, unsigned count);

struct Cell {
    unsigned note = 0; // 0 none, 1-36 index the finetune-0 period table
    unsigned sample = 0;
    unsigned effect = 0;
    unsigned parameter = 0;
};

// Stores `cell` as a 4-byte ProTracker note cell at `at`.
void putCell(std::uint8_t* at, const Cell& cell);

} // namespace trackerPacker
