// Titanics Player: a 15-sample module whose patterns are lists of the cells that hold something.
// It is written back as a 15-sample SoundTracker module ("-1.stk").
//
// Packed layout from module start s (big-endian): 0-179 15 sample records of 12 bytes (0-3 the
// sample's offset from s, 4-5 length in words, 6 finetune, 7 volume, 8-9 loop start in words,
// 10-11 loop length in words); from 180 the order list, one 16-bit pattern offset from s per
// position, ended by 0xFFFF (at most 128 positions); the pattern data right behind it; the
// sample data, plain 8-bit signed PCM, at the records' offsets.
//
// A pattern is a list of 4-byte events: byte 0 bit 7 marks the pattern's last event, bits 0-6
// the rows to move down before this event; byte 1 bits 6-7 the channel, bits 0-5 the note (0-35
// the finetune-0 periods of C-1 to B-3, 0x3F no note); byte 2 the sample number (high nibble)
// and the effect, byte 3 the parameter, the effects as ProTracker's. The output numbers the
// patterns in the order of their offsets, so the first stored pattern is pattern 0.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kSamples = 15;
constexpr std::uint32_t kRecordBytes = 12;
constexpr std::uint32_t kOrderList = kSamples * kRecordBytes;
constexpr std::uint32_t kMaxPositions = 128;
constexpr std::uint16_t kOrderEnd = 0xFFFF;
constexpr std::uint8_t kNoNote = 0x3F;
// More events than cells only repeat cells; the cap bounds the work of a hostile pattern.
constexpr std::uint32_t kMaxEvents = 256;
// The scan finds the module at the second byte of the first sample's offset, at most 0x40 in
// any module under 4 MiB. The samples lie behind the pattern data, so one of that byte and the
// next is non-zero (unless the pattern data is under 70 bytes) and the position is never inside
// a skipped run of zeros.
constexpr std::uint32_t kScanOffset = 1;

// scratch slots the test leaves for the rip and depack steps
constexpr int kPositions = 0;
constexpr int kModuleSize = 1;

// True when the pattern at `at` ends before `limit` (the sample data) within 64 rows and holds
// only notes of the table.
bool isPlausiblePattern(const RipState& st, std::uint64_t at, std::uint64_t limit) {
    unsigned row = 0;
    for (std::uint32_t event = 0; event < kMaxEvents; ++event, at += 4) {
        if (at + 4 > limit)
            return false;
        const std::uint8_t first = u8(st, at);
        row += first & 0x7F;
        const unsigned note = u8(st, at + 1) & 0x3F;
        if (row > 63 || (note > 35 && note != kNoNote))
            return false;
        if (first & 0x80)
            return true;
    }
    return false;
}

int testTitanicsPlayer(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (!fits(st, s, kOrderList + 2))
        return 1;
    std::uint64_t sampleStart = UINT64_MAX;
    std::uint64_t moduleEnd = 0;
    for (std::uint32_t i = 0; i < kSamples; ++i) {
        const std::uint64_t record = s + kRecordBytes * i;
        if (u8(st, record) != 0)
            return 1;
        const std::uint32_t address = be32(st, record);
        const std::int64_t length = be16(st, record + 4) * 2;
        if (address % 2 != 0 ||
            checkSampleDescriptor(length, be16(st, record + 8) * 2, be16(st, record + 10) * 2,
                                  u8(st, record + 7), u8(st, record + 6)) != 0)
            return 1;
        if (length == 0)
            continue;
        sampleStart = std::min<std::uint64_t>(sampleStart, address);
        moduleEnd = std::max<std::uint64_t>(moduleEnd, address + length);
    }
    if (moduleEnd == 0 || !fits(st, s, moduleEnd))
        return 1;
    std::uint32_t positions = 0;
    while (positions < kMaxPositions && fits(st, s + kOrderList + 2 * positions, 2) &&
           be16(st, s + kOrderList + 2 * positions) != kOrderEnd)
        ++positions;
    const std::uint64_t patternData = kOrderList + 2 * positions + 2;
    if (positions == 0 || !fits(st, s + kOrderList + 2 * positions, 2) ||
        be16(st, s + kOrderList + 2 * positions) != kOrderEnd || sampleStart <= patternData)
        return 1;
    std::uint32_t lowest = UINT32_MAX;
    for (std::uint32_t i = 0; i < positions; ++i) {
        const std::uint32_t address = be16(st, s + kOrderList + 2 * i);
        if (address < patternData || address % 2 != 0 ||
            !isPlausiblePattern(st, s + address, s + sampleStart))
            return 1;
        lowest = std::min(lowest, address);
    }
    if (lowest != patternData)
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.scratch[kPositions] = positions;
    st.scratch[kModuleSize] = static_cast<std::uint32_t>(moduleEnd);
    return 0;
}

void ripTitanicsPlayer(RipState& st) {
    st.outputSize = st.scratch[kModuleSize];
    noteRip(st, "Titanics Player module", 130);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// Decodes the pattern at `at` into `pattern` (cleared first).
void depackPattern(const RipState& st, std::uint64_t at, std::array<std::uint8_t, 1024>& pattern) {
    pattern.fill(0);
    unsigned row = 0;
    for (std::uint32_t event = 0; event < kMaxEvents; ++event, at += 4) {
        const std::uint8_t first = u8OrZero(st, at);
        row += first & 0x7F;
        if (row > 63)
            return;
        const std::uint8_t noteByte = u8OrZero(st, at + 1);
        const unsigned note = noteByte & 0x3F;
        const std::uint16_t period = note == kNoNote ? 0 : periodOf(ptPeriodTable, note + 1);
        std::uint8_t* cell = &pattern[row * 16 + (noteByte >> 6) * 4];
        cell[0] = static_cast<std::uint8_t>(period >> 8);
        cell[1] = static_cast<std::uint8_t>(period);
        cell[2] = u8OrZero(st, at + 2);
        cell[3] = u8OrZero(st, at + 3);
        if (first & 0x80)
            return;
    }
}

void depackTitanicsPlayer(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const std::uint32_t positions = st.scratch[kPositions];
    formatOutputName(st, "%ld.stk");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (std::uint32_t i = 0; i < kSamples; ++i) {
        out.zeros(22);
        out.input(s + kRecordBytes * i + 4, 8);
    }
    // Patterns numbered by their offsets.
    std::array<std::uint16_t, kMaxPositions> addresses{};
    for (std::uint32_t i = 0; i < positions && i < kMaxPositions; ++i)
        addresses[i] = be16OrZero(st, s + kOrderList + 2 * i);
    std::array<std::uint16_t, kMaxPositions> patterns = addresses;
    std::sort(patterns.begin(), patterns.begin() + positions);
    const auto patternsEnd = std::unique(patterns.begin(), patterns.begin() + positions);
    std::array<std::uint8_t, 128> orders{};
    for (std::uint32_t i = 0; i < positions; ++i)
        orders[i] = static_cast<std::uint8_t>(
            std::lower_bound(patterns.begin(), patternsEnd, addresses[i]) - patterns.begin());
    out.byte(static_cast<std::uint8_t>(positions));
    out.byte(0x7F);
    out.bytes(orders.data(), orders.size());

    std::array<std::uint8_t, 1024> pattern{};
    for (auto it = patterns.begin(); it != patternsEnd; ++it) {
        depackPattern(st, s + *it, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    for (std::uint32_t i = 0; i < kSamples; ++i) {
        const std::uint64_t record = s + kRecordBytes * i;
        out.input(s + be32OrZero(st, record), be16OrZero(st, record + 4) * 2u);
    }
    writeBanner15("  Titanics Player ", file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// Found at s + 1; the top bytes of the first two samples' offsets (s and s + 12) are 0 in every
// module.
const FormatSteps titanicsPlayerSteps = {testTitanicsPlayer,
                                         ripTitanicsPlayer,
                                         depackTitanicsPlayer,
                                         true,
                                         {ScanGate{-1, 0xFF, 0x00}, ScanGate{11, 0xFF, 0x00}}};
