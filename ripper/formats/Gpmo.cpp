// GPMO (Crunch Player): ProTracker patterns with empty cells and empty rows crunched away.
//
// Packed layout from module start s (the tag "GPMO" is at s; big-endian):
//   0    4    "GPMO"
//   4    4    offset of the sample data from s (where the last pattern ends)
//   8    248  31 sample records: the ProTracker record without its name (length in words,
//             finetune, volume, loop start in words, loop length in words)
//   256  1    song length, 1-128
//   257  1    number of stored patterns P, 1-128
//   258  128  order list (the first song-length entries are played, each below P)
//   386       the P patterns one after another, then the sample data (8-bit signed)
// A pattern is 64 rows. A byte with bit 7 set stands for (byte & 0x7F) empty rows, 1-64;
// otherwise it is a row whose bits 0-3 say which of channels 1-4 have a cell (bits 4-6 clear),
// followed by a 4-byte ProTracker cell for each of them, channel 1 first.
//
// No real modules were at hand: this is the layout the converter reads, decided so. As the
// patterns have no table, a module is accepted only when walking all P patterns ends exactly
// at the sample data offset.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kSampleOffset = 4;
constexpr std::uint32_t kRecords = 8;
constexpr std::uint32_t kSongLength = 256;
constexpr std::uint32_t kPatternCount = 257;
constexpr std::uint32_t kOrderList = 258;
constexpr std::uint32_t kPatterns = 386;

bool cellPlausible(const RipState& st, std::uint64_t at) {
    const std::uint8_t high = u8(st, at);
    const unsigned period = (high & 0x0F) << 8 | u8(st, at + 1);
    return (high & 0xEC) == 0 && (period == 0 || period >= 28);
}

// Walks one packed pattern from `cursor` up to `end`; returns the byte behind it, or 0 when
// the pattern is not 64 well-formed rows inside [cursor, end).
std::uint64_t checkedPatternEnd(const RipState& st, std::uint64_t cursor, std::uint64_t end) {
    unsigned row = 0;
    while (row < 64) {
        if (cursor >= end)
            return 0;
        const std::uint8_t first = u8(st, cursor++);
        if (first & 0x80) {
            row += first & 0x7F;
            if ((first & 0x7F) == 0 || row > 64)
                return 0;
            continue;
        }
        if (first > 0x0F)
            return 0;
        for (unsigned channel = 0; channel < 4; ++channel) {
            if ((first >> channel & 1) == 0)
                continue;
            if (cursor + 4 > end || !cellPlausible(st, cursor))
                return 0;
            cursor += 4;
        }
        ++row;
    }
    return cursor;
}

int testGpmo(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kPatterns))
        return 1;
    const unsigned songLength = u8(st, s + kSongLength);
    const unsigned patterns = u8(st, s + kPatternCount);
    if (songLength == 0 || songLength > 128 || patterns == 0 || patterns > 128)
        return 1;
    for (unsigned i = 0; i < songLength; ++i)
        if (u8(st, s + kOrderList + i) >= patterns)
            return 1;
    const std::int64_t sampleBytes = checkedRecordBytes(st, s + kRecords, 8);
    const std::uint32_t sampleOffset = be32(st, s + kSampleOffset);
    if (sampleBytes <= 0 || sampleOffset < kPatterns || !fits(st, s + sampleOffset, sampleBytes))
        return 1;
    std::uint64_t cursor = s + kPatterns;
    for (unsigned i = 0; i < patterns && cursor != 0; ++i)
        cursor = checkedPatternEnd(st, cursor, s + sampleOffset);
    if (cursor != s + sampleOffset)
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    return 0;
}

void ripGpmo(RipState& st) {
    st.outputSize = be32(st, st.moduleStart + kSampleOffset) + st.sampleDataSize;
    noteRip(st, "GPMO (Crunch Player) module", 103);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// Unpacks one pattern from `cursor` into `pattern`; returns the byte behind it.
std::uint64_t depackPattern(const RipState& st, std::uint64_t cursor,
                            std::array<std::uint8_t, 1024>& pattern) {
    pattern.fill(0);
    unsigned row = 0;
    while (row < 64) {
        const std::uint8_t first = u8OrZero(st, cursor++);
        if (first & 0x80) {
            // A zero skip would never end the pattern; the test refuses it, count it as one row.
            row += std::max(first & 0x7F, 1);
            continue;
        }
        for (unsigned channel = 0; channel < 4; ++channel)
            if (first >> channel & 1) {
                for (unsigned i = 0; i < 4; ++i)
                    pattern[row * 16 + channel * 4 + i] = u8OrZero(st, cursor++);
            }
        ++row;
    }
    return cursor;
}

void depackGpmo(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);
    std::array<std::uint8_t, 1024> scratch{};

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + 8u * i;
        out.zeros(22);
        out.input(record, 8);
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    const std::uint8_t songLength = u8OrZero(st, s + kSongLength);
    out.byte(songLength);
    out.byte(0x7F);
    std::uint8_t highestPattern = 0;
    for (unsigned i = 0; i < songLength && i < 128; ++i) {
        scratch[i] = u8OrZero(st, s + kOrderList + i);
        highestPattern = std::max(highestPattern, scratch[i]);
    }
    out.bytes(scratch.data(), 128);
    out.bytes("M.K.", 4);

    std::uint64_t cursor = s + kPatterns;
    for (unsigned pattern = 0; pattern <= highestPattern; ++pattern) {
        cursor = depackPattern(st, cursor, scratch);
        out.bytes(scratch.data(), scratch.size());
    }
    out.input(s + be32OrZero(st, s + kSampleOffset), sampleBytes);
    writeBanner31("       GPMO       ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps gpmoSteps = {testGpmo, ripGpmo, depackGpmo};
