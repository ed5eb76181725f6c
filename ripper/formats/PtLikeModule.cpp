#include "PtLikeModule.h"

#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "../SampleRecords.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace ptLike {
namespace {
constexpr std::uint32_t kPatternBytes = 1024;
constexpr std::uint32_t kCells = 256;
// Periods a ProTracker cell can hold: the finetune tables reach from 907 (C-1, finetune -8)
// down to 108 (B-3, finetune 7).
constexpr unsigned kLowestPeriod = 108;
constexpr unsigned kHighestPeriod = 907;
constexpr unsigned kHighestDoubledNote = 72;

bool plausibleCell(const RipState& st, std::uint64_t at, CellKind kind) {
    const std::uint8_t first = u8(st, at);
    if (kind == CellKind::Period) {
        // Only bit 4 of the sample number and a 12-bit period below 0x400.
        if ((first & 0xEC) != 0)
            return false;
        const unsigned period = (first & 0x0F) << 8 | u8(st, at + 1);
        return period == 0 || (period >= kLowestPeriod && period <= kHighestPeriod);
    }
    return (first & 1) == 0 && first <= kHighestDoubledNote && u8(st, at + 1) <= 31 &&
           u8(st, at + 2) <= 0x0F;
}

void writePeriodCell(std::uint8_t* cell, const RipState& st, std::uint64_t at) {
    const std::uint8_t sample = u8OrZero(st, at + 1) & 0x1F;
    const std::uint16_t period = periodOf(ptPeriodTable, u8OrZero(st, at) / 2u);
    cell[0] = static_cast<std::uint8_t>((sample & 0x10) | period >> 8);
    cell[1] = static_cast<std::uint8_t>(period & 0xFF);
    cell[2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 | (u8OrZero(st, at + 2) & 0x0F));
    cell[3] = u8OrZero(st, at + 3);
}

void writePatterns(ModuleWriter& out, const RipState& st, std::uint64_t first, unsigned count,
                   CellKind kind) {
    if (kind == CellKind::Period) {
        out.input(first, std::uint64_t(count) * kPatternBytes);
        return;
    }
    std::array<std::uint8_t, kPatternBytes> pattern{};
    for (unsigned p = 0; p < count; ++p) {
        const std::uint64_t at = first + std::uint64_t(p) * kPatternBytes;
        for (unsigned cell = 0; cell < kCells; ++cell)
            writePeriodCell(&pattern[4 * cell], st, at + 4 * cell);
        out.bytes(pattern.data(), pattern.size());
    }
}

void writeDeltaSamples(ModuleWriter& out, const RipState& st, const Layout& layout,
                       std::uint64_t first) {
    std::vector<std::uint8_t> plain;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = st.moduleStart + layout.records + layout.recordStride * i;
        const std::uint32_t bytes = be16OrZero(st, record) * 2u;
        plain.resize(bytes);
        std::uint8_t value = 0;
        for (std::uint32_t k = 0; k < bytes; ++k)
            plain[k] = value = static_cast<std::uint8_t>(value + u8OrZero(st, first + k));
        out.bytes(plain.data(), plain.size());
        first += bytes;
    }
}
} // namespace

int test(RipState& st, std::uint64_t start, const Layout& layout) {
    const std::uint64_t orders = start + layout.songLength + 2;
    if (!fits(st, start, layout.patterns))
        return 1;
    const unsigned songLength = u8(st, start + layout.songLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    unsigned songHighest = 0, allHighest = 0;
    for (unsigned i = 0; i < 128; ++i) {
        const unsigned entry = u8(st, orders + i);
        if (entry > 127)
            return 1;
        allHighest = std::max(allHighest, entry);
        if (i < songLength)
            songHighest = std::max(songHighest, entry);
    }
    const unsigned stored =
        layout.patternCountByte ? u8(st, start + layout.patternCountByte) : allHighest + 1;
    if (songHighest >= stored)
        return 1;
    const std::int64_t sampleBytes =
        checkedRecordBytes(st, start + layout.records, layout.recordStride);
    if (sampleBytes <= 0)
        return 1;
    const std::uint64_t patterns = start + layout.patterns;
    if (!fits(st, patterns, std::uint64_t(stored) * kPatternBytes + std::uint64_t(sampleBytes)))
        return 1;
    for (std::uint64_t cell = 0; cell < std::uint64_t(stored) * kCells; ++cell)
        if (!plausibleCell(st, patterns + 4 * cell, layout.cells))
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(start);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[0] = stored;
    st.scratch[1] = songHighest + 1;
    return 0;
}

void rip(RipState& st, const Layout& layout, const char* formatName, int extensionIndex) {
    st.outputSize = layout.patterns + st.scratch[0] * kPatternBytes + st.sampleDataSize;
    noteRip(st, formatName, extensionIndex);
    advanceScanTo(st, std::int64_t(st.moduleStart) + st.outputSize - 1);
}

void depack(RipState& st, const Layout& layout, const char* bannerName) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (std::uint32_t i = 0; i < 31; ++i) {
        out.zeros(22);
        out.input(s + layout.records + layout.recordStride * i, 8);
    }
    const unsigned songLength = std::min<unsigned>(u8OrZero(st, s + layout.songLength), 128);
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.input(s + layout.songLength + 2, songLength);
    out.zeros(128u - songLength);
    out.bytes("M.K.", 4);
    const std::uint64_t patterns = s + layout.patterns;
    writePatterns(out, st, patterns, st.scratch[1], layout.cells);
    const std::uint64_t samples = patterns + std::uint64_t(st.scratch[0]) * kPatternBytes;
    if (layout.deltaSamples)
        writeDeltaSamples(out, st, layout, samples);
    else
        out.input(samples, st.sampleDataSize);
    writeBanner31(bannerName, layout.deltaSamples ? 0 : 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}

} // namespace ptLike
