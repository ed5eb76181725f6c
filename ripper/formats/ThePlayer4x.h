#pragma once
// The Player 2.2A, 3.0A, 4.0A, 4.0B and 4.1A: one packed layout read by all five versions, with
// per-channel tracks of four-byte entries that positions point at instead of patterns.
//
// Packed layout from module start s (big-endian; the tag "P22A", "P30A", "P40A", "P40B" or
// "P41A" is at s): 4 number of patterns, 5 number of positions (1-128), 6 number of samples
// (1-31), 7 zero; 8-11 track data, 12-15 track table and 16-19 sample data, each an offset from
// s + 4; from 20 the sample records of 16 bytes (0-3 address in the sample data, 4-5 length in
// words, 6-9 loop address in the sample data, 10-11 loop length in words, 12-13 finetune × 74
// and 14-15 volume; 4.1A swaps these two). Unused bytes may follow the records (a real 4.0A
// module keeps a sixteenth, uncounted record there). The track table holds per position the
// addresses of the tracks of channels 1 to 4: byte offsets into the track data, multiples of 4;
// the packer ends it with 0xFFFF. The sample data is plain 8-bit signed PCM.
//
// Track entry (4 bytes), byte 0 below 0x80: bits 1-6 the note number (0 none, 1-36 index the
// finetune-0 period table), bit 0 bit 4 of the sample number; byte 1 sample bits 0-3 and the
// effect (8 is the arpeggio, ProTracker's effect 0 with a parameter); byte 2 the parameter;
// byte 3 below 0x80 the number of empty rows that follow, from 0x80 on the negated number of
// rows that repeat the whole cell. Byte 0 = 0x80: the byte 1 + 1 entries at the track data
// offset in bytes 2-3 play here, as if written in place (they hold no such entry themselves).
//
// Decisions, taken from the real modules where they tell:
// - The format keeps no pattern numbers: patterns are numbered in the order the song first
//   plays them. Byte 4 (the number of distinct track quadruples in the real modules) is only
//   checked for being non-zero.
// - A track the packer stored shorter than 64 rows (it stops at a pattern break) reads on into
//   the entries behind it up to the end of the track data; those rows are never played.
// - No 2.2A or 3.0A module was at hand. They share the test of 4.0A and 4.0B, so they are read
//   with the same layout. None of the five versions stores delta-coded or packed samples.
//
// Threading: none; used from the ripper's one thread.

#include "../RipState.h"

#include <cstdint>

namespace thePlayer4x {

// Offsets inside a sample record of the two fields whose order the versions disagree on.
struct SampleFields {
    std::uint32_t finetune;
    std::uint32_t volume;
};
inline constexpr SampleFields kFields40{12, 14}; // 2.2A, 3.0A, 4.0A, 4.0B
inline constexpr SampleFields kFields41{14, 12}; // 4.1A

inline constexpr std::uint32_t kPatternCount = 4;
inline constexpr std::uint32_t kPositionCount = 5;
inline constexpr std::uint32_t kSampleCount = 6;
inline constexpr std::uint32_t kPadding = 7;
inline constexpr std::uint32_t kTrackDataOffset = 8;
inline constexpr std::uint32_t kTrackTableOffset = 12;
inline constexpr std::uint32_t kSampleDataOffset = 16;
inline constexpr std::uint32_t kOffsetBase = 4; // the header's offsets count from here
inline constexpr std::uint32_t kRecords = 20;
inline constexpr std::uint32_t kRecordBytes = 16;
inline constexpr std::uint32_t kFinetuneStep = 74; // one period table of 37 words
inline constexpr std::uint32_t kEntryBytes = 4;
inline constexpr std::uint8_t kCopyEntry = 0x80;
inline constexpr unsigned kMaxPositions = 128;

// The scratch slot that carries the packed module's size from the test to the rip step.
inline constexpr int kModuleSizeSlot = 0;

// Returns 0 when the bytes at the scan position are a module of this layout; leaves module
// start, sample data size and the module's size in RipState.
int testLayout(RipState& st, SampleFields fields);

// Writes "-1.mod" for the module the test accepted.
void depackLayout(RipState& st, SampleFields fields, const char* bannerName);

} // namespace thePlayer4x
