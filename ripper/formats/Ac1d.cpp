// AC1D Packer: patterns stored as four channel streams with empty-row skip bytes.
//
// Packed layout from module start s (the tag bytes 0xAC 0x1D are at s + 2): 0 song length,
// 1 restart byte, 4-7 offset of the sample data from s, 8-255 31 sample records of 8 bytes
// (the ProTracker record without its name), 256-767 128 pattern addresses (offsets from
// s + 12, ended by the first zero; the last one marks the end of the pattern data), 768-895 the
// order list.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kTagOffset = 2;
constexpr std::uint32_t kRecords = 8;
constexpr std::uint32_t kPatternTable = 256;
constexpr std::uint32_t kOrderList = 768;
constexpr std::uint32_t kPatternBase = 12;
// Longest channel stream read: real streams are at most 3 bytes a row plus skip bytes; the cap
// only bounds the work a hostile stream of no-op skips can cause.
constexpr std::uint32_t kMaxChannelBytes = 4096;

int testAc1d(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (u8(st, s) > 127)
        return 1;
    if (!fits(st, st.position + 894, 1))
        return 1;
    for (int i = 0; i < 31; ++i)
        if (u8(st, s + kRecords + 8 * i + 2) > 15)
            return 1;
    for (int i = 0; i < 128; ++i)
        if (u8(st, s + kOrderList + i) > 127)
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    return 0;
}

void ripAc1d(RipState& st) {
    const std::uint64_t s = st.moduleStart;
    std::uint64_t sampleBytes = 0;
    for (int i = 0; i < 31; ++i)
        sampleBytes += be16(st, s + kRecords + 8 * i) * 2u;
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.outputSize = be32(st, s + 4) + st.sampleDataSize;
    noteRip(st, "AC1D Packed module", 0);
    // With the driver's increment the scan resumes on the module's last byte.
    advanceScanTo(st, static_cast<std::int64_t>(st.position) + st.outputSize - 4);
}

// Note byte of a packed row as an index into the period table: 0x3F is no note, 0 and 11 are
// both the first note, others are offset by 11 (8-bit, as the packer's replay does).
unsigned periodIndex(unsigned note) {
    if (note == 0x3F)
        return 0;
    if (note == 0 || note == 11)
        return 1;
    return static_cast<std::uint8_t>(note - 11);
}

// Decodes one channel's 64 rows from `cursor` into the pattern buffer; returns the byte behind
// the stream (the next channel's start).
std::uint64_t depackChannel(const RipState& st, const PeriodTable& periods, std::uint64_t cursor,
                            unsigned channel, std::array<std::uint8_t, 1024>& pattern) {
    const std::uint64_t limit = cursor + kMaxChannelBytes;
    unsigned row = 0;
    while (row < 64 && cursor < limit) {
        const std::uint8_t first = u8OrZero(st, cursor++);
        if (first & 0x80) {
            row += first & 0x7F;
            continue;
        }
        std::uint8_t command = u8OrZero(st, cursor++);
        std::uint8_t parameter = 0;
        if ((command & 0x0F) != 7)
            parameter = u8OrZero(st, cursor++);
        else
            command &= 0xF0;
        const std::uint16_t period = periodOf(periods, periodIndex(first & 0x3F));
        std::uint8_t* cell = &pattern[row * 16 + channel * 4];
        cell[0] = static_cast<std::uint8_t>((first >> 6 & 1) << 4 | period >> 8);
        cell[1] = static_cast<std::uint8_t>(period & 0xFF);
        cell[2] = command;
        cell[3] = parameter;
        ++row;
    }
    return cursor;
}

void depackAc1d(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (int i = 0; i < 31; ++i) {
        out.zeros(22);
        out.input(s + kRecords + 8 * i, 8);
        sampleBytes += be16OrZero(st, s + kRecords + 8 * i) * 2u;
    }
    out.input(s, 2); // song length and restart byte
    out.input(s + kOrderList, 128);
    out.bytes("M.K.", 4);

    unsigned addresses = 0;
    while (addresses < 128 && be32OrZero(st, s + kPatternTable + 4 * addresses) != 0)
        ++addresses;
    // The last address only marks the end of the pattern data (8-bit count, as stored).
    const auto patterns = static_cast<std::uint8_t>(addresses - 1);
    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned i = 0; i < patterns; ++i) {
        pattern.fill(0);
        std::uint64_t cursor = s + kPatternBase + be32OrZero(st, s + kPatternTable + 4 * i);
        for (unsigned channel = 0; channel < 4; ++channel)
            cursor = depackChannel(st, periods, cursor, channel, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + be32OrZero(st, s + 4), sampleBytes);
    writeBanner31("   AC1D Packer    ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps ac1dSteps = {testAc1d, ripAc1d, depackAc1d};
