#pragma once
// The plausibility check of a module's 31 sample records, shared by the converters whose records
// are the 8-byte ProTracker record (length, finetune, volume, loop start, loop length; lengths
// in 16-bit words), with or without a name in front.
//
// Threading: pure function over RipState; same rules as RipState.

#include "InputBytes.h"
#include "OutputModule.h"

#include <cstdint>

// Sum in bytes of the lengths of the 31 records `stride` bytes apart from `first`; -1 when one
// fails checkSampleDescriptor. The caller has checked that the records lie inside the input.
inline std::int64_t checkedRecordBytes(const RipState& st, std::uint64_t first,
                                       std::uint32_t stride) {
    std::int64_t total = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = first + std::uint64_t(stride) * i;
        const std::int64_t length = be16(st, record) * 2;
        if (checkSampleDescriptor(length, be16(st, record + 4) * 2, be16(st, record + 6) * 2,
                                  u8(st, record + 3), u8(st, record + 2)) != 0)
            return -1;
        total += length;
    }
    return total;
}
