#pragma once
// The ProTracker finetune-0 period table used by converters whose packed notes are note numbers.
//
// Threading: constant data; any thread.

#include <array>
#include <cstdint>

// 37 entries, each stored as two big-endian bytes: entry 0 is 0 (no note), entries 1-36 are the
// periods of C-1 to B-3 (856 down to 113).
using PeriodTable = std::array<std::array<std::uint8_t, 2>, 37>;
extern const PeriodTable ptPeriodTable;

// Period of note `index` (0-36); indices outside the table give 0 (no note) so that a hostile
// note number never reads past the table.
inline std::uint16_t periodOf(const PeriodTable& table, unsigned index) {
    if (index >= table.size())
        return 0;
    return static_cast<std::uint16_t>(table[index][0] << 8 | table[index][1]);
}
