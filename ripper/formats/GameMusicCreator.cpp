// Game Music Creator: a 15-sample module saved from the tracker's memory, with ProTracker-like
// pattern cells and its own effect numbers.
//
// Packed layout from module start s (big-endian): 0-239 15 sample records of 16 bytes (0-3 the
// sample's memory address, 4-5 length in words, 6 zero, 7 volume, 8-11 the loop's memory
// address, 12-13 loop length in words, 14-15 not read); 240-242 zero; 243 song length (1-100);
// 244-443 100 order words, pattern number × 1024; from 444 the patterns, 1024 bytes each in the
// ProTracker cell layout (periods of the finetune-0 table, 0xFFFE a note cut, samples 1-15);
// then the sample data, plain 8-bit signed PCM in record order, behind the highest pattern the
// song plays.
//
// The tracker saves its memory as it lies, so the samples with data follow each other at even
// addresses, and it clears the records of unused samples; the test insists on both and on at
// least one note. Otherwise the addresses are only
// read for the loop: a record loops from its loop address when that lies inside the sample (the
// tracker points records without a loop at a silent buffer elsewhere); otherwise the sample is
// written without a loop. Effects: 1 and 2 slide as in ProTracker, 3 sets
// the volume (C), 4 breaks the pattern (D), 5 jumps (B), 6 and 7 switch the filter (E00, E01),
// 8 sets the speed (F); 0 is no effect, so its parameter is dropped.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kRecordBytes = 16;
constexpr std::uint32_t kSamples = 15;
constexpr std::uint32_t kSongLength = 243;
constexpr std::uint32_t kOrderList = 244;
constexpr std::uint32_t kOrderEntries = 100;
constexpr std::uint32_t kPatterns = 444;
constexpr std::uint16_t kNoteCut = 0xFFFE;
// The scan finds the module at the last of the three zero bytes before the song length: a zero
// byte followed by a non-zero one is never inside a skipped run of zeros.
constexpr std::uint32_t kScanOffset = 242;

// scratch slots the test leaves for the rip and depack steps
constexpr int kPatternCount = 0;

bool isTablePeriod(unsigned period) {
    for (unsigned note = 1; note < ptPeriodTable.size(); ++note)
        if (periodOf(ptPeriodTable, note) == period)
            return true;
    return false;
}

// Loop start in bytes of the record at `record`, or -1 when the sample does not loop.
std::int64_t loopStartOf(const RipState& st, std::uint64_t record) {
    const std::int64_t address = be32OrZero(st, record);
    const std::int64_t loopAddress = be32OrZero(st, record + 8);
    const std::int64_t length = be16OrZero(st, record + 4) * 2;
    if (loopAddress < address || loopAddress >= address + length)
        return -1;
    return loopAddress - address;
}

int testGameMusicCreator(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (!fits(st, s, kPatterns))
        return 1;
    const std::uint32_t songLength = u8(st, s + kSongLength);
    if (u8(st, s + 240) != 0 || u8(st, s + 241) != 0 || u8(st, s + 242) != 0 || songLength == 0 ||
        songLength > kOrderEntries)
        return 1;
    std::uint64_t sampleBytes = 0;
    std::uint64_t nextAddress = 0; // where the next sample with data lies in memory
    for (std::uint32_t i = 0; i < kSamples; ++i) {
        const std::uint64_t record = s + kRecordBytes * i;
        const int volume = u8(st, record + 7);
        if (u8(st, record + 6) != 0 || volume > 64)
            return 1;
        const std::int64_t length = be16(st, record + 4) * 2;
        const std::uint32_t address = be32(st, record);
        if (length == 0) {
            if (address != 0 || be32(st, record + 8) != 0 || be16(st, record + 12) != 0)
                return 1;
            continue;
        }
        if (address % 2 != 0 || (sampleBytes != 0 && address != nextAddress))
            return 1;
        nextAddress = address + static_cast<std::uint64_t>(length);
        const std::int64_t loopStart = loopStartOf(st, record);
        if (loopStart >= 0 &&
            checkSampleDescriptor(length, loopStart, be16(st, record + 12) * 2, volume, 0) != 0)
            return 1;
        sampleBytes += static_cast<std::uint64_t>(length);
    }
    if (sampleBytes == 0)
        return 1;
    std::uint32_t highest = 0;
    for (std::uint32_t i = 0; i < songLength; ++i) {
        const std::uint32_t word = be16(st, s + kOrderList + 2 * i);
        if (word % 1024 != 0)
            return 1;
        highest = std::max(highest, word / 1024);
    }
    const std::uint32_t patterns = highest + 1;
    const std::uint64_t sampleData = s + kPatterns + 1024ull * patterns;
    if (!fits(st, sampleData, sampleBytes))
        return 1;
    bool hasNotes = false;
    for (std::uint64_t cell = s + kPatterns; cell < sampleData; cell += 4) {
        const std::uint16_t period = be16(st, cell);
        if (period != 0 && period != kNoteCut && !isTablePeriod(period))
            return 1;
        if (u8(st, cell + 2) >> 4 > kSamples || (u8(st, cell + 2) & 0x0F) > 8)
            return 1;
        hasNotes = hasNotes || (period != 0 && period != kNoteCut);
    }
    if (!hasNotes)
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternCount] = patterns;
    return 0;
}

void ripGameMusicCreator(RipState& st) {
    st.outputSize = kPatterns + 1024 * st.scratch[kPatternCount] + st.sampleDataSize;
    noteRip(st, "Game Music Creator module", 26);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// The ProTracker cell of the packed cell at `cell`.
std::array<std::uint8_t, 4> convertedCell(const RipState& st, std::uint64_t cell) {
    std::uint16_t period = be16OrZero(st, cell);
    const std::uint8_t sample = u8OrZero(st, cell + 2) & 0xF0;
    std::uint8_t parameter = u8OrZero(st, cell + 3);
    std::uint8_t effect = 0;
    switch (u8OrZero(st, cell + 2) & 0x0F) {
    case 1:
    case 2:
        effect = u8OrZero(st, cell + 2) & 0x0F;
        break;
    case 3:
        effect = 0xC;
        break;
    case 4:
        effect = 0xD;
        break;
    case 5:
        effect = 0xB;
        break;
    case 6:
    case 7:
        effect = 0xE;
        parameter = (u8OrZero(st, cell + 2) & 0x0F) == 6 ? 0x00 : 0x01;
        break;
    case 8:
        effect = 0xF;
        break;
    default:
        parameter = 0;
        break;
    }
    if (period == kNoteCut) {
        period = 0;
        if (effect == 0) {
            effect = 0xC;
            parameter = 0;
        }
    }
    return {static_cast<std::uint8_t>(period >> 8 & 0x0F), static_cast<std::uint8_t>(period),
            static_cast<std::uint8_t>(sample | effect), parameter};
}

void depackGameMusicCreator(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const std::uint32_t patterns = st.scratch[kPatternCount];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < kSamples; ++i) {
        const std::uint64_t record = s + kRecordBytes * i;
        const std::int64_t loopStart = loopStartOf(st, record);
        out.zeros(22);
        out.input(record + 4, 2);
        out.byte(0);
        out.byte(u8OrZero(st, record + 7));
        const unsigned loopStartWords = loopStart < 0 ? 0u : unsigned(loopStart / 2);
        const unsigned loopWords = loopStart < 0 ? 1u : be16OrZero(st, record + 12);
        const std::uint8_t loop[4] = {static_cast<std::uint8_t>(loopStartWords >> 8),
                                      static_cast<std::uint8_t>(loopStartWords),
                                      static_cast<std::uint8_t>(loopWords >> 8),
                                      static_cast<std::uint8_t>(loopWords)};
        out.bytes(loop, sizeof loop);
        sampleBytes += be16OrZero(st, record + 4) * 2u;
    }
    std::array<std::uint8_t, 30> emptyRecord{};
    emptyRecord[29] = 1; // loop length 1
    for (std::uint32_t i = kSamples; i < 31; ++i)
        out.bytes(emptyRecord.data(), emptyRecord.size());

    const std::uint8_t songLength = u8OrZero(st, s + kSongLength);
    out.byte(songLength);
    out.byte(0x7F);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned i = 0; i < songLength && i < kOrderEntries; ++i)
        orders[i] = static_cast<std::uint8_t>(be16OrZero(st, s + kOrderList + 2 * i) / 1024);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (std::uint32_t p = 0; p < patterns; ++p) {
        const std::uint64_t packed = s + kPatterns + 1024ull * p;
        for (unsigned i = 0; i < 256; ++i) {
            const auto cell = convertedCell(st, packed + 4 * i);
            std::copy(cell.begin(), cell.end(), &pattern[4 * i]);
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + kPatterns + 1024ull * patterns, sampleBytes);
    writeBanner31("Game Music Creator", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// The module is found at byte 242, the last of three zero bytes before the song length; the
// two before it are the gates (whole-byte compares, so the pre-pass finds them sparsely).
const FormatSteps gameMusicCreatorSteps = {testGameMusicCreator,
                                           ripGameMusicCreator,
                                           depackGameMusicCreator,
                                           true,
                                           {ScanGate{-2, 0xFF, 0x00}, ScanGate{-1, 0xFF, 0x00}}};
