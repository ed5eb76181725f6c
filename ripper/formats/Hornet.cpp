// Hornet Packer: a ProTracker module whose tag reads "HRT!" and whose pattern cells hold doubled
// sample and note numbers instead of the ProTracker bit fields.
//
// Packed layout from module start s (the tag is at s + 1080): the ProTracker header (20-byte
// title, 31 sample records of 30 bytes whose name bytes 18-21 hold the sample's memory address,
// song length at 950, restart byte at 951, order list at 952), "HRT!" at 1080, the stored
// patterns from 1084 (as many as the highest of all 128 order entries + 1, 64 rows x 4 channels
// x 4 bytes), then the sample data as plain 8-bit PCM. A cell is: sample number x 2, note number
// x 2 (0 none, 1-36 the finetune-0 periods of C-1 to B-3), effect command (0-15), parameter.
//
// The names are not copied (they carry addresses), and the output keeps only the patterns the
// song plays with the order list behind the song zeroed.
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
constexpr int kStoredPatterns = 0;

constexpr std::uint32_t kTagOffset = 1080;
constexpr std::uint32_t kRecords = 20;
constexpr std::uint32_t kRecordBytes = 30;
constexpr std::uint32_t kNameBytes = 22;
constexpr std::uint32_t kSongLength = 950;
constexpr std::uint32_t kOrderList = 952;
constexpr std::uint32_t kPatterns = 1084;
constexpr std::uint32_t kPatternBytes = 1024;

// Sum of the sample lengths in bytes; -1 when a record is implausible.
std::int64_t checkedSampleBytes(const RipState& st, std::uint64_t s) {
    return checkedRecordBytes(st, s + kRecords + kNameBytes, kRecordBytes);
}

// Doubled sample (up to 31) and note (up to 36) numbers, effect up to 15.
bool cellsPlausible(const RipState& st, std::uint64_t patterns, std::uint32_t count) {
    for (std::uint64_t at = patterns; at < patterns + std::uint64_t{count} * kPatternBytes;
         at += 4) {
        const std::uint8_t sample = u8(st, at);
        const std::uint8_t note = u8(st, at + 1);
        if ((sample & 1) != 0 || sample > 62 || (note & 1) != 0 || note > 72 || u8(st, at + 2) > 15)
            return false;
    }
    return true;
}

int testHornet(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    // The tag sits behind the header, so the whole header is readable.
    const std::uint8_t songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    std::uint32_t highestOrder = 0;
    for (std::uint32_t i = 0; i < 128; ++i) {
        const std::uint8_t order = u8(st, s + kOrderList + i);
        if (order > 127)
            return 1;
        highestOrder = std::max<std::uint32_t>(highestOrder, order);
    }
    const std::int64_t sampleBytes = checkedSampleBytes(st, s);
    if (sampleBytes <= 0)
        return 1;
    const std::uint32_t storedPatterns = highestOrder + 1;
    if (!fits(st, s + kPatterns, std::uint64_t{storedPatterns} * kPatternBytes + sampleBytes))
        return 1;
    if (!cellsPlausible(st, s + kPatterns, storedPatterns))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kStoredPatterns] = storedPatterns;
    return 0;
}

void ripHornet(RipState& st) {
    st.outputSize = kPatterns + st.scratch[kStoredPatterns] * kPatternBytes + st.sampleDataSize;
    noteRip(st, "HORNET packed module", 3);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackHornet(RipState& st) {
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
        const std::uint64_t record = s + kRecords + kRecordBytes * i + kNameBytes;
        out.zeros(kNameBytes);
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

    for (unsigned pattern = 0; pattern <= highestPattern; ++pattern) {
        const std::uint64_t packed = s + kPatterns + std::uint64_t{pattern} * kPatternBytes;
        for (unsigned at = 0; at < kPatternBytes; at += 4) {
            const unsigned sample = u8OrZero(st, packed + at) >> 1;
            const std::uint16_t period = periodOf(periods, u8OrZero(st, packed + at + 1) >> 1);
            scratch[at] = static_cast<std::uint8_t>((sample & 0xF0) | period >> 8);
            scratch[at + 1] = static_cast<std::uint8_t>(period & 0xFF);
            scratch[at + 2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 |
                                                        (u8OrZero(st, packed + at + 2) & 0x0F));
            scratch[at + 3] = u8OrZero(st, packed + at + 3);
        }
        out.bytes(scratch.data(), scratch.size());
    }
    out.input(s + kPatterns + std::uint64_t{st.scratch[kStoredPatterns]} * kPatternBytes,
              sampleBytes);
    writeBanner31("  Hornet Packer   ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps hornetPackedSteps = {testHornet, ripHornet, depackHornet};
