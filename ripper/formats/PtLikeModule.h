#pragma once
// Modules laid out like a ProTracker module: 31 sample records (length in words, finetune,
// volume, loop start and loop length in words), the song length, a restart byte, a 128-entry
// order list, whole patterns of 64 rows x 4 cells of 4 bytes, then the sample data in record
// order. Module Protector, Power Music and Wanton Packer keep that shape and differ only in
// where the parts lie, in how a cell holds its note and in delta-coded samples, so they share
// one test, rip and depack here.
//
// Threading: none; used from the ripper's one thread.

#include "../RipState.h"

#include <cstdint>

namespace ptLike {

enum class CellKind : std::uint8_t {
    // ProTracker's cell: sample bit 4 and period bits 8-11, period bits 0-7, sample bits 0-3 and
    // effect, parameter. Written out unchanged.
    Period,
    // Note number x 2 (0 no note, 2-72 for the 36 notes of the finetune-0 table), sample number
    // (0-31), effect (0-15), parameter.
    DoubledNoteNumber,
};

struct Layout {
    std::uint32_t records;      // offset of the first record's length (behind its name, if any)
    std::uint32_t recordStride; // 8 for nameless records, 30 with a 22-byte name
    std::uint32_t songLength;   // song length byte; the restart byte and the order list follow
    std::uint32_t patterns;     // first byte of pattern 0
    // Offset of a byte holding the number of stored patterns; 0 when the module stores, as
    // ProTracker does, patterns up to the highest of all 128 order entries.
    std::uint32_t patternCountByte;
    CellKind cells;
    bool deltaSamples; // each sample stored as 8-bit differences, starting from 0
};

// Returns 0 when a module of `layout` starts at `start`, lies inside the input and every field
// is plausible. Leaves moduleStart, sampleDataSize and in scratch[0] the number of stored
// patterns and in scratch[1] the number the song plays (its highest order entry + 1).
int test(RipState& st, std::uint64_t start, const Layout& layout);

// Output size from the test's sizes, noteRip, and the scan moved onto the module's last byte.
void rip(RipState& st, const Layout& layout, const char* formatName, int extensionIndex);

// Writes the ProTracker module: zero title and names, the records, the song's order entries
// (the rest zero), restart 0x7F, "M.K.", the patterns the song plays, the plain sample data and
// the banner.
void depack(RipState& st, const Layout& layout, const char* bannerName);

} // namespace ptLike
