#pragma once
// NoisePacker v1, v2 and v3: one header, patterns split into per-channel tracks named by a track
// table, note numbers instead of periods and remapped effect numbers. The versions differ in
// their sample records and in how a track stores its 64 rows.
//
// Packed layout from module start s (big-endian): 0-1 the offset of the order list, 12 + 16n
// (so the sample count n sits in bits 4-11 and the low nibble is 0xC); 2-3 order list size in
// bytes; 4-5 track table size (not read: the order list gives it); 6-7 track data size; 8 n
// sample records of 16 bytes; 4 bytes not read (the order list size again and a zero or the
// restart position × 2); the order list (pattern number × 8 per position); the track table (per
// pattern the byte offsets of the tracks of channels 4, 3, 2, 1 into the track data); the track
// data; the sample data, plain 8-bit signed PCM in record order.
//
// Sample records: v1 and v2: 0-3 sample address, 4-5 length in words, 6 finetune, 7 volume,
// 8-11 loop address, 12-13 loop length in words, 14-15 loop start (v2 in words, v1 in bytes).
// v3: 0 finetune, 1 volume, 2-5 sample address, 6-7 length, 8-11 loop address, 12-13 loop
// length, 14-15 loop start, all in words. Addresses are not read, except that v2 takes a
// record whose loop address lies loop-start bytes behind its sample address for v1's.
//
// Track row (3 bytes, all versions): byte 0 bits 1-7 the note number (0 none, 1-36 index the
// finetune-0 period table), bit 0 bit 4 of the sample number; byte 1 sample bits 0-3 and the
// effect; byte 2 the parameter. v1 and v2 tracks are 64 such rows; a v3 track stores only its
// rows with content, and a byte from 0x81 up stands for 256 minus it empty rows.
//
// Threading: none; used from the ripper's one thread.

#include "../ModuleWriter.h"
#include "../RipState.h"

#include <array>
#include <cstdint>

namespace noisePacker {

struct RecordLayout {
    std::uint32_t length;
    std::uint32_t finetune;
    std::uint32_t volume;
    bool loopStartInBytes;
};
inline constexpr std::uint32_t kLoopLength = 12;
inline constexpr std::uint32_t kLoopStart = 14;
inline constexpr std::uint32_t kAddress = 0; // v1 and v2
inline constexpr std::uint32_t kLoopAddress = 8;
inline constexpr RecordLayout kV1Records{4, 6, 7, true};
inline constexpr RecordLayout kV2Records{4, 6, 7, false};
inline constexpr RecordLayout kV3Records{6, 0, 1, false};

inline constexpr std::uint32_t kRecords = 8;
inline constexpr std::uint32_t kRecordBytes = 16;
inline constexpr std::uint32_t kRowBytes = 3;
inline constexpr std::uint32_t kFixedTrackBytes = 64 * kRowBytes;

// scratch slots the tests leave for the rip and depack steps
inline constexpr int kSampleCount = 0;
inline constexpr int kTrackDataOffset = 1; // from module start
inline constexpr int kTrackDataSize = 2;

// v1 and v2, found at the first sample's volume byte: returns 0 when the bytes around the scan
// position are a module whose records follow `records`; leaves module start, sample data size
// and the scratch slots in RipState.
int testFixedTracks(RipState& st, const RecordLayout& records);
void depackFixedTracks(RipState& st, const RecordLayout& records, const char* bannerName);

// v3, found at the first sample's volume byte: the same for tracks that skip their empty rows.
int testSkipTracks(RipState& st);
void depackSkipTracks(RipState& st, const char* bannerName);

// Sets the output size of the module the test accepted, notes the rip and moves the scan past
// the module (all versions).
void ripModule(RipState& st, const char* displayName, int extensionIndex);

// What every version writes before the patterns: title, sample records, song length, restart
// byte, order list and "M.K.". All three write it as v2 always has: only the low byte of the
// order list size counts, and the loop length 1 of the empty records is left at order entry 29
// when the song has fewer than 30 positions.
struct ModuleHead {
    unsigned patterns;         // as the song plays them: highest order entry + 1, 8-bit
    std::uint64_t trackTable;  // input offset
    std::uint64_t sampleBytes; // sum of the sample lengths
};
ModuleHead writeModuleHead(const RipState& st, ModuleWriter& out, const RecordLayout& records);

// Offset into the track data of the track that plays channel `channel` (0-3) of `pattern`.
std::uint32_t trackAddress(const RipState& st, std::uint64_t trackTable, unsigned pattern,
                           unsigned channel);

// The ProTracker cell of the packed row at `row` (read as zeros outside the input).
std::array<std::uint8_t, 4> cellOfRow(const RipState& st, std::uint64_t row);

// A packed row's sample number (1-31 or 0), for the test steps.
inline unsigned sampleOfRow(std::uint8_t b0, std::uint8_t b1) {
    return (b0 & 1u) << 4 | b1 >> 4;
}

} // namespace noisePacker
