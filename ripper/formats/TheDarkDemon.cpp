// The Dark Demon: a ProTracker module with its header squeezed, the sample data in front of the
// patterns and note numbers instead of periods.
//
// Packed layout from module start s (big-endian): 0 song length (1-127); 1 not read; 2-129 the
// order list; 130-563 31 sample records of 14 bytes (0-3 the sample's offset from s, 4-5 length
// in words, 6 finetune, 7 volume, 8-11 the loop's offset from s, 12-13 loop length in words);
// from 564 the sample data, plain 8-bit signed PCM in record order, so the first record's offset
// is always 564 and every next one follows the previous sample; then the patterns the song
// plays, 1024 bytes each. Cell: 0 sample number, 1 note number × 2 (0 no note, 2-72 the
// finetune-0 periods of C-1 to B-3), 2 effect, 3 parameter, the effects as ProTracker's.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kOrderList = 2;
constexpr std::uint32_t kRecords = 130;
constexpr std::uint32_t kRecordBytes = 14;
constexpr std::uint32_t kSampleData = 564;
// The scan finds the module at the byte 0x02 of the first record's offset 0x00000234.
constexpr std::uint32_t kScanOffset = kRecords + 2;

// scratch slots the test leaves for the rip and depack steps
constexpr int kPatternCount = 0;

int testTheDarkDemon(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (u8(st, st.position + 1) != 0x34 || !fits(st, s, kSampleData) ||
        be32(st, s + kRecords) != kSampleData)
        return 1;
    const std::uint32_t songLength = u8(st, s);
    if (songLength == 0 || songLength > 127)
        return 1;
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        const std::uint32_t address = be32(st, record);
        const std::uint32_t loopAddress = be32(st, record + 8);
        if (address != kSampleData + sampleBytes || loopAddress < address ||
            (loopAddress - address) % 2 != 0)
            return 1;
        const std::int64_t length = be16(st, record + 4) * 2;
        if (checkSampleDescriptor(length, loopAddress - address, be16(st, record + 12) * 2,
                                  u8(st, record + 7), u8(st, record + 6)) != 0)
            return 1;
        sampleBytes += static_cast<std::uint64_t>(length);
    }
    if (sampleBytes == 0)
        return 1;
    std::uint32_t highest = 0;
    for (std::uint32_t i = 0; i < 128; ++i) {
        const std::uint8_t entry = u8(st, s + kOrderList + i);
        if (entry > 127)
            return 1;
        if (i < songLength)
            highest = std::max<std::uint32_t>(highest, entry);
    }
    const std::uint32_t patterns = highest + 1;
    const std::uint64_t patternData = s + kSampleData + sampleBytes;
    if (!fits(st, patternData, 1024ull * patterns))
        return 1;
    for (std::uint64_t cell = patternData; cell < patternData + 1024ull * patterns; cell += 4) {
        const std::uint8_t note = u8(st, cell + 1);
        if (u8(st, cell) > 31 || note > 72 || note % 2 != 0 || u8(st, cell + 2) > 0x0F)
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternCount] = patterns;
    return 0;
}

void ripTheDarkDemon(RipState& st) {
    st.outputSize = kSampleData + st.sampleDataSize + 1024 * st.scratch[kPatternCount];
    noteRip(st, "The Dark Demon module", 72);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackTheDarkDemon(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        const unsigned loopStartWords = (be32OrZero(st, record + 8) - be32OrZero(st, record)) / 2;
        out.zeros(22);
        out.input(record + 4, 4); // length, finetune, volume
        out.byte(static_cast<std::uint8_t>(loopStartWords >> 8));
        out.byte(static_cast<std::uint8_t>(loopStartWords));
        out.input(record + 12, 2);
    }
    const std::uint8_t songLength = u8OrZero(st, s);
    out.byte(songLength);
    out.byte(0x7F);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned i = 0; i < songLength && i < orders.size(); ++i)
        orders[i] = u8OrZero(st, s + kOrderList + i);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    const std::uint64_t patternData = s + kSampleData + st.sampleDataSize;
    std::array<std::uint8_t, 1024> pattern{};
    for (std::uint32_t p = 0; p < st.scratch[kPatternCount]; ++p) {
        for (unsigned i = 0; i < 256; ++i) {
            const std::uint64_t cell = patternData + 1024ull * p + 4 * i;
            const std::uint8_t sample = u8OrZero(st, cell);
            const std::uint16_t period = periodOf(ptPeriodTable, u8OrZero(st, cell + 1) / 2u);
            pattern[4 * i] = static_cast<std::uint8_t>((sample & 0xF0) | period >> 8);
            pattern[4 * i + 1] = static_cast<std::uint8_t>(period);
            pattern[4 * i + 2] =
                static_cast<std::uint8_t>((sample & 0x0F) << 4 | (u8OrZero(st, cell + 2) & 0x0F));
            pattern[4 * i + 3] = u8OrZero(st, cell + 3);
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + kSampleData, st.sampleDataSize);
    writeBanner31("  The Dark Demon  ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// Found at s + 132, the 0x02 of the first record's offset 0x00000234: the two bytes before it
// are 0 in every module. Game Music Creator has the same gates, so the pair costs the pre-pass
// nothing more; the test compares the 0x34 first.
const FormatSteps theDarkDemonSteps = {testTheDarkDemon,
                                       ripTheDarkDemon,
                                       depackTheDarkDemon,
                                       true,
                                       {ScanGate{-2, 0xFF, 0x00}, ScanGate{-1, 0xFF, 0x00}}};
