// Quadra Composer ("EMOD"): an IFF file whose header chunk lists the samples and patterns with
// their addresses; patterns have 1-256 rows of cells with note numbers.
//
// Packed layout from module start s, big-endian: "FORM", 4 the size of the rest of the file (the
// module is this + 8 bytes), 8 "EMOD" (the tag), 12 "EMIC", 16 the header chunk's size, 20
// version (1), 22 song name (20 bytes), 42 composer (20 bytes), 62 tempo, 63 number of sample
// records (0-31), from 64 the sample records of 34 bytes (sample number 1-31, rising; volume;
// length in words; 20-byte name; control byte whose bit 0 turns the loop on; finetune; loop
// start and loop length in words; address of the sample data from s as 32 bits), then the
// pattern count as 16 bits (1-255), the pattern records of 26 bytes (pattern number, equal to the
// record's index; row count - 1; 20-byte name; address of the pattern data from s as 32 bits),
// then the number of song positions (1-128) and as many pattern numbers (bytes). The "PATT" and
// "SMPL" chunks behind the header are reached only through those addresses. A pattern is rows x
// 4 channels of 4 bytes: sample number (0-31), note number (0 no note, 1-36 the finetune-0
// periods of C-1 to B-3), effect command (0-15, ProTracker's), parameter.
//
// A pattern longer than 64 rows is cut to 64; a shorter one ends with a pattern break on its
// last row, in the first channel without an effect there. The tempo byte and the names are not
// carried over.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {
// scratch slots
constexpr int kPatternTable = 0; // offset from s of the pattern count

constexpr std::uint32_t kTagOffset = 8;
constexpr std::uint32_t kVersion = 20;
constexpr std::uint32_t kSampleCount = 63;
constexpr std::uint32_t kRecords = 64;
constexpr std::uint32_t kRecordBytes = 34;
constexpr std::uint32_t kPatternRecordBytes = 26;
constexpr std::uint32_t kRowBytes = 16;
constexpr std::uint8_t kLoopOn = 0x01;

struct SampleRecord {
    std::uint32_t number;
    std::uint32_t volume;
    std::uint32_t lengthWords;
    std::uint32_t control;
    std::uint32_t finetune;
    std::uint32_t loopStartWords;
    std::uint32_t loopWords;
    std::uint32_t address;
};

SampleRecord sampleRecord(const RipState& st, std::uint64_t at) {
    return {u8OrZero(st, at),        u8OrZero(st, at + 1),   be16OrZero(st, at + 2),
            u8OrZero(st, at + 24),   u8OrZero(st, at + 25),  be16OrZero(st, at + 26),
            be16OrZero(st, at + 28), be32OrZero(st, at + 30)};
}

// Offset from s of the first byte behind the pattern records (the song positions).
std::uint64_t positionsOffset(std::uint64_t patternTable, std::uint32_t patterns) {
    return patternTable + 2 + std::uint64_t{patterns} * kPatternRecordBytes;
}

// The sample records: rising numbers, plausible fields, data inside the module. Returns the
// total bytes of sample data, -1 when a record fails.
std::int64_t checkedSamples(const RipState& st, std::uint64_t s, std::uint32_t count,
                            std::uint64_t moduleSize) {
    std::int64_t total = 0;
    std::uint32_t previous = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const SampleRecord r = sampleRecord(st, s + kRecords + kRecordBytes * i);
        const bool loop = (r.control & kLoopOn) != 0;
        const std::int64_t length = std::int64_t{r.lengthWords} * 2;
        if (r.number <= previous || r.number > 31 ||
            checkSampleDescriptor(length, loop ? r.loopStartWords * 2 : 0,
                                  loop ? r.loopWords * 2 : 2, int(r.volume),
                                  int(r.finetune)) != 0 ||
            r.address < kRecords || std::uint64_t{r.address} + length > moduleSize)
            return -1;
        previous = r.number;
        total += length;
    }
    return total;
}

int testQuadraComposer(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s, kRecords) || std::memcmp(st.input + s, "FORM", 4) != 0 ||
        std::memcmp(st.input + s + 12, "EMIC", 4) != 0 || be16(st, s + kVersion) != 1)
        return 1;
    const std::uint64_t moduleSize = be32(st, s + 4) + std::uint64_t{8};
    const std::uint32_t samples = u8(st, s + kSampleCount);
    const std::uint64_t patternTable = kRecords + std::uint64_t{samples} * kRecordBytes;
    if (samples > 31 || !fits(st, s, moduleSize) || patternTable + 2 > moduleSize)
        return 1;
    const std::int64_t sampleBytes = checkedSamples(st, s, samples, moduleSize);
    if (sampleBytes <= 0)
        return 1;
    const std::uint32_t patterns = be16(st, s + patternTable);
    const std::uint64_t positions = positionsOffset(patternTable, patterns);
    if (patterns == 0 || patterns > 255 || positions + 1 > moduleSize)
        return 1;
    for (std::uint32_t i = 0; i < patterns; ++i) {
        const std::uint64_t record = s + patternTable + 2 + kPatternRecordBytes * i;
        const std::uint64_t rows = u8(st, record + 1) + 1u;
        const std::uint64_t address = be32(st, record + 22);
        if (u8(st, record) != i || address < kRecords || address + rows * kRowBytes > moduleSize)
            return 1;
        for (std::uint64_t at = s + address; at < s + address + rows * kRowBytes; at += 4)
            if (u8(st, at) > 31 || u8(st, at + 1) > 36 || u8(st, at + 2) > 15)
                return 1;
    }
    const std::uint32_t songLength = u8(st, s + positions);
    if (songLength == 0 || songLength > 128 || positions + 1 + songLength > moduleSize)
        return 1;
    for (std::uint32_t i = 0; i < songLength; ++i) {
        const std::uint32_t pattern = u8(st, s + positions + 1 + i);
        if (pattern >= patterns || pattern > 127)
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternTable] = static_cast<std::uint32_t>(patternTable);
    return 0;
}

void ripQuadraComposer(RipState& st) {
    st.outputSize = be32(st, st.moduleStart + 4) + 8u;
    noteRip(st, "Quadra Composer module", 71);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void put16(std::uint8_t* at, std::uint32_t value) {
    at[0] = static_cast<std::uint8_t>(value >> 8);
    at[1] = static_cast<std::uint8_t>(value);
}

// One pattern record's data as a 64-row ProTracker pattern.
void writePattern(const RipState& st, ModuleWriter& out, std::uint64_t record) {
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t data = st.moduleStart + std::uint64_t{be32OrZero(st, record + 22)};
    const unsigned rows = std::min(u8OrZero(st, record + 1) + 1u, 64u);
    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned i = 0; i < rows * 4; ++i) {
        const std::uint64_t at = data + 4 * i;
        const std::uint8_t sample = u8OrZero(st, at);
        const std::uint16_t period = periodOf(periods, u8OrZero(st, at + 1));
        std::uint8_t* cell = &pattern[4 * i];
        cell[0] = static_cast<std::uint8_t>((sample & 0xF0) | period >> 8);
        cell[1] = static_cast<std::uint8_t>(period & 0xFF);
        cell[2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 | (u8OrZero(st, at + 2) & 0x0F));
        cell[3] = u8OrZero(st, at + 3);
    }
    if (rows < 64)
        for (unsigned channel = 0; channel < 4; ++channel) {
            std::uint8_t* cell = &pattern[(rows - 1) * 16 + channel * 4];
            if ((cell[2] & 0x0F) == 0 && cell[3] == 0) {
                cell[2] |= 0x0D;
                break;
            }
        }
    out.bytes(pattern.data(), pattern.size());
}

void depackQuadraComposer(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    // Records by sample number; slots without one stay empty with ProTracker's loop length 1.
    std::array<SampleRecord, 31> slots{};
    const std::uint32_t samples = u8OrZero(st, s + kSampleCount);
    for (std::uint32_t i = 0; i < samples; ++i) {
        const SampleRecord r = sampleRecord(st, s + kRecords + kRecordBytes * i);
        if (r.number >= 1 && r.number <= 31)
            slots[r.number - 1] = r;
    }
    out.zeros(20);
    for (const SampleRecord& r : slots) {
        const bool loop = (r.control & kLoopOn) != 0 && r.loopWords > 1;
        std::uint8_t record[8] = {};
        put16(record, r.lengthWords);
        record[2] = static_cast<std::uint8_t>(r.finetune);
        record[3] = static_cast<std::uint8_t>(r.volume);
        put16(record + 4, loop ? r.loopStartWords : 0);
        put16(record + 6, loop ? r.loopWords : 1);
        out.zeros(22);
        out.bytes(record, sizeof record);
    }

    const std::uint64_t patternTable = st.scratch[kPatternTable];
    const std::uint32_t patterns = be16OrZero(st, s + patternTable);
    const std::uint64_t positions = s + positionsOffset(patternTable, patterns);
    const std::uint32_t songLength = std::min<std::uint32_t>(u8OrZero(st, positions), 128);
    std::array<std::uint8_t, 128> orders{};
    unsigned played = 0;
    for (std::uint32_t i = 0; i < songLength; ++i) {
        orders[i] = u8OrZero(st, positions + 1 + i) & 0x7F;
        played = std::max(played, orders[i] + 1u);
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);
    for (unsigned p = 0; p < played; ++p)
        writePattern(st, out, s + patternTable + 2 + kPatternRecordBytes * p);
    for (const SampleRecord& r : slots)
        out.input(s + r.address, r.lengthWords * 2u);
    writeBanner31(" Quadra Composer  ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps quadraComposerSteps = {testQuadraComposer, ripQuadraComposer,
                                         depackQuadraComposer};
