// The test step of the Promizer members (layout in Promizer.h): where the header lies, the
// sample records, the song, the pattern data and its references, and the sample data.
#include "../InputBytes.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "Promizer.h"

#include <algorithm>

namespace promizer {
namespace {
// Routine offsets of 1.x: the play set-up's `lea (d16,pc),a0` of the header, and the
// displacements of the first two `lea` instructions, which 1.8a's routine has 4 bytes larger.
constexpr std::uint32_t kHeaderLea = 0xAC;
constexpr std::uint16_t kLeaToA0 = 0x41FA;
constexpr std::uint32_t kFirstLeaDisplacement = 0x14;
constexpr std::uint32_t kSecondLeaDisplacement = 0x24;
constexpr std::uint16_t kFirstLea18a = 0x0FD2;
constexpr std::uint16_t kSecondLea18a = 0x1100;
// A 1.x song header: chain distance and pattern data size in front of the records.
constexpr std::uint32_t kSongHeaderBytes = 8 + kHeaderBytes;
// Songs a 1.x chain may hold before the test gives up on it.
constexpr int kMaxSongs = 64;
// Periods of all finetune tables lie in this range.
constexpr unsigned kLowestPeriod = 108;
constexpr unsigned kHighestPeriod = 907;

// Sum of the sample lengths in bytes of the 31 records from `records` when all are plausible
// (the caller has checked they lie inside the input); 0 when not or when there is no sample.
std::uint64_t sampleBytesOf(const RipState& st, std::uint64_t records) {
    // Finetunes and volumes first: they turn most positions away at once.
    for (unsigned i = 0; i < 31; ++i)
        if (u8(st, records + kRecordBytes * i + 2) > 15 ||
            u8(st, records + kRecordBytes * i + 3) > 64)
            return 0;
    return static_cast<std::uint64_t>(
        std::max<std::int64_t>(0, checkedRecordBytes(st, records, kRecordBytes)));
}

// Whether the song length and the positions' pattern offsets fit `patternDataBytes`; the caller
// has checked that the header lies inside the input.
bool songPlausible(const RipState& st, std::uint64_t records, std::uint32_t patternDataBytes,
                   std::uint32_t patternSize) {
    if (patternDataBytes == 0 || patternDataBytes % patternSize != 0 ||
        patternDataBytes / patternSize > kMaxPositions)
        return false;
    const unsigned lengthTimes4 = be16(st, records + kSongLength);
    if (lengthTimes4 == 0 || lengthTimes4 % 4 != 0 || lengthTimes4 / 4 > kMaxPositions)
        return false;
    for (unsigned i = 0; i < lengthTimes4 / 4; ++i) {
        const std::uint32_t offset = be32(st, records + kOrderList + 4 * i);
        if (offset % patternSize != 0 || offset >= patternDataBytes)
            return false;
    }
    return true;
}

// Whether every 16-bit reference of the pattern data is a cell of a table of `cellCount` cells,
// as a cell number or as a byte offset.
bool referencesPlausible(const RipState& st, std::uint64_t patterns, std::uint32_t bytes,
                         std::uint32_t cellCount, bool offsets) {
    const std::uint32_t limit = offsets ? 4 * cellCount : cellCount;
    for (std::uint64_t at = patterns; at < patterns + bytes; at += 2) {
        const std::uint32_t word = be16(st, at);
        if (word >= limit || (offsets && word % 4 != 0))
            return false;
    }
    return true;
}

// 0.1: every cell a ProTracker cell with a sample number up to 31 and no period or one of the
// finetune tables' range, and at least one note: zero-filled data is no song.
bool finetunedCellsPlausible(const RipState& st, std::uint64_t at, std::uint64_t bytes) {
    bool anyNote = false;
    for (std::uint64_t i = 0; i < bytes; i += 4) {
        const std::uint8_t first = u8(st, at + i);
        const unsigned period = (first & 0x0Fu) << 8 | u8(st, at + i + 1);
        if ((first & 0xE0) != 0 ||
            (period != 0 && (period < kLowestPeriod || period > kHighestPeriod)))
            return false;
        anyNote = anyNote || period != 0;
    }
    return anyNote;
}

// 2.0 and 4.0: the period field of every cell holds twice a note number.
bool noteCellsPlausible(const RipState& st, std::uint64_t at, std::uint64_t bytes) {
    for (std::uint64_t i = 0; i < bytes; i += 4) {
        const std::uint8_t note = u8(st, at + i + 1);
        if ((u8(st, at + i) & 0xEF) != 0 || note % 2 != 0 || note > 72)
            return false;
    }
    return true;
}

struct Found {
    std::uint64_t start = 0;
    std::uint64_t records = 0;
    std::uint32_t patternDataBytes = 0;
    std::uint64_t cells = 0;
    std::uint64_t sampleData = 0;
    std::uint64_t sampleBytes = 0;
};

bool find01(const RipState& st, Found& found) {
    if (st.position < kScanOffset01)
        return false;
    const std::uint64_t s = st.position - kScanOffset01;
    const std::uint64_t patterns = s + patternDataOffset(Version::V01);
    if (!fits(st, s, patternDataOffset(Version::V01)))
        return false;
    // The song first: it lies at the scan position and turns most positions away. Zero bytes
    // reach the test without the scan gates, so it checks their first pattern offset again.
    const std::uint32_t patternDataBytes = be32(st, s + kHeaderBytes);
    if (be32(st, s + kOrderList) >= kMaxPositions * patternBytes(Version::V01) ||
        !songPlausible(st, s, patternDataBytes, patternBytes(Version::V01)))
        return false;
    const std::uint64_t sampleBytes = sampleBytesOf(st, s);
    if (sampleBytes == 0 || !fits(st, patterns, std::uint64_t{patternDataBytes} + sampleBytes) ||
        !finetunedCellsPlausible(st, patterns, patternDataBytes))
        return false;
    found = {s, s, patternDataBytes, 0, patterns + patternDataBytes, sampleBytes};
    return true;
}

// The input index behind the zero long that ends the chain of songs from `header`; 0 when the
// chain leaves the input or does not end.
std::uint64_t chainEnd(const RipState& st, std::uint64_t header) {
    for (int song = 0; song < kMaxSongs; ++song) {
        if (!fits(st, header, 4))
            return 0;
        const std::uint32_t next = be32(st, header);
        if (next == 0)
            return header + 4;
        if (next < kSongHeaderBytes)
            return 0;
        header += next;
    }
    return 0;
}

bool find1x(const RipState& st, Version version, Found& found) {
    const std::uint64_t routine = st.position;
    if (!fits(st, routine, kHeaderLea + 4) || be16(st, routine + kHeaderLea) != kLeaToA0)
        return false;
    if (version == Version::V18a && (be16(st, routine + kFirstLeaDisplacement) != kFirstLea18a ||
                                     be16(st, routine + kSecondLeaDisplacement) != kSecondLea18a))
        return false;
    // The header lies behind the instruction that loads it.
    const auto displacement = static_cast<std::int16_t>(be16(st, routine + kHeaderLea + 2));
    if (displacement <= 0)
        return false;
    const std::uint64_t header = routine + kHeaderLea + 2 + displacement;
    if (!fits(st, header, kSongHeaderBytes))
        return false;
    const std::uint64_t records = header + 8;
    const std::uint32_t nextSong = be32(st, header);
    const std::uint32_t patternDataBytes = be32(st, header + 4);
    const std::uint64_t cells = records + kHeaderBytes + std::uint64_t{patternDataBytes};
    const std::uint64_t sampleBytes = sampleBytesOf(st, records);
    if (sampleBytes == 0 || !songPlausible(st, records, patternDataBytes, patternBytes(version)) ||
        header + nextSong < cells + 4 || (header + nextSong - cells) % 4 != 0)
        return false;
    const std::uint64_t sampleData = chainEnd(st, header);
    if (sampleData == 0 || !fits(st, sampleData, sampleBytes) ||
        !referencesPlausible(st, records + kHeaderBytes, patternDataBytes,
                             static_cast<std::uint32_t>((header + nextSong - cells) / 4), false))
        return false;
    found = {routine, records, patternDataBytes, cells, sampleData, sampleBytes};
    return true;
}

bool findSized(const RipState& st, Version version, Found& found) {
    const std::uint64_t start = st.position;
    const std::uint64_t header = start + (version == Version::V20 ? kRoutine20Bytes : 4);
    if (!fits(st, header, kSongHeaderBytes))
        return false;
    const std::uint64_t records = header + 8;
    const std::uint32_t patternDataBytes = be32(st, header);
    const std::uint32_t cellBytes = be32(st, header + 4);
    const std::uint64_t cells = records + kHeaderBytes + std::uint64_t{patternDataBytes};
    const std::uint64_t sampleBytes = sampleBytesOf(st, records);
    if (sampleBytes == 0 || cellBytes == 0 || cellBytes % 4 != 0 ||
        !songPlausible(st, records, patternDataBytes, patternBytes(version)) ||
        !fits(st, cells, std::uint64_t{cellBytes} + sampleBytes) ||
        !referencesPlausible(st, records + kHeaderBytes, patternDataBytes, cellBytes / 4, true) ||
        !noteCellsPlausible(st, cells, cellBytes))
        return false;
    found = {start, records, patternDataBytes, cells, cells + cellBytes, sampleBytes};
    return true;
}
} // namespace

int testModule(RipState& st, Version version) {
    Found found;
    bool accepted = false;
    switch (version) {
    case Version::V01:
        accepted = find01(st, found);
        break;
    case Version::V10c:
    case Version::V18a:
        accepted = find1x(st, version, found);
        break;
    case Version::V20:
    case Version::V40:
        accepted = findSized(st, version, found);
        break;
    }
    if (!accepted)
        return 1;
    const auto fromStart = [&found](std::uint64_t at) {
        return static_cast<std::uint32_t>(at - found.start);
    };
    st.moduleStart = static_cast<std::uint32_t>(found.start);
    st.sampleDataSize = static_cast<std::uint32_t>(found.sampleBytes);
    st.scratch[kRecordsOffset] = fromStart(found.records);
    st.scratch[kPatternDataBytes] = found.patternDataBytes;
    st.scratch[kCellTableOffset] = found.cells == 0 ? 0 : fromStart(found.cells);
    st.scratch[kSampleDataOffset] = fromStart(found.sampleData);
    return 0;
}

} // namespace promizer
