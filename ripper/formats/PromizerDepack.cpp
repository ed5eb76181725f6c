// The rip and depack steps of the Promizer members (layout in Promizer.h): the song's patterns
// keep their numbers, every cell comes back as a ProTracker cell with a finetune-0 period.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "Promizer.h"
#include "PromizerPeriods.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace promizer {
namespace {
// Input index of the 4-byte cell that row `row` of channel `channel` of pattern `pattern` plays.
std::uint64_t cellAt(const RipState& st, Version version, unsigned pattern, unsigned row,
                     unsigned channel) {
    const std::uint64_t s = st.moduleStart;
    const std::uint64_t patterns = s + st.scratch[kRecordsOffset] + patternDataOffset(version) +
                                   std::uint64_t{patternBytes(version)} * pattern;
    if (version == Version::V01)
        return patterns + 16 * row + 4 * channel;
    const std::uint32_t word = be16OrZero(st, patterns + 8 * row + 2 * channel);
    const std::uint64_t cells = s + st.scratch[kCellTableOffset];
    return cells + (version == Version::V10c || version == Version::V18a ? 4 * word : word);
}

// Writes one pattern. Notes without a sample number take the finetune of the last sample named
// on their channel in this pattern.
void writePattern(ModuleWriter& out, const RipState& st, Version version, unsigned pattern) {
    const std::uint64_t records = st.moduleStart + st.scratch[kRecordsOffset];
    std::array<std::uint8_t, 1024> bytes{};
    std::array<unsigned, 4> channelSample{};
    for (unsigned row = 0; row < 64; ++row)
        for (unsigned channel = 0; channel < 4; ++channel) {
            const std::uint64_t at = cellAt(st, version, pattern, row, channel);
            const std::uint8_t first = u8OrZero(st, at);
            const std::uint8_t sampleAndEffect = u8OrZero(st, at + 2);
            const unsigned sample = (first & 0xF0u) | sampleAndEffect >> 4;
            if (sample != 0)
                channelSample[channel] = sample;
            std::uint16_t period = 0;
            if (storesFinetunedPeriods(version)) {
                const unsigned current = channelSample[channel];
                const unsigned finetune =
                    current == 0 ? 0 : u8OrZero(st, records + kRecordBytes * (current - 1) + 2);
                period =
                    periodAtFinetuneZero((first & 0x0Fu) << 8 | u8OrZero(st, at + 1), finetune);
            } else {
                period = periodOf(ptPeriodTable, u8OrZero(st, at + 1) / 2u);
            }
            std::uint8_t* cell = &bytes[row * 16 + channel * 4];
            cell[0] = static_cast<std::uint8_t>((first & 0xF0) | period >> 8);
            cell[1] = static_cast<std::uint8_t>(period & 0xFF);
            cell[2] = sampleAndEffect;
            cell[3] = u8OrZero(st, at + 3);
        }
    out.bytes(bytes.data(), bytes.size());
}
} // namespace

void ripModule(RipState& st, const char* displayName, int extensionIndex) {
    st.outputSize = st.scratch[kSampleDataOffset] + st.sampleDataSize;
    noteRip(st, displayName, extensionIndex);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackModule(RipState& st, Version version, const char* bannerName) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t records = std::uint64_t{st.moduleStart} + st.scratch[kRecordsOffset];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (unsigned i = 0; i < 31; ++i) {
        out.zeros(22);
        out.input(records + kRecordBytes * i, kRecordBytes);
    }
    const unsigned songLength =
        std::min<unsigned>(be16OrZero(st, records + kSongLength) / 4, kMaxPositions);
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);

    std::array<std::uint8_t, kMaxPositions> order{};
    unsigned patternCount = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        const std::uint32_t number =
            be32OrZero(st, records + kOrderList + 4 * i) / patternBytes(version);
        order[i] = static_cast<std::uint8_t>(std::min<std::uint32_t>(number, kMaxPositions - 1));
        patternCount = std::max(patternCount, order[i] + 1u);
    }
    out.bytes(order.data(), order.size());
    out.bytes("M.K.", 4);
    for (unsigned pattern = 0; pattern < patternCount; ++pattern)
        writePattern(out, st, version, pattern);
    out.input(std::uint64_t{st.moduleStart} + st.scratch[kSampleDataOffset], st.sampleDataSize);
    writeBanner31(bannerName, 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}

} // namespace promizer
