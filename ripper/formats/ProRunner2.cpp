// ProRunner 2: "SNT!", sample records without names, and patterns whose cells shrink to one byte
// when empty or when they repeat the channel's last note.
//
// Packed layout from module start s (big-endian): 0 "SNT!"; 4-7 offset of the sample data from
// s; 8-255 31 sample records of 8 bytes (the ProTracker record without its name); 256 song
// length; 257 restart byte (0x7F, not read); 258-385 the order list; 386-641 not read (zero in
// every module seen); 642-769 64 pattern addresses of 16 bits, offsets from s + 770; from 770 the
// pattern data; then the sample data as plain 8-bit PCM.
//
// A pattern is 64 rows of 4 cells, row by row. A cell starting with 0x80 is one byte and empty;
// one starting with 0xC0 is one byte and repeats the last three-byte cell of its channel in this
// pattern (empty cells do not count; with none yet it is empty, as patterns play in any order).
// Any other cell is three bytes: bits 1-7 of the first are the note number (0 none, 1-36 the
// finetune-0 periods of C-1 to B-3) and bit 0 is bit 0 of the sample number; the second holds
// sample bits 1-4 in its high nibble and the effect command in its low nibble; the third is the
// effect parameter. Effects are stored as ProTracker has them.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "../SampleRecords.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
// scratch slots
constexpr int kPatternCount = 0;

constexpr std::uint32_t kSampleDataOffset = 4;
constexpr std::uint32_t kRecords = 8;
constexpr std::uint32_t kSongLength = 256;
constexpr std::uint32_t kOrderList = 258;
constexpr std::uint32_t kPatternTable = 642;
constexpr std::uint32_t kPatternData = 770;
constexpr std::uint32_t kMaxPatterns = 64;
constexpr std::uint8_t kEmptyCell = 0x80;
constexpr std::uint8_t kRepeatCell = 0xC0;

std::int64_t checkedSampleBytes(const RipState& st, std::uint64_t s) {
    return checkedRecordBytes(st, s + kRecords, 8);
}

// Walks one pattern's cells from `cursor`; false when a cell is not one of the three kinds or
// runs into the sample data at `end`.
bool patternPlausible(const RipState& st, std::uint64_t cursor, std::uint64_t end) {
    for (unsigned cell = 0; cell < 64 * 4; ++cell) {
        if (cursor >= end)
            return false;
        const std::uint8_t first = u8(st, cursor);
        if (first == kEmptyCell || first == kRepeatCell) {
            ++cursor;
            continue;
        }
        if ((first & 0x80) != 0 || first >> 1 > 36 || cursor + 3 > end)
            return false;
        cursor += 3;
    }
    return true;
}

int testProRunner2(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kPatternData))
        return 1;
    const std::uint32_t sampleOffset = be32(st, s + kSampleDataOffset);
    if (sampleOffset <= kPatternData || !fits(st, s, sampleOffset))
        return 1;
    const std::uint8_t songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    std::uint32_t highestOrder = 0;
    for (std::uint32_t i = 0; i < songLength; ++i)
        highestOrder = std::max<std::uint32_t>(highestOrder, u8(st, s + kOrderList + i));
    if (highestOrder >= kMaxPatterns)
        return 1;
    const std::int64_t sampleBytes = checkedSampleBytes(st, s);
    if (sampleBytes <= 0 || !fits(st, s + sampleOffset, sampleBytes))
        return 1;
    const std::uint64_t end = s + sampleOffset;
    for (std::uint32_t i = 0; i <= highestOrder; ++i) {
        const std::uint64_t start = s + kPatternData + be16(st, s + kPatternTable + 2 * i);
        if (!patternPlausible(st, start, end))
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternCount] = highestOrder + 1;
    return 0;
}

void ripProRunner2(RipState& st) {
    st.outputSize = be32(st, st.moduleStart + kSampleDataOffset) + st.sampleDataSize;
    noteRip(st, "Prorunner 2 module", 10);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// Decodes one pattern from `cursor` into `pattern` as ProTracker cells.
void depackPattern(const RipState& st, const PeriodTable& periods, std::uint64_t cursor,
                   std::array<std::uint8_t, 1024>& pattern) {
    std::array<std::array<std::uint8_t, 4>, 4> lastCell{};
    for (unsigned at = 0; at < pattern.size(); at += 4) {
        std::array<std::uint8_t, 4>& last = lastCell[at / 4 % 4];
        const std::uint8_t first = u8OrZero(st, cursor++);
        std::array<std::uint8_t, 4> cell{};
        if (first == kRepeatCell) {
            cell = last;
        } else if (first != kEmptyCell) {
            const std::uint8_t second = u8OrZero(st, cursor++);
            const std::uint16_t period = periodOf(periods, first >> 1);
            const unsigned sample = (second >> 4) << 1 | (first & 1);
            cell = {static_cast<std::uint8_t>((sample & 0xF0) | period >> 8),
                    static_cast<std::uint8_t>(period & 0xFF),
                    static_cast<std::uint8_t>((sample & 0x0F) << 4 | (second & 0x0F)),
                    u8OrZero(st, cursor++)};
            last = cell;
        }
        std::copy(cell.begin(), cell.end(), pattern.begin() + at);
    }
}

void depackProRunner2(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);
    std::array<std::uint8_t, 1024> scratch{};

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        out.zeros(22);
        out.input(s + kRecords + 8 * i, 8);
        sampleBytes += be16OrZero(st, s + kRecords + 8 * i) * 2u;
    }
    const std::uint8_t songLength = u8OrZero(st, s + kSongLength);
    out.byte(songLength);
    out.byte(0x7F);
    for (unsigned i = 0; i < songLength; ++i)
        scratch[i] = u8OrZero(st, s + kOrderList + i);
    out.bytes(scratch.data(), 128);
    out.bytes("M.K.", 4);

    for (unsigned i = 0; i < st.scratch[kPatternCount]; ++i) {
        depackPattern(st, periods, s + kPatternData + be16OrZero(st, s + kPatternTable + 2 * i),
                      scratch);
        out.bytes(scratch.data(), scratch.size());
    }
    out.input(s + be32OrZero(st, s + kSampleDataOffset), sampleBytes);
    writeBanner31("   ProRunner v2   ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps proRunner2Steps = {testProRunner2, ripProRunner2, depackProRunner2};
