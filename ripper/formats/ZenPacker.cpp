// ZEN Packer: a pattern stored as its non-empty cells, each with its place in the pattern; the
// song as a list of pattern addresses.
//
// Packed layout from module start s (big-endian): 0-3 offset of the song's address list (from
// s), 4 highest pattern number, 5 song length, 6 31 sample records of 16 bytes (finetune,
// volume, length in words and loop length in words as 16-bit fields, then the addresses of the
// sample and of its loop start as 32-bit offsets from s), 502 the pattern data, then the address
// list (one 32-bit offset from s per song position, ended by 0xFFFFFFFF) and the sample data,
// the samples one behind the other.
//
// A pattern is a run of 4-byte cells in rising order of their place p = row * 4 + channel:
// p, note number * 2 (1-36 are C-1 to B-3) with the sample's bit 4 in bit 0, the sample's low
// nibble and the effect, the parameter. The cell with place 0xFF ends the pattern; a pattern
// whose last cell is empty ends with an all-zero cell at that place. The real file has no sample
// above 15, so the place of the sample's bit 4 is our choice: bit 0 is free because the note
// byte is an even word offset. Its finetunes are all 0; we read the field as the plain 0-15.
// Patterns are numbered in the order of their addresses.
//
// Scratch: 0 patterns, 1 song length, 2 offset of the first sample.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kScanOffset = 7; // low byte of the first sample's finetune
constexpr std::uint32_t kRecords = 6;
constexpr std::uint32_t kRecordBytes = 16;
constexpr std::uint32_t kPatternData = kRecords + 31 * kRecordBytes;
constexpr std::uint32_t kListEnd = 0xFFFFFFFF;
constexpr unsigned kLastPlace = 0xFF;
constexpr unsigned kHighestNote = 36;

std::uint64_t recordAt(std::uint64_t s, unsigned sample) {
    return s + kRecords + kRecordBytes * sample;
}

// True when the pattern at `cursor` is cells of rising places and notes in range, ended by the
// last place, all before `end`.
bool patternDecodes(const RipState& st, std::uint64_t cursor, std::uint64_t end) {
    int previous = -1;
    for (; cursor + 4 <= end; cursor += 4) {
        const int place = u8(st, cursor);
        if (place <= previous || (u8(st, cursor + 1) >> 1) > kHighestNote)
            return false;
        if (place == kLastPlace)
            return true;
        previous = place;
    }
    return false;
}

int testZen(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (!fits(st, s, kPatternData))
        return 1;
    const std::uint64_t list = be32(st, s);
    const unsigned patterns = u8(st, s + 4) + 1u;
    const unsigned songLength = u8(st, s + 5);
    if (songLength == 0 || songLength > 128 || patterns > 128 || list < kPatternData + 4 ||
        list > 0xFFFFFF)
        return 1;
    const std::uint64_t listEnd = list + 4u * songLength;
    if (!fits(st, s + listEnd, 4) || be32(st, s + listEnd) != kListEnd)
        return 1;

    // Samples follow each other from behind the address list.
    const std::uint64_t firstSample = listEnd + 4;
    std::uint64_t next = firstSample;
    for (unsigned i = 0; i < 31; ++i) {
        const std::uint64_t record = recordAt(s, i);
        const std::uint64_t address = be32(st, record + 8);
        const std::uint64_t loopAddress = be32(st, record + 12);
        const std::int64_t length = be16(st, record + 4) * 2;
        if (address != next || loopAddress < address || loopAddress > 0xFFFFFF ||
            (loopAddress - address) % 2 != 0 || be16(st, record) > 15 || be16(st, record + 2) > 64)
            return 1;
        if (checkSampleDescriptor(length, std::int64_t(loopAddress - address),
                                  be16(st, record + 6) * 2, be16(st, record + 2),
                                  be16(st, record)) != 0)
            return 1;
        next += std::uint64_t(length);
    }
    if (!fits(st, s, next))
        return 1;

    std::array<std::uint32_t, 128> seen{};
    unsigned distinct = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        const std::uint32_t address = be32(st, s + list + 4u * i);
        if (address < kPatternData || address >= list || (address - kPatternData) % 4 != 0)
            return 1;
        if (std::find(seen.begin(), seen.begin() + distinct, address) != seen.begin() + distinct)
            continue;
        if (distinct == patterns || !patternDecodes(st, s + address, s + list))
            return 1;
        seen[distinct++] = address;
    }
    if (distinct != patterns)
        return 1;

    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(next - firstSample);
    st.scratch = {patterns, songLength, static_cast<std::uint32_t>(firstSample), 0};
    return 0;
}

void ripZen(RipState& st) {
    st.outputSize = st.scratch[2] + st.sampleDataSize;
    noteRip(st, "ZEN Packer module", 41);
    advanceScanTo(st, std::int64_t(st.moduleStart) + st.outputSize - 1);
}

void depackPattern(const RipState& st, const PeriodTable& periods, std::uint64_t cursor,
                   std::array<std::uint8_t, 1024>& pattern) {
    pattern.fill(0);
    // A place never falls, so a pattern has at most 256 cells.
    for (unsigned cells = 0; cells < 256; ++cells, cursor += 4) {
        const unsigned place = u8OrZero(st, cursor);
        const std::uint8_t note = u8OrZero(st, cursor + 1);
        const std::uint8_t sampleEffect = u8OrZero(st, cursor + 2);
        const std::uint16_t period = periodOf(periods, note >> 1);
        std::uint8_t* cell = &pattern[place * 4];
        cell[0] = static_cast<std::uint8_t>((note & 1) << 4 | period >> 8);
        cell[1] = static_cast<std::uint8_t>(period & 0xFF);
        cell[2] = sampleEffect;
        cell[3] = u8OrZero(st, cursor + 3);
        if (place == kLastPlace)
            break;
    }
}

void depackZen(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    const unsigned patterns = st.scratch[0];
    const unsigned songLength = st.scratch[1];
    const std::uint64_t list = s + be32OrZero(st, s);
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (unsigned i = 0; i < 31; ++i) {
        const std::uint64_t record = recordAt(s, i);
        const std::uint32_t loopStart =
            (be32OrZero(st, record + 12) - be32OrZero(st, record + 8)) / 2;
        const std::uint8_t fields[8] = {u8OrZero(st, record + 4),
                                        u8OrZero(st, record + 5),
                                        u8OrZero(st, record + 1),
                                        u8OrZero(st, record + 3),
                                        static_cast<std::uint8_t>(loopStart >> 8),
                                        static_cast<std::uint8_t>(loopStart),
                                        u8OrZero(st, record + 6),
                                        u8OrZero(st, record + 7)};
        out.zeros(22);
        out.bytes(fields, sizeof fields);
    }

    // Pattern numbers follow the addresses.
    std::array<std::uint32_t, 128> addresses{};
    unsigned distinct = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        const std::uint32_t address = be32OrZero(st, list + 4u * i);
        if (distinct < patterns && std::find(addresses.begin(), addresses.begin() + distinct,
                                             address) == addresses.begin() + distinct)
            addresses[distinct++] = address;
    }
    std::sort(addresses.begin(), addresses.begin() + distinct);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned i = 0; i < songLength; ++i) {
        const std::uint32_t address = be32OrZero(st, list + 4u * i);
        orders[i] = static_cast<std::uint8_t>(
            std::lower_bound(addresses.begin(), addresses.begin() + distinct, address) -
            addresses.begin());
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < distinct; ++p) {
        depackPattern(st, periods, s + addresses[p], pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + st.scratch[2], st.sampleDataSize);
    writeBanner31("    ZEN Packer    ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// The test runs at the low byte of the first sample's finetune (at most 15): its high byte and
// the top byte of that sample's loop address are zero in every module.
const FormatSteps zenPackerSteps = {
    testZen, ripZen, depackZen, true, {ScanGate{-1, 0xFF, 0x00}, ScanGate{11, 0xFF, 0x00}}};
