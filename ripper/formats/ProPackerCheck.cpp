// The test step of ProPacker v1.0, v2.1 and v3.0 (layout in ProPacker.h): the sample records,
// the song length and track table, then every cell the tracks can reach.
#include "../InputBytes.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "ProPacker.h"

#include <algorithm>
#include <bitset>

namespace proPacker {
namespace {
constexpr unsigned kLowestPeriod = 113;
constexpr unsigned kHighestPeriod = 856;

struct Header {
    std::uint64_t start = 0;
    std::uint64_t sampleBytes = 0;
    std::uint32_t trackCount = 0;
};

bool readHeader(const RipState& st, std::uint64_t s, Header& header) {
    if (!fits(st, s, kTrackData))
        return false;
    // Finetunes and volumes first: they reject most positions at once.
    for (unsigned i = 0; i < 31; ++i)
        if (u8(st, s + kRecordBytes * i + 2) > 15 || u8(st, s + kRecordBytes * i + 3) > 64)
            return false;
    const std::int64_t sampleBytes = checkedRecordBytes(st, s, kRecordBytes);
    const unsigned songLength = u8(st, s + kSongLength);
    if (sampleBytes <= 0 || songLength == 0 || songLength > kMaxPositions)
        return false;
    // The packer stores only tracks the table names: every number up to the highest is used.
    // This also keeps the cell checks short on repetitive data, which names few numbers.
    std::bitset<256> named;
    unsigned highestTrack = 0;
    for (unsigned i = 0; i < 4 * kMaxPositions; ++i) {
        const std::uint8_t track = u8(st, s + kTrackTable + i);
        named.set(track);
        highestTrack = std::max<unsigned>(highestTrack, track);
    }
    if (named.count() != highestTrack + 1)
        return false;
    header = {s, static_cast<std::uint64_t>(sampleBytes), highestTrack + 1};
    return true;
}

// Whether the 4-byte cells from `at` are ProTracker cells (sample number up to 31, no period or
// one of the finetune-0 range) of which at least one plays a note: a song of empty cells is
// what zero-filled sample data looks like.
bool plausibleCells(const RipState& st, std::uint64_t at, std::uint64_t bytes) {
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

// Size of the reference table when the module reads as `storage` (v2.1 or v3.0): every word a
// reference inside the table, the highest one its last cell, every cell plausible, the sample
// data inside the input. 0 when it does not.
std::uint32_t referenceTableBytes(const RipState& st, const Header& header, CellStorage storage) {
    const std::uint64_t tracks = header.start + kTrackData;
    const std::uint64_t tableSize =
        tracks + std::uint64_t{kReferenceTrackBytes} * header.trackCount;
    if (!fits(st, tableSize, 4))
        return 0;
    const std::uint32_t tableBytes = be32(st, tableSize);
    // A table holds at most one distinct cell per track row.
    if (tableBytes == 0 || tableBytes % 4 != 0 || tableBytes / 4 > 64u * header.trackCount ||
        !fits(st, tableSize + 4, std::uint64_t{tableBytes} + header.sampleBytes))
        return 0;
    const bool offsets = storage == CellStorage::CellOffsets;
    const std::uint32_t limit = offsets ? tableBytes : tableBytes / 4;
    std::uint32_t highest = 0;
    for (std::uint64_t at = tracks; at < tableSize; at += 2) {
        const std::uint32_t word = be16(st, at);
        if (word >= limit || (offsets && word % 4 != 0))
            return 0;
        highest = std::max(highest, word);
    }
    const std::uint32_t lastCell = offsets ? tableBytes - 4 : tableBytes / 4 - 1;
    if (highest != lastCell || !plausibleCells(st, tableSize + 4, tableBytes))
        return 0;
    return tableBytes;
}

// Whether the module from `start` is stored as `storage`; leaves its sizes in RipState.
bool acceptModuleAt(RipState& st, std::uint64_t start, CellStorage storage) {
    Header header;
    if (!readHeader(st, start, header))
        return false;
    std::uint32_t tableBytes = 0;
    std::uint64_t sampleDataOffset = 0;
    if (storage == CellStorage::Tracks) {
        const std::uint64_t trackBytes = std::uint64_t{kPlainTrackBytes} * header.trackCount;
        if (!fits(st, header.start + kTrackData, trackBytes + header.sampleBytes) ||
            !plausibleCells(st, header.start + kTrackData, trackBytes))
            return false;
        // v1.0 is tried first; the later members' tables are what tells them apart.
        if (referenceTableBytes(st, header, CellStorage::CellNumbers) != 0 ||
            referenceTableBytes(st, header, CellStorage::CellOffsets) != 0)
            return false;
        sampleDataOffset = kTrackData + trackBytes;
    } else {
        tableBytes = referenceTableBytes(st, header, storage);
        if (tableBytes == 0)
            return false;
        sampleDataOffset =
            kTrackData + std::uint64_t{kReferenceTrackBytes} * header.trackCount + 4 + tableBytes;
    }
    st.moduleStart = static_cast<std::uint32_t>(header.start);
    st.sampleDataSize = static_cast<std::uint32_t>(header.sampleBytes);
    st.scratch[kTrackCount] = header.trackCount;
    st.scratch[kReferenceTableBytes] = tableBytes;
    st.scratch[kSampleDataOffset] = static_cast<std::uint32_t>(sampleDataOffset);
    return true;
}
} // namespace

// The module's last finetune byte is at the position, or a few bytes before it: the scan steps
// over runs of 64 zero bytes 63 at a time, so when the last sample records are all zero it can
// step past that byte and land on one of the zeros in front of the song length. Behind such a
// landing lie 64 zero bytes; only there does the test also look back, for a restart byte nearer
// than usual.
int testModule(RipState& st, CellStorage storage) {
    constexpr std::uint32_t kRestartDistance = kRestartByte - kScanOffset;
    constexpr std::uint32_t kSkippedRun = 64;
    const std::uint64_t p = st.position;
    if (p < kScanOffset || !fits(st, p, kRestartDistance + 1))
        return 1;
    if (u8(st, p + kRestartDistance) == 0x7F && acceptModuleAt(st, p - kScanOffset, storage))
        return 0;
    if (p < kScanOffset + kSkippedRun)
        return 1;
    for (std::uint32_t i = 0; i < kSkippedRun; ++i)
        if (u8(st, p - i) != 0)
            return 1;
    // `back`: how far the last finetune byte lies before the position.
    for (std::uint32_t back = 1; back < kRestartDistance - 1; ++back)
        if (u8(st, p + kRestartDistance - back) == 0x7F &&
            acceptModuleAt(st, p - back - kScanOffset, storage))
            return 0;
    return 1;
}

} // namespace proPacker
