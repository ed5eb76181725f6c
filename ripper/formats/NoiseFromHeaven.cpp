// Noise From Heaven: a ProTracker module whose tag reads "Fuck" instead of "M.K.".
//
// Packed layout from module start s (the tag is at s + 1080): the ProTracker header (20-byte
// title, 31 sample records of 30 bytes, song length at 950, restart byte at 951, order list at
// 952), "Fuck" at 1080, the stored patterns from 1084 (as many as the highest of all 128 order
// entries + 1, 64 rows x 4 channels x 4-byte ProTracker cells), then the sample data as plain
// 8-bit PCM.
//
// No real modules were at hand, so the cells are taken as plain ProTracker cells with the
// periods as stored. The output keeps only the patterns the song plays, with the order list
// behind the song zeroed, so a player that counts patterns from all 128 entries finds the
// samples where they are.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
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

// Sample numbers up to 31 and periods of 0 or 28-1023, as a ProTracker cell can hold them.
bool cellsPlausible(const RipState& st, std::uint64_t patterns, std::uint32_t count) {
    for (std::uint64_t at = patterns; at < patterns + std::uint64_t{count} * kPatternBytes;
         at += 4) {
        const std::uint8_t high = u8(st, at);
        const unsigned period = (high & 0x0F) << 8 | u8(st, at + 1);
        if ((high & 0xEC) != 0 || (period != 0 && period < 28))
            return false;
    }
    return true;
}

int testNoiseFromHeaven(RipState& st) {
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
    const std::int64_t sampleBytes =
        checkedRecordBytes(st, s + kRecords + kNameBytes, kRecordBytes);
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

void ripNoiseFromHeaven(RipState& st) {
    st.outputSize = kPatterns + st.scratch[kStoredPatterns] * kPatternBytes + st.sampleDataSize;
    noteRip(st, "Noise From Heaven module", 119);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackNoiseFromHeaven(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);
    std::array<std::uint8_t, 128> orders{};

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
        orders[i] = u8OrZero(st, s + kOrderList + i);
        highestPattern = std::max(highestPattern, orders[i]);
    }
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);
    out.input(s + kPatterns, (highestPattern + 1u) * kPatternBytes);
    out.input(s + kPatterns + std::uint64_t{st.scratch[kStoredPatterns]} * kPatternBytes,
              sampleBytes);
    writeBanner31("Noise From Heaven ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps noiseFromHeavenSteps = {testNoiseFromHeaven, ripNoiseFromHeaven,
                                          depackNoiseFromHeaven};
