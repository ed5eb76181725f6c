// Eureka Packer: the ProTracker header kept, the patterns stored as four channel tracks of
// variable-length cells and empty-row skips.
//
// Packed layout from module start s (big-endian): 0-1079 the ProTracker header (title, 31 sample
// records with names, song length, restart byte, order list), 1080-1083 offset of the sample
// data from s, 1084 four 16-bit track addresses (from s) per pattern the song plays, channel by
// channel, then the tracks and the sample data.
//
// A track is 64 rows of items told apart by the top two bits of their first byte c:
//   00: a whole ProTracker cell of 4 bytes, c being its first byte;
//   01: 2 bytes, effect (low nibble of c) and parameter, without sample or note;
//   10: 3 bytes, the sample's low nibble in c and the cell's first two bytes (sample high bit and
//       period), without effect;
//   11: (c & 0x3F) + 1 empty rows.
// Tracks may be shared between patterns, so track addresses need not rise.
//
// Scratch: 0 patterns the song plays, 1 song length.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kScanOffset = 1081; // second byte of the sample data offset
constexpr std::uint32_t kRecords = 20;
constexpr std::uint32_t kSongLength = 950;
constexpr std::uint32_t kOrderList = 952;
constexpr std::uint32_t kSampleDataOffset = 1080;
constexpr std::uint32_t kTrackTable = 1084;
// Tracks have 16-bit addresses, so the sample data behind them starts below this.
constexpr std::uint64_t kSampleDataLimit = 0x20000;

enum class Item { Cell, Effect, Note, Skip };

Item itemOf(std::uint8_t first) {
    return static_cast<Item>(first >> 6);
}

unsigned itemBytes(std::uint8_t first) {
    static constexpr unsigned kBytes[] = {4, 2, 3, 1};
    return kBytes[first >> 6];
}

std::uint64_t trackAddress(const RipState& st, std::uint64_t s, unsigned pattern,
                           unsigned channel) {
    return s + be16OrZero(st, s + kTrackTable + 8u * pattern + 2u * channel);
}

// True when the track at `cursor` has 64 rows of well-formed items, all before `end`.
bool trackDecodes(const RipState& st, std::uint64_t cursor, std::uint64_t end) {
    unsigned row = 0;
    while (row < 64) {
        if (cursor >= end)
            return false;
        const std::uint8_t first = u8(st, cursor);
        if (cursor + itemBytes(first) > end)
            return false;
        switch (itemOf(first)) {
        case Item::Cell: // sample high bit and a period below 0x400
            if ((first & 0x2C) != 0)
                return false;
            break;
        case Item::Effect:
            if ((first & 0x30) != 0)
                return false;
            break;
        case Item::Note:
            if ((first & 0x30) != 0 || (u8(st, cursor + 1) & 0xEC) != 0)
                return false;
            break;
        case Item::Skip:
            row += first & 0x3F;
            if (row >= 64)
                return false;
            break;
        }
        ++row;
        cursor += itemBytes(first);
    }
    return true;
}

int testEureka(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (!fits(st, s, kTrackTable))
        return 1;
    const unsigned songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    unsigned patterns = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        const unsigned pattern = u8(st, s + kOrderList + i);
        if (pattern > 127)
            return 1;
        patterns = std::max(patterns, pattern + 1);
    }
    const std::uint64_t tableEnd = kTrackTable + 8u * patterns;
    const std::uint64_t sampleData = be32(st, s + kSampleDataOffset);
    if (sampleData < tableEnd || sampleData >= kSampleDataLimit || !fits(st, s, sampleData))
        return 1;
    const std::int64_t sampleBytes = checkedRecordBytes(st, s + kRecords + 22, 30);
    if (sampleBytes < 0 || !fits(st, s + sampleData, std::uint64_t(sampleBytes)))
        return 1;
    for (unsigned p = 0; p < patterns; ++p)
        for (unsigned channel = 0; channel < 4; ++channel) {
            const std::uint64_t track = trackAddress(st, s, p, channel);
            if (track < s + tableEnd || !trackDecodes(st, track, s + sampleData))
                return 1;
        }

    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch = {patterns, songLength, 0, 0};
    return 0;
}

void ripEureka(RipState& st) {
    st.outputSize = be32(st, st.moduleStart + kSampleDataOffset) + st.sampleDataSize;
    noteRip(st, "Eureka Packed module", 20);
    advanceScanTo(st, std::int64_t(st.moduleStart) + st.outputSize - 1);
}

// Decodes one track into `channel` of the pattern buffer.
void depackTrack(const RipState& st, std::uint64_t cursor, unsigned channel,
                 std::array<std::uint8_t, 1024>& pattern) {
    unsigned row = 0;
    while (row < 64) {
        const std::uint8_t first = u8OrZero(st, cursor);
        std::uint8_t* cell = &pattern[row * 16 + channel * 4];
        switch (itemOf(first)) {
        case Item::Cell:
            for (unsigned i = 0; i < 4; ++i)
                cell[i] = u8OrZero(st, cursor + i);
            break;
        case Item::Effect:
            cell[2] = first & 0x0F;
            cell[3] = u8OrZero(st, cursor + 1);
            break;
        case Item::Note:
            cell[0] = u8OrZero(st, cursor + 1);
            cell[1] = u8OrZero(st, cursor + 2);
            cell[2] = static_cast<std::uint8_t>((first & 0x0F) << 4);
            break;
        case Item::Skip:
            row += first & 0x3F;
            break;
        }
        ++row;
        cursor += itemBytes(first);
    }
}

void depackEureka(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned patterns = st.scratch[0];
    const unsigned songLength = st.scratch[1];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + 30u * i + 22;
        out.zeros(22);
        out.input(record, 8);
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.input(s + kOrderList, songLength);
    out.zeros(128 - songLength);
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < patterns; ++p) {
        pattern.fill(0);
        for (unsigned channel = 0; channel < 4; ++channel)
            depackTrack(st, trackAddress(st, s, p, channel), channel, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + be32OrZero(st, s + kSampleDataOffset), sampleBytes);
    writeBanner31("  EUREKA Packer   ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// The test runs at the second byte of the sample data offset: that offset lies below 128 KiB in
// every module (the tracks before it have 16-bit addresses), so its top byte is zero and the
// next one at most 1.
const FormatSteps eurekaSteps = {
    testEureka, ripEureka, depackEureka, true, {ScanGate{-1, 0xFF, 0x00}, ScanGate{0, 0xFE, 0x00}}};
