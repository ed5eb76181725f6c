#pragma once
// ProPacker v1.0, v2.1 and v3.0: one header, patterns split into per-channel tracks that the
// positions name one by one, and three ways to store a track's 64 cells.
//
// Packed layout from module start s (big-endian): 0-247 31 sample records of 8 bytes (length in
// words, finetune, volume, loop start in words, loop length in words: the ProTracker record
// without its name); 248 song length (1-128); 249 restart byte, always 0x7F; 250-761 the track
// table, 128 track numbers per channel, channel 1 first: position i plays tracks ch1[i], ch2[i],
// ch3[i], ch4[i]; from 762 the tracks, numbered from 0; then the sample data, plain 8-bit signed
// PCM, samples in record order.
// - v1.0: a track is 64 ProTracker cells of 4 bytes (256 bytes).
// - v2.1: a track is 64 16-bit cell numbers (128 bytes); behind the tracks a 32-bit size in
//   bytes of the reference table, then the table: the distinct ProTracker cells, 4 bytes each.
// - v3.0: as v2.1, but the 16-bit words are byte offsets into the reference table.
//
// Decisions, taken from the real modules:
// - The restart byte is 0x7F in every real module of all three versions: the tests require it,
//   and it lets the scan pass over other data quickly.
// - The number of tracks is the highest track number in all 128 entries + 1: the entries behind
//   the song name stored tracks too. Every track number up to the highest is named somewhere.
// - The reference table holds exactly the cells the tracks use, so the highest reference is its
//   last cell. The tests require this; it is what tells v2.1 (numbers) from v3.0 (offsets).
// - The v1.0 files at hand are the bare module data the v1.0 packer writes, also what its
//   executable output carries; "ProPacker v1.0 Exe-file" converts that data wherever it lies.
//   Its test rejects data that also reads as a v2.1 or v3.0 module, since it runs first.
// - Every cell is a ProTracker cell with a sample number up to 31 and no period or one between
//   113 and 856 (C-1 to B-3 at finetune 0), and at least one cell plays a note: this keeps
//   random data and zero-filled sample data out.
// - The output plays each distinct combination of four tracks as one pattern, numbered in the
//   order the song first plays them.
//
// Threading: none; used from the ripper's one thread.

#include "../RipState.h"

#include <cstdint>

namespace proPacker {

enum class CellStorage { Tracks, CellNumbers, CellOffsets };

inline constexpr std::uint32_t kRecordBytes = 8;
inline constexpr std::uint32_t kSongLength = 248;
inline constexpr std::uint32_t kTrackTable = 250;
inline constexpr std::uint32_t kTrackData = 762;
inline constexpr unsigned kMaxPositions = 128;
inline constexpr std::uint32_t kPlainTrackBytes = 64 * 4;
inline constexpr std::uint32_t kReferenceTrackBytes = 64 * 2;
inline constexpr std::uint32_t kRestartByte = 249;
// The scan finds a module at the finetune byte of its last sample record, near the restart byte
// (or on a zero byte a little behind it, see testModule).
inline constexpr std::uint32_t kScanOffset = 30 * kRecordBytes + 2;

// scratch slots the test leaves for the rip and depack steps
inline constexpr int kTrackCount = 0;
inline constexpr int kReferenceTableBytes = 1; // 0 for v1.0
inline constexpr int kSampleDataOffset = 2;    // from module start

// Returns 0 when the bytes around the scan position are a module stored as `storage`; leaves
// module start, sample data size and the scratch slots above in RipState.
int testModule(RipState& st, CellStorage storage);

// Sets the output size, notes the rip and moves the scan past the module.
void ripModule(RipState& st, const char* displayName, int extensionIndex);

// Writes "-1.mod" for the module the test accepted.
void depackModule(RipState& st, CellStorage storage, const char* bannerName);

} // namespace proPacker
