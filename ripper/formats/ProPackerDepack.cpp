// The rip and depack steps of ProPacker v1.0, v2.1 and v3.0 (layout in ProPacker.h): each
// distinct set of four tracks the song plays becomes one pattern.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "ProPacker.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace proPacker {
namespace {
using TrackSet = std::array<std::uint8_t, 4>;

// Input index of the 4-byte cell that row `row` of track `track` plays.
std::uint64_t cellAt(const RipState& st, CellStorage storage, unsigned track, unsigned row) {
    const std::uint64_t tracks = st.moduleStart + kTrackData;
    if (storage == CellStorage::Tracks)
        return tracks + kPlainTrackBytes * track + 4 * row;
    const std::uint64_t table =
        tracks + std::uint64_t{kReferenceTrackBytes} * st.scratch[kTrackCount] + 4;
    const std::uint32_t word = be16OrZero(st, tracks + kReferenceTrackBytes * track + 2 * row);
    return table + (storage == CellStorage::CellNumbers ? 4 * word : word);
}
} // namespace

void ripModule(RipState& st, const char* displayName, int extensionIndex) {
    st.outputSize = st.scratch[kSampleDataOffset] + st.sampleDataSize;
    noteRip(st, displayName, extensionIndex);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackModule(RipState& st, CellStorage storage, const char* bannerName) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (unsigned i = 0; i < 31; ++i) {
        out.zeros(22);
        out.input(s + kRecordBytes * i, kRecordBytes);
    }
    const unsigned songLength = std::min<unsigned>(u8OrZero(st, s + kSongLength), kMaxPositions);
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);

    std::array<TrackSet, kMaxPositions> patterns{};
    unsigned patternCount = 0;
    std::array<std::uint8_t, kMaxPositions> order{};
    for (unsigned position = 0; position < songLength; ++position) {
        TrackSet tracks;
        for (unsigned channel = 0; channel < 4; ++channel)
            tracks[channel] = u8OrZero(st, s + kTrackTable + kMaxPositions * channel + position);
        const auto known = std::find(patterns.begin(), patterns.begin() + patternCount, tracks);
        if (known == patterns.begin() + patternCount)
            patterns[patternCount++] = tracks;
        order[position] = static_cast<std::uint8_t>(known - patterns.begin());
    }
    out.bytes(order.data(), order.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < patternCount; ++p) {
        for (unsigned row = 0; row < 64; ++row)
            for (unsigned channel = 0; channel < 4; ++channel) {
                const std::uint64_t cell = cellAt(st, storage, patterns[p][channel], row);
                for (unsigned i = 0; i < 4; ++i)
                    pattern[row * 16 + channel * 4 + i] = u8OrZero(st, cell + i);
            }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + st.scratch[kSampleDataOffset], st.sampleDataSize);
    writeBanner31(bannerName, 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}

} // namespace proPacker
