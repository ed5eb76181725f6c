#pragma once
// The Player 5.0A, 6.0A and 6.1A: one header layout, per-channel tracks of variable-length
// entries, and two ways to write an entry (5.0A and 6.0A share one, 6.1A has its own). Modules
// usually carry no tag; an optional "P61A" in front of the header is simply scanned past.
//
// Packed layout from module start s (big-endian): 0-1 offset of the sample data from s (even);
// 2 number of patterns; 3 number of samples n (1-31) in bits 0-5, bit 6 set when the samples are
// packed (then a 4-byte field, the unpacked sample size, follows), bit 7 set when they are
// delta-coded; then n sample records of 6 bytes (0-1 length in words, 2 finetune, bit 7 set for a
// packed sample, 3 volume, 4-5 loop start in words, 0xFFFF for none: the loop runs to the end of
// the sample); then per pattern four 16-bit track addresses (channels 1 to 4, offsets into the
// track data); then the position list ended by 0xFF (pattern numbers; twice the pattern number in
// 5.0A); then the track data up to the sample data; then the sample data, 8-bit signed PCM (or its
// byte-to-byte differences when delta-coded), samples in record order. A length of 0x8000 or more
// is minus the number (1-based) of an earlier sample whose data this one plays again with its own
// finetune, volume and loop; it has no data of its own.
//
// Track entries of 5.0A and 6.0A. Byte 0 = 0x80: the byte 1 + 1 entries that start the
// 16-bit offset in bytes 2-3 before the end of this entry play here, as if written in place.
// Otherwise byte 0 below 0x80 is the first of three bytes: bits 1-6 the note (0 none, 1-36 index
// the finetune-0 period table), bit 0 bit 4 of the sample; byte 1 sample bits 0-3 and the effect;
// byte 2 the parameter. Byte 0 from 0x80 on is the complement of that first byte, and a fourth
// byte follows: below 0x80 the number of empty rows after the cell, from 0x80 on the negated
// number of rows that repeat it.
//
// Track entries of 6.1A, bit 7 of byte 0 again telling that a count byte follows the entry:
// 0x7F an empty cell (1 byte); 0x70-0x7E a note and sample without effect (2 bytes: the note is
// the low nibble × 8 plus the top 3 bits of the next byte, the sample its low 5 bits); 0x60-0x6F
// only the effect, in the low nibble, and its parameter in the next byte (2 bytes); below 0x60
// the three bytes of 5.0A. Count byte: bits 6-7 00 empty rows after the cell, 10 rows that
// repeat it (both counted in bits 0-5), 01 and 11 a jump: instead of the (empty) cell, the
// bits 0-5 + 1 entries that start the 8-bit (01) or 16-bit (11) offset in the next byte(s)
// before the end of this entry play here.
//
// Decisions, taken from the real modules where they tell:
// - The packer stops a pattern's tracks after its first row with a pattern break or position
//   jump (effect D or B); the rows behind it are written empty, never read.
// - Effects 5, 6 and A keep their slide as a signed byte, positive sliding the volume down (the
//   volumes the real songs reach say so): the converted module gets the ProTracker nibbles back.
//   No real module breaks to a row other than 0; like the slides, the break row is taken to be
//   stored ready for the replay, as a binary number, and comes back decimal-coded. Other
//   effects are kept as they are.
// - The packer cuts the zero bytes off the end of each sample; they stay cut.
// - All patterns are stored and the song plays the last: the highest position is the number of
//   patterns - 1. This also tells 5.0A (even positions, halved) from 6.0A.
// - No real module with delta-coded samples was at hand: bit 7 of the sample count, the one bit
//   left, is taken as their flag, and they are summed up sample by sample, each from 0.
// - Modules with packed samples are recognised and reported, never converted; their unpacked
//   sample size is below 16 MB. A one-sample module has its first track at address 0 (the
//   packer writes the first pattern's first track first): the scan's gates rely on it.
//
// Threading: none; used from the ripper's one thread.

#include "../RipState.h"

#include <array>
#include <cstdint>

namespace thePlayer6x {

enum class Version { V50A, V60A, V61A };

inline constexpr unsigned kMaxPatterns = 128;
inline constexpr unsigned kMaxPositions = 128;
inline constexpr unsigned kMaxNote = 36;
inline constexpr std::uint8_t kPackedSamples = 0x40;
inline constexpr std::uint8_t kDeltaSamples = 0x80;
inline constexpr std::uint8_t kSampleCountBits = 0x3F;
inline constexpr std::uint32_t kRecordBytes = 6;
inline constexpr std::uint16_t kNoLoop = 0xFFFF;

// Where the parts of a module lie, all as input indices, read from its header.
struct Layout {
    std::uint64_t start = 0;
    unsigned patterns = 0;
    unsigned samples = 0;
    bool packed = false;
    bool delta = false;
    std::uint64_t records = 0;
    std::uint64_t trackTable = 0;
    std::uint64_t positions = 0;
    unsigned positionCount = 0; // up to the 0xFF, at most kMaxPositions + 1 bytes looked at
    std::uint64_t trackData = 0;
    std::uint64_t sampleData = 0;
};

// The layout of the module whose header starts at `start`; reads through the OrZero readers.
Layout layoutAt(const RipState& st, std::uint64_t start);

// The pattern number of position `index`.
unsigned patternAt(const RipState& st, const Layout& layout, Version version, unsigned index);

// Length in words of sample `index` (0-based), that of the sample it refers to for a repeated one.
std::uint32_t sampleWords(const RipState& st, const Layout& layout, unsigned index);
// True when sample `index` plays the data of an earlier one; `source` then holds its index.
bool repeatsSample(const RipState& st, const Layout& layout, unsigned index, unsigned& source);

using PatternCells = std::array<std::uint8_t, 1024>;

// Decodes pattern `pattern` into ProTracker cells. With `check` it stops at the first entry that
// reads outside the track data, jumps anywhere but back, jumps inside a jump, or gives a note
// above 36 or a sample above the module's count, and returns false; without, such a channel
// gives empty rows from there. Reads through the OrZero readers either way.
bool decodePattern(const RipState& st, const Layout& layout, Version version, unsigned pattern,
                   bool check, PatternCells& cells);

// Returns 0 when the bytes before the scan position are a module of `version` whose samples are
// packed or not, as `packed` asks; leaves module start and sample data size in RipState.
int testModule(RipState& st, Version version, bool packed);

// Writes "-1.mod" for the module the test accepted.
void depackModule(RipState& st, Version version, const char* bannerName);

} // namespace thePlayer6x
