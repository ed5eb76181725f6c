#pragma once
// Promizer 0.1, 1.0c, 1.8a, 2.0 and 4.0: one header shape, whole patterns (0.1) or patterns of
// 16-bit references into a table of distinct 4-byte cells (the others).
//
// The header (big-endian, offsets from its sample records r): r + 0 31 sample records of 8
// bytes (length in words, finetune, volume, loop start in words, loop length in words: the
// ProTracker record without its name); r + 248 the song length times 4 (16 bits); r + 250 128
// 32-bit pattern offsets into the pattern data, one per position. The cells are ProTracker
// cells, except where the period field is said to hold something else. Sample data is plain
// 8-bit signed PCM, samples in record order.
//
// - 0.1 (no signature; the scan finds it at its song length field): records at the module start
//   s; s + 762 the pattern data size (32 bits); from s + 766 whole patterns of 64 rows x 4
//   channels x 4-byte cells (pattern offsets multiples of 1024, below 128 KiB); then the sample
//   data.
// - 1.0c and 1.8a: the module starts with its 68000 replay routine. The routine's play set-up
//   (entered by the second branch of the signature, at 0xA4) loads the song's header address
//   with `lea (d16,pc),a0` at routine offset 0xAC: the header h = routine + 0xAE + d16. h + 0
//   the distance from h to the next song's header (32 bits; a zero long there ends the chain),
//   h + 4 the pattern data size, records at h + 8, patterns of 64 rows x 4 channels x 16-bit
//   cell numbers from h + 770 (pattern offsets multiples of 512), then the cell table up to the
//   next song's header. The sample data, shared by all songs, lies behind the chain's zero long.
// - 2.0: the header follows the replay routine, which is kRoutine20Bytes long: h + 0 the pattern
//   data size, h + 4 the cell table size in bytes, records at h + 8, patterns from h + 770 as in
//   1.0c but the words are byte offsets into the cell table, which follows them; then the
//   sample data.
// - 4.0: "PM40", then the 2.0 header (h = module start + 4).
//
// Notes: 0.1, 1.0c and 1.8a store the period the replay routine plays, the finetune of the note's
// sample already applied (a period of finetune 15 for a sample of finetune 15); the converter
// gives back the finetune-0 period of that note. 2.0 and 4.0 store the note number instead: the
// period field's low byte is twice the note (0 none, 2-72 for C-1 to B-3) and its high nibble
// is 0.
//
// Decisions:
// - The 1.0c file at hand fixes that layout; 1.8a, known only from damaged files, keeps it. Its
//   routine shares the signature but its first two `lea` instructions (routine offsets 0x12 and
//   0x22) reach 4 bytes further (displacements 0x0FD2 and 0x1100 instead of 0x0FCE and 0x10FC):
//   that is what tells the versions apart. The 1.0c test does not look at those words, so other
//   builds of the routine still convert.
// - No 0.1, 2.0 or 4.0 file was at hand: their layouts are the 1.x one without the routine
//   (0.1, with whole patterns) or with the later way of storing notes and references (2.0 and
//   4.0); the routine length of 2.0 is a fixed constant.
// - Only the first song of a 1.x file is converted.
// - Notes without a sample number take the finetune of the last sample named on their channel
//   earlier in the same pattern (finetune 0 at the top of a pattern): every note of the 1.0c file
//   then reads as a period of its finetune's table. A period of no table comes back as the
//   nearest finetune-0 period.
// - 0.1 has no signature: its test needs every cell plausible (sample number up to 31, no period
//   or one of 108-907, the range of all finetune tables) and at least one note.
//
// Threading: none; used from the ripper's one thread.

#include "../RipState.h"

#include <cstdint>

namespace promizer {

enum class Version { V01, V10c, V18a, V20, V40 };

inline constexpr std::uint32_t kRecordBytes = 8;
inline constexpr std::uint32_t kSongLength = 31 * kRecordBytes; // from the records
inline constexpr std::uint32_t kOrderList = kSongLength + 2;    // from the records
inline constexpr std::uint32_t kHeaderBytes = kOrderList + 128 * 4;
inline constexpr unsigned kMaxPositions = 128;
inline constexpr std::uint32_t kRoutine20Bytes = 0x1200;
// The 0.1 scan position: the high byte of the song length field, at most 2.
inline constexpr std::uint32_t kScanOffset01 = kSongLength;

// scratch slots the test leaves for the rip and depack steps, offsets from module start
inline constexpr int kRecordsOffset = 0;
inline constexpr int kPatternDataBytes = 1;
inline constexpr int kCellTableOffset = 2; // 0 for 0.1
inline constexpr int kSampleDataOffset = 3;

// Bytes of one stored pattern: whole cells in 0.1, 16-bit references in the others.
constexpr std::uint32_t patternBytes(Version version) {
    return version == Version::V01 ? 64 * 4 * 4 : 64 * 4 * 2;
}

// Offset of the pattern data from the sample records (0.1 stores its size in front of it).
constexpr std::uint32_t patternDataOffset(Version version) {
    return version == Version::V01 ? kHeaderBytes + 4 : kHeaderBytes;
}

// Whether the period field holds a period with the sample's finetune applied (else a note).
constexpr bool storesFinetunedPeriods(Version version) {
    return version == Version::V01 || version == Version::V10c || version == Version::V18a;
}

// Returns 0 when the bytes at the scan position are a module of `version`; leaves module start,
// sample data size and the scratch slots above in RipState.
int testModule(RipState& st, Version version);

// Sets the output size, notes the rip and moves the scan past the module.
void ripModule(RipState& st, const char* displayName, int extensionIndex);

// Writes "-1.mod" for the module the test accepted.
void depackModule(RipState& st, Version version, const char* bannerName);

} // namespace promizer
