#pragma once
// UNIC Tracker v1 and v2: a ProTracker module whose cells are three bytes with a note number,
// and whose sample records carry the finetune in the last two bytes of the name.
//
// Packed layout from module start s (big-endian): 0-19 title (not read); 20-949 31 sample
// records of 30 bytes: 0-19 name (not read), 20-21 finetune as a signed word, 22-23 length in
// words, 24 a zero byte, 25 volume (0-64), 26-27 loop start in words, 28-29 loop length in
// words; 950 song length (1-128); 951 restart byte (not read); 952-1079 order list; v1: a 4-byte
// tag at 1080 ("M.K.", "UNIC" or zero bytes) and the patterns from 1084; v2: no tag, the
// patterns from 1080. A pattern is 64 rows of 4 cells of 3 bytes (768 bytes); the sample data
// follows, plain 8-bit signed PCM in record order.
//
// Cell: byte 0 bits 0-5 the note number (0 none, 1-36 index the finetune-0 period table), bit 6
// bit 4 of the sample number, bit 7 clear; byte 1 the sample's low nibble and the effect; byte 2
// the parameter. Effects are ProTracker's and are copied unchanged.
//
// Decisions, taken from the real module where it could tell:
// - The stored patterns are the highest of all 128 order entries + 1: with that count the real
//   module's parts add up to exactly its file size. The output keeps the song's patterns.
// - The finetune word is minus the ProTracker finetune (-8 to 8 accepted): the real module's -5,
//   -2 and 1 are finetunes 5, 2 and -1.
// - Byte 24 of a record, where a ProTracker record keeps its finetune, is zero in every record
//   of the real module. The tests require it: that keeps most plain ProTracker headers out and
//   gives the scan two whole-byte gates.
// - The whole module lies inside the input, every note byte is in range and at least one cell
//   plays a note, so zero-filled or random data is not taken for a module.
// - v2 is v1 without the tag. The v1 tests run first; a v2 module read from 1084 has its cells
//   out of step, and their sample and effect bytes fail as note bytes.
//
// Threading: none; used from the ripper's one thread.

#include "../RipState.h"

#include <cstdint>

namespace unic {

// Which tag field a test accepts.
enum class TagRule {
    HasZeroByte, // v1 in the chain: one of the four tag bytes is zero
    NotAllZero,  // v1 in the chain: a tag of any kind
    Matched,     // v1 from a tag row: the driver already compared the tag
    None,        // v2: no tag field
};

struct Variant {
    std::uint32_t scanOffset;  // of the scan position from the module start
    std::uint32_t patternData; // offset of the patterns from the module start
    TagRule tag;
};

inline constexpr std::uint32_t kRecords = 20;
inline constexpr std::uint32_t kRecordBytes = 30;
inline constexpr std::uint32_t kFinetuneWord = 20; // within a record
inline constexpr std::uint32_t kPlainRecord = 22;  // length, zero, volume, loop start, loop
inline constexpr std::uint32_t kSongLength = 950;
inline constexpr std::uint32_t kOrderList = 952;
inline constexpr std::uint32_t kTag = 1080;
inline constexpr std::uint32_t kPatternBytes = 64 * 4 * 3;
// The chain finds a module at the volume byte of its first record, which is at most 64.
inline constexpr std::uint32_t kChainScanOffset = kRecords + 25;

inline constexpr Variant kV1ZeroTagByte{kChainScanOffset, kTag + 4, TagRule::HasZeroByte};
inline constexpr Variant kV1Tagged{kChainScanOffset, kTag + 4, TagRule::NotAllZero};
inline constexpr Variant kV1AtTag{kTag, kTag + 4, TagRule::Matched};
inline constexpr Variant kV2{kChainScanOffset, kTag, TagRule::None};

// scratch slots the test leaves for the rip and depack steps
inline constexpr int kPatternData = 0; // from module start
inline constexpr int kStoredPatterns = 1;
inline constexpr int kSongPatterns = 2;

// Returns 0 when the bytes around the scan position are a module of `variant`; leaves module
// start, sample data size and the scratch slots above in RipState.
int testModule(RipState& st, const Variant& variant);

// Sets the output size, notes the rip and moves the scan past the module.
void ripModule(RipState& st, const char* displayName, int extensionIndex);

// Writes "-1.mod" for the module the test accepted.
void depackModule(RipState& st, const char* bannerName);

} // namespace unic
