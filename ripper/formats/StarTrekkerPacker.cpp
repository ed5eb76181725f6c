// StarTrekker Packer: the ProTracker header without names, patterns as a stream of cells where
// an empty cell takes one byte.
//
// Packed layout from module start s (big-endian): 0-19 title (not read: the output title is
// zero), 20-267 31 sample records of 8 bytes (the ProTracker record without its name), 268 the
// number of positions times 4 (16 bits), 270 16 bits not read (0 in the real files), 272-783 128
// pattern addresses of 32 bits, one per position (offsets into the pattern data; positions
// sharing a pattern share its address), 784 the size of the pattern data (32 bits, also the
// offset of the sample data from 788), 788 the pattern data, then the sample data (plain 8-bit).
//
// A pattern is 256 cells, rows in order and channels 1-4 in each row. The byte 0x80 is an empty
// cell; any other cell is the ProTracker cell with the sample number times 4 split over the
// high nibbles of bytes 0 and 2 (bit 7 of byte 0 is therefore clear). Addresses need not be even:
// the pattern data is padded to an even size behind the last pattern. Patterns are numbered in
// the order of their addresses; patterns no position plays are not in the file.
//
// The scan position is the high byte of the position count (s + 268), which is at most 2: the
// sample records before it can be all zero, and a test there would be skipped with them.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace {
constexpr std::uint32_t kScanOffset = 268;
constexpr std::uint32_t kRecords = 20;
constexpr std::uint32_t kPositionCount = 268;
constexpr std::uint32_t kAddresses = 272;
constexpr std::uint32_t kPatternDataSize = 784;
constexpr std::uint32_t kPatternData = 788;
constexpr std::uint8_t kEmptyCell = 0x80;
// 128 patterns of full cells and the padding byte.
constexpr std::uint32_t kMaxPatternDataSize = 128 * 1024 + 1;

// Slots of RipState::scratch.
constexpr std::size_t kSlotPositions = 0;
constexpr std::size_t kSlotPatternDataSize = 1;

bool plausiblePeriod(unsigned period) {
    return period == 0 || (period >= 108 && period <= 907);
}

// Checks one pattern's 256 cells from `at`, none reaching past `end`.
bool patternFits(const RipState& st, std::uint64_t at, std::uint64_t end) {
    for (int cell = 0; cell < 256; ++cell) {
        if (at >= end)
            return false;
        const std::uint8_t first = u8(st, at);
        if (first == kEmptyCell) {
            ++at;
            continue;
        }
        if (first & 0x80 || at + 4 > end)
            return false;
        const unsigned sampleTimes4 = (first & 0xF0) | u8(st, at + 2) >> 4;
        if (sampleTimes4 % 4 != 0 || !plausiblePeriod((first & 0x0F) << 8 | u8(st, at + 1)))
            return false;
        at += 4;
    }
    return true;
}

int testStarTrekkerPacker(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (!fits(st, s, kPatternData))
        return 1;
    const unsigned count = be16(st, s + kPositionCount);
    if (count == 0 || count % 4 != 0 || count > 512)
        return 1;
    const std::uint32_t patternBytes = be32(st, s + kPatternDataSize);
    if (patternBytes < 256 || patternBytes > kMaxPatternDataSize)
        return 1;
    const unsigned positions = count / 4;
    for (unsigned i = 0; i < positions; ++i)
        if (be32(st, s + kAddresses + 4 * i) + 256 > patternBytes)
            return 1;
    const std::int64_t sampleBytes = checkedRecordBytes(st, s + kRecords, 8);
    if (sampleBytes <= 0 || !fits(st, s + kPatternData, patternBytes + std::uint64_t(sampleBytes)))
        return 1;
    const std::uint64_t patternData = s + kPatternData;
    for (unsigned i = 0; i < positions; ++i)
        if (!patternFits(st, patternData + be32(st, s + kAddresses + 4 * i),
                         patternData + patternBytes))
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kSlotPositions] = positions;
    st.scratch[kSlotPatternDataSize] = patternBytes;
    return 0;
}

void ripStarTrekkerPacker(RipState& st) {
    st.outputSize = kPatternData + st.scratch[kSlotPatternDataSize] + st.sampleDataSize;
    noteRip(st, "StarTrekker Packer module", 21);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// Decodes the pattern at `at` into ProTracker cells.
void depackPattern(const RipState& st, std::uint64_t at, std::array<std::uint8_t, 1024>& pattern) {
    pattern.fill(0);
    for (std::size_t cell = 0; cell < 256; ++cell) {
        const std::uint8_t first = u8OrZero(st, at);
        if (first == kEmptyCell) {
            ++at;
            continue;
        }
        const std::uint8_t third = u8OrZero(st, at + 2);
        const unsigned sample = ((first & 0xF0) | third >> 4) / 4;
        std::uint8_t* out = &pattern[cell * 4];
        out[0] = static_cast<std::uint8_t>((sample & 0x10) | (first & 0x0F));
        out[1] = u8OrZero(st, at + 1);
        out[2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 | (third & 0x0F));
        out[3] = u8OrZero(st, at + 3);
        at += 4;
    }
}

void depackStarTrekkerPacker(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned positions = st.scratch[kSlotPositions];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (int i = 0; i < 31; ++i) {
        out.zeros(22);
        out.input(s + kRecords + 8 * i, 8);
    }
    out.byte(static_cast<std::uint8_t>(positions));
    out.byte(0x7F);

    std::vector<std::uint32_t> addresses;
    for (unsigned i = 0; i < positions; ++i)
        addresses.push_back(be32OrZero(st, s + kAddresses + 4 * i));
    std::vector<std::uint32_t> patterns = addresses;
    std::sort(patterns.begin(), patterns.end());
    patterns.erase(std::unique(patterns.begin(), patterns.end()), patterns.end());
    std::array<std::uint8_t, 128> order{};
    for (unsigned i = 0; i < positions; ++i)
        order[i] = static_cast<std::uint8_t>(
            std::lower_bound(patterns.begin(), patterns.end(), addresses[i]) - patterns.begin());
    out.bytes(order.data(), order.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (std::uint32_t address : patterns) {
        depackPattern(st, s + kPatternData + address, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + kPatternData + st.scratch[kSlotPatternDataSize], st.sampleDataSize);
    writeBanner31(" StarTrekker Pack ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// The test needs the top byte of the first pattern address to be 0 and a position count below
// 4096 (it allows at most 512), so the high byte of the count (the position itself) is below
// 0x10. Both gates are of kinds other chain tests use too, so the pre-pass checks no new one.
const FormatSteps starTrekkerPackerSteps = {testStarTrekkerPacker,
                                            ripStarTrekkerPacker,
                                            depackStarTrekkerPacker,
                                            true,
                                            {ScanGate{4, 0xFF, 0x00}, ScanGate{0, 0xF0, 0x00}}};
