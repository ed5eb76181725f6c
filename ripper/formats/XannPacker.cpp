// Xann Packer: whole patterns of re-coded cells, the song as a list of pattern addresses.
//
// Packed layout from module start s (big-endian): 0-511 128 pattern addresses of 32 bits, one
// per position and ended by the first zero; an address is 0x43C + 1024 x pattern number, an
// offset from s. 512-517 not read. 518-1013 31 sample records of 16 bytes: finetune, volume,
// loop start address (32 bits), loop length in words, sample address (32 bits), length in
// words, 2 bytes not read. 1014-1083 not read. 1084 the patterns, 1024 bytes each, as many as
// the highest pattern number + 1; then the sample data (plain 8-bit). Sample and loop addresses
// are offsets from s.
//
// The packer may leave a word between two samples, so each sample is copied from its own
// address; the module's size is the patterns and the sum of the sample lengths, and a last
// sample that an alignment word pushed past it reads its final bytes as zeros.
//
// A cell is 4 bytes: sample number times 8, note number (1-36) times 2, an effect code and its
// parameter. The codes are multiples of 4; the ones a slide has in both directions have one code
// per direction, whose parameter is the speed (up: written as the high nibble):
//   00 none, 04 arpeggio, 08/0C portamento up/down, 10 tone portamento (no parameter), 14 tone
//   portamento, 18 vibrato (no parameter), 1C vibrato, 20/24 tone portamento and volume slide
//   up/down, 28/2C vibrato and volume slide up/down, 30 tremolo (no parameter), 34 tremolo,
//   38 sample offset, 3C/40 volume slide up/down, 44 position jump, 48 volume, 4C pattern break,
//   50 speed, 58-78 extended commands E0-E8, 84-9C extended commands E9-EF.
// The extended commands take their sub-command from the code and keep the parameter's low
// nibble. Codes 54, 7C and 80 occur in no real module at hand and are written as no effect.
//
// The scan finds the module at the '<' (0x3C) that ends its first pattern address (s + 3).
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kScanOffset = 3;
constexpr std::uint32_t kRecords = 518;
constexpr std::uint32_t kRecordBytes = 16;
constexpr std::uint32_t kPatterns = 0x43C;
constexpr std::uint32_t kPatternBytes = 1024;
constexpr unsigned kHighestEffectCode = 0x9C;

// Slots of RipState::scratch.
constexpr std::size_t kSlotPositions = 0;
constexpr std::size_t kSlotPatterns = 1;

std::uint64_t record(std::uint64_t s, int i) {
    return s + kRecords + kRecordBytes * std::uint32_t(i);
}

// Pattern number of an order address, or -1 when it is not one.
int patternOf(std::uint32_t address) {
    if (address < kPatterns || (address - kPatterns) % kPatternBytes != 0)
        return -1;
    const std::uint32_t pattern = (address - kPatterns) / kPatternBytes;
    return pattern < 128 ? static_cast<int>(pattern) : -1;
}

bool plausibleCell(const RipState& st, std::uint64_t at) {
    const std::uint8_t sample = u8(st, at), note = u8(st, at + 1), effect = u8(st, at + 2);
    return sample % 8 == 0 && note % 2 == 0 && note <= 72 && effect % 4 == 0 &&
           effect <= kHighestEffectCode;
}

// Sample records: finetune, volume and the loop inside the sample; a used sample's address lies
// in the sample data, its end at most one alignment word per sample behind the module's end.
// Returns the sum of the lengths in bytes, or -1.
std::int64_t checkedSamples(const RipState& st, std::uint64_t s, std::uint64_t sampleStart) {
    std::int64_t total = 0;
    for (int i = 0; i < 31; ++i)
        total += be16(st, record(s, i) + 12) * 2;
    const std::uint64_t end = sampleStart + std::uint64_t(total) + 2 * 31;
    for (int i = 0; i < 31; ++i) {
        const std::uint64_t r = record(s, i);
        const std::uint32_t length = be16(st, r + 12) * 2u;
        const std::uint32_t loopAddress = be32(st, r + 2), address = be32(st, r + 8);
        if (u8(st, r) > 15 || u8(st, r + 1) > 64)
            return -1;
        if (length == 0)
            continue;
        if (address < sampleStart - s || s + address + length > end || loopAddress < address ||
            loopAddress - address + be16(st, r + 6) * 2u > length)
            return -1;
    }
    return total;
}

int testXannPacker(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (!fits(st, s, kPatterns))
        return 1;
    unsigned positions = 0;
    int highest = 0;
    for (; positions < 128; ++positions) {
        const std::uint32_t address = be32(st, s + 4 * positions);
        if (address == 0)
            break;
        const int pattern = patternOf(address);
        if (pattern < 0)
            return 1;
        highest = pattern > highest ? pattern : highest;
    }
    if (positions == 0)
        return 1;
    for (unsigned i = positions; i < 128; ++i)
        if (be32(st, s + 4 * i) != 0)
            return 1;
    const unsigned patterns = unsigned(highest) + 1;
    const std::uint64_t sampleStart = s + kPatterns + std::uint64_t(patterns) * kPatternBytes;
    const std::int64_t sampleBytes = checkedSamples(st, s, sampleStart);
    if (sampleBytes <= 0 || !fits(st, sampleStart, std::uint64_t(sampleBytes)))
        return 1;
    for (std::uint64_t at = s + kPatterns; at < sampleStart; at += 4)
        if (!plausibleCell(st, at))
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kSlotPositions] = positions;
    st.scratch[kSlotPatterns] = patterns;
    return 0;
}

void ripXannPacker(RipState& st) {
    st.outputSize = kPatterns + st.scratch[kSlotPatterns] * kPatternBytes + st.sampleDataSize;
    noteRip(st, "Xann Packer module", 13);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

struct Effect {
    std::uint8_t command, parameter;
};

// The ProTracker effect of a cell's effect code and parameter.
Effect effectOf(unsigned code, std::uint8_t p) {
    const auto up = static_cast<std::uint8_t>(p << 4);
    const auto extended = [p](unsigned sub) {
        return Effect{0x0E, static_cast<std::uint8_t>(sub << 4 | (p & 0x0F))};
    };
    switch (code) {
    case 0x04:
        return {0x0, p};
    case 0x08:
        return {0x1, p};
    case 0x0C:
        return {0x2, p};
    case 0x10:
        return {0x3, 0};
    case 0x14:
        return {0x3, p};
    case 0x18:
        return {0x4, 0};
    case 0x1C:
        return {0x4, p};
    case 0x20:
        return {0x5, up};
    case 0x24:
        return {0x5, p};
    case 0x28:
        return {0x6, up};
    case 0x2C:
        return {0x6, p};
    case 0x30:
        return {0x7, 0};
    case 0x34:
        return {0x7, p};
    case 0x38:
        return {0x9, p};
    case 0x3C:
        return {0xA, up};
    case 0x40:
        return {0xA, p};
    case 0x44:
        return {0xB, p};
    case 0x48:
        return {0xC, p};
    case 0x4C:
        return {0xD, p};
    case 0x50:
        return {0xF, p};
    default:
        break;
    }
    if (code >= 0x58 && code <= 0x78)
        return extended((code - 0x58) / 4);
    if (code >= 0x84 && code <= 0x9C)
        return extended(9 + (code - 0x84) / 4);
    return {0, 0};
}

void depackPattern(const RipState& st, std::uint64_t at, std::array<std::uint8_t, 1024>& pattern) {
    for (std::size_t cell = 0; cell < 256; ++cell, at += 4) {
        const unsigned sample = u8OrZero(st, at) / 8u;
        const std::uint16_t period = periodOf(ptPeriodTable, u8OrZero(st, at + 1) / 2u);
        const Effect effect = effectOf(u8OrZero(st, at + 2), u8OrZero(st, at + 3));
        std::uint8_t* out = &pattern[cell * 4];
        out[0] = static_cast<std::uint8_t>((sample & 0x10) | period >> 8);
        out[1] = static_cast<std::uint8_t>(period & 0xFF);
        out[2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 | effect.command);
        out[3] = effect.parameter;
    }
}

void depackXannPacker(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned positions = st.scratch[kSlotPositions];
    const unsigned patterns = st.scratch[kSlotPatterns];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (int i = 0; i < 31; ++i) {
        const std::uint64_t r = record(s, i);
        const std::uint16_t length = be16OrZero(st, r + 12);
        const std::uint32_t address = be32OrZero(st, r + 8);
        const std::uint32_t loopAddress = be32OrZero(st, r + 2);
        const std::uint32_t loopStart = length && loopAddress > address ? loopAddress - address : 0;
        const std::uint16_t loopLength = be16OrZero(st, r + 6);
        const std::uint8_t fields[8] = {std::uint8_t(length >> 8),
                                        std::uint8_t(length),
                                        u8OrZero(st, r),
                                        u8OrZero(st, r + 1),
                                        std::uint8_t(loopStart / 2 >> 8),
                                        std::uint8_t(loopStart / 2),
                                        std::uint8_t(loopLength >> 8),
                                        std::uint8_t(loopLength)};
        out.zeros(22);
        out.bytes(fields, sizeof fields);
    }
    out.byte(static_cast<std::uint8_t>(positions));
    out.byte(0x7F);
    std::array<std::uint8_t, 128> order{};
    for (unsigned i = 0; i < positions; ++i)
        order[i] = static_cast<std::uint8_t>(patternOf(be32OrZero(st, s + 4 * i)));
    out.bytes(order.data(), order.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned i = 0; i < patterns; ++i) {
        depackPattern(st, s + kPatterns + std::uint64_t(i) * kPatternBytes, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    for (int i = 0; i < 31; ++i)
        out.input(s + be32OrZero(st, record(s, i) + 8), be16OrZero(st, record(s, i) + 12) * 2u);
    writeBanner31("   XANN Packer    ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// The first pattern address is below 0x20040: its top byte is 0 and the next at most 3.
const FormatSteps xannPackerSteps = {testXannPacker,
                                     ripXannPacker,
                                     depackXannPacker,
                                     true,
                                     {ScanGate{-3, 0xFF, 0x00}, ScanGate{-2, 0xFC, 0x00}}};
