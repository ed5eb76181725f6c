// STIM (Slamtilt): patterns stored as four channel streams of three-byte cells and row skips,
// samples each behind its own record.
//
// Packed layout from module start s (the tag "STIM" is at s), big-endian:
//   0 "STIM", 4 offset of the sample table from s, 8 and 12 unused here, 16 sample count
//   (at most 31), 18 song length, 20 pattern count (at most 64), 22 128-byte order list,
//   150 64 pattern addresses (offsets from s + 12).
//   A pattern starts with four words, each channel's stream offset from the pattern start. A
//   stream byte with bit 7 set skips (byte & 0x7F) + 1 rows; any other byte starts a cell of
//   three bytes: b1 = x ee sssss (sample 0-31), b2 = EE nnnnnn (note 1-36, 0 none), b3 =
//   parameter. The effect is EEee (bits 7-6 of b2 above bits 6-5 of b1), numbered as
//   ProTracker numbers its effects: the real file's effects only make sense read this way
//   (C with volumes 0x10-0x30, F with speeds, D00, E9x/EAx).
//   The sample table holds one long per sample, its record's offset from the table. A record
//   is the ProTracker sample record without its name (length in words, finetune, volume, loop
//   start and loop length in words), followed by the sample's plain 8-bit data.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kSampleCount = 16;
constexpr std::uint32_t kSongLength = 18;
constexpr std::uint32_t kPatternCount = 20;
constexpr std::uint32_t kOrderList = 22;
constexpr std::uint32_t kPatternTable = 150;
constexpr std::uint32_t kPatternBase = 12;
constexpr std::uint32_t kHeaderSize = kPatternTable + 64 * 4;
constexpr std::uint32_t kRecordSize = 8;

// Input index of sample `sample`'s record.
std::uint64_t sampleRecord(const RipState& st, std::uint64_t s, unsigned sample) {
    const std::uint64_t table = s + be32OrZero(st, s + 4);
    return table + be32OrZero(st, table + 4 * sample);
}

// Scratch slots: 0 module size.
int testStim(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kHeaderSize))
        return 1;
    const unsigned samples = be16(st, s + kSampleCount);
    const unsigned songLength = be16(st, s + kSongLength);
    const unsigned patterns = be16(st, s + kPatternCount);
    if (samples > 31 || songLength == 0 || songLength > 128 || patterns == 0 || patterns > 64)
        return 1;
    for (unsigned i = 0; i < songLength; ++i)
        if (u8(st, s + kOrderList + i) >= patterns)
            return 1;
    const std::uint64_t table = s + be32(st, s + 4);
    if (table < s + kHeaderSize || !fits(st, table, 4 * samples))
        return 1;
    for (unsigned p = 0; p < patterns; ++p) {
        const std::uint64_t pattern = s + kPatternBase + be32(st, s + kPatternTable + 4 * p);
        if (pattern < s + kHeaderSize || pattern + 8 > table)
            return 1;
        for (unsigned channel = 0; channel < 4; ++channel)
            if (pattern + be16(st, pattern + 2 * channel) >= table)
                return 1;
    }
    // Records follow one another; the module ends behind the last one's data.
    std::uint64_t end = table + 4 * samples;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = table + be32(st, table + 4 * i);
        if (record < end || !fits(st, record, kRecordSize))
            return 1;
        const std::uint64_t length = be16(st, record) * 2u;
        if (checkSampleDescriptor(length, be16(st, record + 4) * 2, be16(st, record + 6) * 2,
                                  u8(st, record + 3), u8(st, record + 2)) != 0)
            return 1;
        end = record + kRecordSize + length;
        if (!fits(st, record, end - record))
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.scratch[0] = static_cast<std::uint32_t>(end - s);
    return 0;
}

void ripStim(RipState& st) {
    st.outputSize = st.scratch[0];
    noteRip(st, "STIM (Slamtilt) module", 48);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// Decodes one channel's 64 rows from `cursor` into the pattern buffer.
void depackChannel(const RipState& st, std::uint64_t cursor, unsigned channel,
                   std::array<std::uint8_t, 1024>& pattern) {
    const PeriodTable& periods = ptPeriodTable;
    unsigned row = 0;
    while (row < 64) {
        const std::uint8_t first = u8OrZero(st, cursor++);
        if (first & 0x80) {
            row += (first & 0x7F) + 1u;
            continue;
        }
        const std::uint8_t second = u8OrZero(st, cursor++);
        const std::uint8_t parameter = u8OrZero(st, cursor++);
        const unsigned sample = first & 0x1F;
        const unsigned effect = (second >> 6) << 2 | (first >> 5 & 3);
        const std::uint16_t period = periodOf(periods, second & 0x3F);
        std::uint8_t* cell = &pattern[row * 16 + channel * 4];
        cell[0] = static_cast<std::uint8_t>((sample & 0xF0) | period >> 8);
        cell[1] = static_cast<std::uint8_t>(period & 0xFF);
        cell[2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 | effect);
        cell[3] = parameter;
        ++row;
    }
}

void depackStim(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned samples = std::min(be16OrZero(st, s + kSampleCount), std::uint16_t{31});
    const unsigned songLength = be16OrZero(st, s + kSongLength);
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (unsigned i = 0; i < 31; ++i) {
        out.zeros(22);
        if (i < samples) {
            out.input(sampleRecord(st, s, i), kRecordSize);
        } else {
            out.zeros(7);
            out.byte(1);
        }
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    unsigned highest = 0;
    for (unsigned i = 0; i < 128; ++i) {
        const std::uint8_t order = i < songLength ? u8OrZero(st, s + kOrderList + i) : 0;
        highest = std::max<unsigned>(highest, order);
        out.byte(order);
    }
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p <= highest; ++p) {
        pattern.fill(0);
        const std::uint64_t start = s + kPatternBase + be32OrZero(st, s + kPatternTable + 4 * p);
        for (unsigned channel = 0; channel < 4; ++channel)
            depackChannel(st, start + be16OrZero(st, start + 2 * channel), channel, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = sampleRecord(st, s, i);
        out.input(record + kRecordSize, be16OrZero(st, record) * 2u);
    }
    writeBanner31(" STIM (Slamtilt)  ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps stimSteps = {testStim, ripStim, depackStim};
