// Polka Packer ("PWR." or "PSUX"): the ProTracker layout with note numbers instead of periods.
//
// Packed layout from module start s (the tag is at s + 1080): 0-19 title, 20-949 31 sample
// records of 30 bytes (22-byte name, then the ProTracker record: length, finetune, volume, loop
// start, loop length, all in words), 950 song length (1-128), 951 not read, 952-1079 the order
// list, 1080 the tag, from 1084 the patterns (as many as the highest order entry of the song
// plus one; 64 rows x 4 channels of 4 bytes: sample number 0-31, note number times two (0 no
// note, 2-72 the finetune-0 periods of C-1 to B-3), effect command, parameter), then the sample
// data as plain 8-bit PCM. Both tags name the same layout.
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

constexpr std::uint32_t kTagOffset = 1080;
constexpr std::uint32_t kRecords = 20;
constexpr std::uint32_t kRecordBytes = 30;
constexpr std::uint32_t kNameBytes = 22;
constexpr std::uint32_t kSongLength = 950;
constexpr std::uint32_t kOrderList = 952;
constexpr std::uint32_t kPatterns = 1084;
constexpr std::uint32_t kPatternBytes = 1024;

int testPolka(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s, kPatterns))
        return 1;
    const std::uint32_t songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    std::uint32_t patterns = 0;
    for (std::uint32_t i = 0; i < songLength; ++i) {
        const std::uint32_t order = u8(st, s + kOrderList + i);
        if (order > 127)
            return 1;
        patterns = std::max(patterns, order + 1);
    }
    const std::int64_t sampleBytes =
        checkedRecordBytes(st, s + kRecords + kNameBytes, kRecordBytes);
    if (sampleBytes <= 0)
        return 1;
    const std::uint64_t patternBytes = std::uint64_t{patterns} * kPatternBytes;
    if (!fits(st, s + kPatterns, patternBytes + sampleBytes))
        return 1;
    for (std::uint64_t at = s + kPatterns; at < s + kPatterns + patternBytes; at += 4) {
        const std::uint8_t note = u8(st, at + 1);
        if (u8(st, at) > 31 || note > 72 || (note & 1) != 0 || u8(st, at + 2) > 15)
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternCount] = patterns;
    return 0;
}

void ripPolka(RipState& st) {
    st.outputSize = kPatterns + st.scratch[kPatternCount] * kPatternBytes + st.sampleDataSize;
    noteRip(st, "Polka Packed music", 104);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackPolka(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i + kNameBytes;
        out.zeros(22);
        out.input(record, 8);
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    const std::uint8_t songLength = u8OrZero(st, s + kSongLength);
    out.byte(songLength);
    out.byte(0x7F);
    out.input(s + kOrderList, songLength);
    out.zeros(128u - songLength);
    out.bytes("M.K.", 4);

    const std::uint32_t patterns = st.scratch[kPatternCount];
    std::array<std::uint8_t, 4> cell{};
    for (std::uint64_t at = s + kPatterns; at < s + kPatterns + patterns * kPatternBytes; at += 4) {
        const std::uint8_t sample = u8OrZero(st, at);
        const std::uint16_t period = periodOf(periods, u8OrZero(st, at + 1) / 2u);
        cell[0] = static_cast<std::uint8_t>((sample & 0xF0) | period >> 8);
        cell[1] = static_cast<std::uint8_t>(period & 0xFF);
        cell[2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 | (u8OrZero(st, at + 2) & 0x0F));
        cell[3] = u8OrZero(st, at + 3);
        out.bytes(cell.data(), cell.size());
    }
    out.input(s + kPatterns + std::uint64_t{patterns} * kPatternBytes, sampleBytes);
    writeBanner31("   Polka Packer   ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps polkaPackerSteps = {testPolka, ripPolka, depackPolka};
