// NoisePacker v3: tracks that store only their rows with content, with a byte from 0x81 up
// standing for 256 minus it empty rows (NoisePacker.h has the whole layout).
//
// Decisions, taken from the real module:
// - The track data size is the packed size, and the sample data follows it directly.
// - A packer stores every empty row as part of a skip, so a row of three zero bytes is not
//   v3's. This is what keeps v1 and v2 modules, found at a later byte of their first record,
//   out of this test, which runs earlier on them.
// - Every track ends on row 64 exactly; a skip past it is not v3's.
#include "../InputBytes.h"
#include "../OutputModule.h"
#include "NoisePacker.h"

#include <algorithm>
#include <cstdio>

namespace noisePacker {
namespace {
// The scan finds the module at the first sample's volume byte.
constexpr std::uint32_t kVolumeOffset = 9;
constexpr std::uint8_t kFirstSkip = 0x81;

unsigned skippedRows(std::uint8_t b) {
    return 256u - b;
}

bool recordsArePlausible(const RipState& st, std::uint64_t s, std::uint32_t n,
                         std::uint64_t& sampleBytes) {
    const RecordLayout& layout = kV3Records;
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        const std::int64_t length = be16(st, record + layout.length) * 2;
        if (checkSampleDescriptor(
                length, be16(st, record + kLoopStart) * 2, be16(st, record + kLoopLength) * 2,
                u8(st, record + layout.volume), u8(st, record + layout.finetune)) != 0)
            return false;
        sampleBytes += static_cast<std::uint64_t>(length);
    }
    return sampleBytes != 0;
}

// Walks the track at `at` up to row 64; false when it is not a v3 track of `n` samples that
// ends on row 64 inside the track data, which ends at `end`.
bool trackIsPlausible(const RipState& st, std::uint64_t at, std::uint64_t end, std::uint32_t n) {
    unsigned row = 0;
    while (row < 64) {
        if (at >= end)
            return false;
        const std::uint8_t b0 = u8(st, at);
        if (b0 >= 0x80) {
            if (b0 < kFirstSkip)
                return false;
            row += skippedRows(b0);
            ++at;
            continue;
        }
        if (at + kRowBytes > end)
            return false;
        const std::uint8_t b1 = u8(st, at + 1);
        const std::uint8_t b2 = u8(st, at + 2);
        if (b0 > 73 || sampleOfRow(b0, b1) > n)
            return false;
        if ((b1 & 0x0F) == 0 && b2 != 0)
            return false;
        if ((b0 | b1 | b2) == 0)
            return false;
        ++row;
        at += kRowBytes;
    }
    return row == 64;
}
} // namespace

int testSkipTracks(RipState& st) {
    if (st.position < kVolumeOffset)
        return 1;
    const std::uint64_t s = st.position - kVolumeOffset;
    // The driver keeps 64 bytes behind the position, so the first 73 bytes are readable.
    if (u8(st, s) > 1 || (u8(st, s + 1) & 0x0F) != 0x0C)
        return 1;
    const std::uint32_t n = be16(st, s) >> 4;
    const std::uint32_t orderSize = be16(st, s + 2);
    if (n == 0 || orderSize == 0 || orderSize % 2 != 0 || orderSize > 256)
        return 1;
    const std::uint64_t orderStart = s + kRecords + kRecordBytes * n + 4;
    if (!fits(st, orderStart, orderSize))
        return 1;
    std::uint64_t sampleBytes = 0;
    if (!recordsArePlausible(st, s, n, sampleBytes))
        return 1;
    std::uint32_t highestOrder = 0;
    for (std::uint32_t i = 0; i < orderSize; i += 2) {
        const std::uint32_t word = be16(st, orderStart + i);
        if (word % 8 != 0 || word / 8 > 127)
            return 1;
        highestOrder = std::max(highestOrder, word);
    }
    const std::uint64_t trackTable = orderStart + orderSize;
    const std::uint32_t trackTableSize = highestOrder + 8;
    const std::uint64_t trackData = trackTable + trackTableSize;
    const std::uint32_t trackDataSize = be16(st, s + 6);
    if (trackDataSize == 0 || !fits(st, trackData, trackDataSize))
        return 1;
    for (std::uint32_t i = 0; i < trackTableSize; i += 2) {
        const std::uint32_t address = be16(st, trackTable + i);
        if (!trackIsPlausible(st, trackData + address, trackData + trackDataSize, n))
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kSampleCount] = n;
    st.scratch[kTrackDataOffset] = static_cast<std::uint32_t>(trackData - s);
    st.scratch[kTrackDataSize] = trackDataSize;
    return 0;
}

void depackSkipTracks(RipState& st, const char* bannerName) {
    if (st.refusedFlag == 1)
        return;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);
    const ModuleHead head = writeModuleHead(st, out, kV3Records);

    const std::uint64_t trackData = st.moduleStart + st.scratch[kTrackDataOffset];
    const std::uint64_t trackDataEnd = trackData + st.scratch[kTrackDataSize];
    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < head.patterns; ++p) {
        pattern.fill(0);
        for (unsigned channel = 0; channel < 4; ++channel) {
            std::uint64_t at = trackData + trackAddress(st, head.trackTable, p, channel);
            // Every step moves on at least one row, so a track costs at most 64 steps.
            for (unsigned row = 0; row < 64 && at < trackDataEnd;) {
                const std::uint8_t b0 = u8OrZero(st, at);
                if (b0 >= 0x80) {
                    row += skippedRows(b0);
                    ++at;
                    continue;
                }
                const auto cell = cellOfRow(st, at);
                std::copy(cell.begin(), cell.end(), &pattern[row * 16 + channel * 4]);
                ++row;
                at += kRowBytes;
            }
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(trackDataEnd, head.sampleBytes);
    writeBanner31(bannerName, 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}

} // namespace noisePacker
