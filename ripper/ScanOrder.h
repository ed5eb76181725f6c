#pragma once
// The order in which the scan tries formats at a position. The first byte b of the position
// selects: b up to 0x40 runs the chain (after the "!PM!", channel-count and '<' checks that the
// driver makes itself), b above 0x40 compares the position with the tag rows of that byte.
//
// Threading: constant data; any thread.

#include "Formats.h"

#include <cstdint>
#include <span>
#include <string_view>

struct ChainEntry {
    FormatId format;
    // When set, an accepting test is only reported with this message (printf, the module start
    // as %ld): nothing is ripped and the position stays where it is.
    const char* refusedMessage = nullptr;
};

struct TagRow {
    std::string_view tag; // compared at the position; may hold zero bytes
    FormatId formats[3];  // tried in order, first `formatCount` of them
    std::uint8_t formatCount = 1;
    // The byte before the position must be this (-1: no condition; never true at position 0).
    int previousByte = -1;
    // A rejecting test ends the position's tag comparisons at once.
    bool rejectEndsPosition = false;
    // After an accepting test the following rows of the same byte are still compared, at the
    // advanced position.
    bool acceptKeepsComparing = false;
};

// Tests of the chain after the special cases, in the scan's order.
std::span<const ChainEntry> chainOrder();
// Tag rows in the order they are compared, grouped by first byte.
std::span<const TagRow> tagRows();
