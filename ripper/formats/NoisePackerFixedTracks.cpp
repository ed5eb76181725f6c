// NoisePacker v1 and v2: tracks of 64 three-byte rows. The two differ only in the unit of the
// loop start, so one test and one depack step serve both.
//
// Telling them apart: a v1 module whose loop starts, read as words, would run a loop past its
// sample's end fails v2's loop check; one whose records carry addresses (the real v1 module
// does) has each loop address loop-start bytes behind its sample address, which v2 refuses. A
// v1 module without loop starts reads exactly as a v2 one, and v2 (tried first) converts it.
#include "../InputBytes.h"
#include "../OutputModule.h"
#include "NoisePacker.h"

#include <algorithm>
#include <cstdio>

namespace noisePacker {
namespace {
// The scan finds the module at the first sample's volume byte.
constexpr std::uint32_t kVolumeOffset = 15;

// A record of v1, told by the distance of its loop address from its sample address.
bool countsLoopStartInBytes(const RipState& st, std::uint64_t record) {
    const std::uint32_t loopStart = be16(st, record + kLoopStart);
    return loopStart != 0 &&
           be32(st, record + kLoopAddress) - be32(st, record + kAddress) == loopStart;
}
} // namespace

int testFixedTracks(RipState& st, const RecordLayout& records) {
    if (st.position < kVolumeOffset)
        return 1;
    const std::uint64_t s = st.position - kVolumeOffset;
    // The driver keeps 64 bytes behind the position, so the first 79 bytes are readable.
    if ((u8(st, s + 1) & 0x0F) != 0x0C)
        return 1;
    const std::uint32_t orderSize = be16(st, s + 2);
    if (orderSize == 0 || orderSize % 2 != 0)
        return 1;
    const std::uint32_t n = be16(st, s) >> 4 & 0xFF;
    if (n == 0 || n > 31)
        return 1;
    if (s + orderSize + 8 * n + 8 > static_cast<std::uint64_t>(st.inputSize))
        return 1;
    const std::uint64_t orderStart = s + kRecords + kRecordBytes * n + 4;
    if (!fits(st, s + kRecords, kRecordBytes * n))
        return 1;
    for (std::uint32_t i = 0; i < n; ++i)
        if (u8(st, s + kRecords + kRecordBytes * i + records.volume) > 64)
            return 1;
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        const std::uint32_t length = be16(st, record + records.length) * 2u;
        const std::uint32_t loopLength = be16(st, record + kLoopLength) * 2u;
        const std::uint32_t loopStart =
            be16(st, record + kLoopStart) * (records.loopStartInBytes ? 1u : 2u);
        if (length > 0xFFFF || loopLength > 0xFFFF || loopStart > 0xFFFF)
            return 1;
        if (loopStart + loopLength > length + 2)
            return 1;
        if (loopStart != 0 && loopLength == 0)
            return 1;
        if (records.loopStartInBytes ? loopStart % 2 != 0 : countsLoopStartInBytes(st, record))
            return 1;
        sampleBytes += length;
    }
    if (sampleBytes < 5)
        return 1;
    if (!fits(st, orderStart, 1) || !fits(st, orderStart, orderSize))
        return 1;
    std::uint32_t highestOrder = 0;
    for (std::uint32_t i = 0; i < orderSize; i += 2) {
        const std::uint32_t word = be16(st, orderStart + i);
        if (word % 8 != 0)
            return 1;
        highestOrder = std::max(highestOrder, word);
    }
    const std::uint64_t trackDataStart = orderStart + orderSize + highestOrder + 8;
    if (!fits(st, trackDataStart, 1))
        return 1;
    const std::uint32_t trackDataSize = be16(st, s + 6);
    if (trackDataSize < kFixedTrackBytes || trackDataSize % kFixedTrackBytes != 0)
        return 1;
    for (std::uint32_t i = 0; i < trackDataSize; i += kRowBytes) {
        const std::uint64_t row = trackDataStart + i;
        if (!fits(st, row, kRowBytes))
            return 1;
        const std::uint8_t b0 = u8(st, row);
        const std::uint8_t b1 = u8(st, row + 1);
        if (b0 > 73)
            return 1;
        if (sampleOfRow(b0, b1) > n)
            return 1;
        if ((b1 & 0x0F) == 0 && u8(st, row + 2) != 0)
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kSampleCount] = n;
    st.scratch[kTrackDataOffset] = static_cast<std::uint32_t>(trackDataStart - s);
    st.scratch[kTrackDataSize] = trackDataSize;
    return 0;
}

void depackFixedTracks(RipState& st, const RecordLayout& records, const char* bannerName) {
    if (st.refusedFlag == 1)
        return;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);
    const ModuleHead head = writeModuleHead(st, out, records);

    const std::uint64_t trackData = st.moduleStart + st.scratch[kTrackDataOffset];
    std::uint32_t highestTrack = 0;
    for (unsigned i = 0; i < head.patterns * 4u; ++i)
        highestTrack =
            std::max<std::uint32_t>(highestTrack, trackAddress(st, head.trackTable, i / 4, i % 4));
    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < head.patterns; ++p) {
        for (unsigned channel = 0; channel < 4; ++channel) {
            const std::uint32_t address = trackAddress(st, head.trackTable, p, channel);
            for (unsigned row = 0; row < 64; ++row) {
                const auto cell = cellOfRow(st, trackData + address + kRowBytes * row);
                std::copy(cell.begin(), cell.end(), &pattern[row * 16 + channel * 4]);
            }
        }
        out.bytes(pattern.data(), pattern.size());
    }
    // The sample data follows the last track the patterns name.
    out.input(trackData + highestTrack + kFixedTrackBytes, head.sampleBytes);
    writeBanner31(bannerName, 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}

} // namespace noisePacker
