// The test step of The Player 5.0A, 6.0A and 6.1A (layout in ThePlayer6x.h): header counts and
// offsets, every sample record, the position list, every track address and every pattern decoded
// with the version's entry rules, which is what tells 6.0A and 6.1A apart.
#include "../InputBytes.h"
#include "ThePlayer6x.h"

#include <algorithm>

namespace thePlayer6x {
namespace {
// The scan finds a module at the volume byte of its first sample record.
constexpr std::uint32_t kVolumeOffset = 7;
constexpr std::uint32_t kPackedSizeBytes = 4;

// Volume and finetune of every record: the cheap test that turns away most positions.
bool plausibleRecords(const RipState& st, std::uint64_t records, unsigned samples, bool packed) {
    if (!fits(st, records, kRecordBytes * samples))
        return false;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = records + kRecordBytes * i;
        if (u8(st, record + 3) > 64 || (u8(st, record + 2) & (packed ? 0x70 : 0xF0)) != 0)
            return false;
    }
    return true;
}

// Checks the lengths and loops of the records; returns the bytes of sample data they need in
// `sampleBytes`.
bool checkSamples(const RipState& st, const Layout& layout, std::uint64_t& sampleBytes) {
    sampleBytes = 0;
    for (unsigned i = 0; i < layout.samples; ++i) {
        const std::uint64_t record = layout.records + kRecordBytes * i;
        const std::uint16_t length = be16(st, record);
        unsigned source = 0;
        if (repeatsSample(st, layout, i, source)) {
            if (source >= i || be16(st, layout.records + kRecordBytes * source) >= 0x8000)
                return false;
        } else {
            sampleBytes += length * 2u;
        }
        const std::uint16_t loopStart = be16(st, record + 4);
        if (loopStart != kNoLoop && loopStart >= sampleWords(st, layout, i))
            return false;
    }
    return true;
}

// Checks the position list; every pattern number below the count and the last one played.
bool checkPositions(const RipState& st, const Layout& layout, Version version) {
    if (layout.positionCount == 0 || layout.positionCount > kMaxPositions)
        return false;
    unsigned highest = 0;
    for (unsigned i = 0; i < layout.positionCount; ++i) {
        if (version == Version::V50A && u8(st, layout.positions + i) % 2 != 0)
            return false;
        highest = std::max(highest, patternAt(st, layout, version, i));
    }
    return highest + 1 == layout.patterns;
}

bool checkTracks(const RipState& st, const Layout& layout, Version version) {
    const std::uint64_t trackBytes = layout.sampleData - layout.trackData;
    for (unsigned i = 0; i < layout.patterns * 4; ++i)
        if (be16(st, layout.trackTable + 2 * i) >= trackBytes)
            return false;
    PatternCells cells;
    for (unsigned pattern = 0; pattern < layout.patterns; ++pattern)
        if (!decodePattern(st, layout, version, pattern, true, cells))
            return false;
    return true;
}
} // namespace

namespace {
// Everything but the scan's gates; `s` is the module start, `records` its first record.
int checkModule(RipState& st, Version version, bool packed, std::uint64_t s,
                std::uint64_t records) {
    const std::uint8_t sampleCountByte = u8(st, s + 3);
    const unsigned samples = sampleCountByte & kSampleCountBits;
    if (samples == 0 || samples > 31 || bool(sampleCountByte & kPackedSamples) != packed ||
        !plausibleRecords(st, records, samples, packed))
        return 1;
    const std::uint32_t sampleDataOffset = be16(st, s);
    const unsigned patterns = u8(st, s + 2);
    if (sampleDataOffset % 2 != 0 || patterns == 0 || patterns > kMaxPatterns ||
        !fits(st, s, sampleDataOffset) ||
        records + kRecordBytes * samples + 8 * patterns >= s + sampleDataOffset)
        return 1;
    const Layout layout = layoutAt(st, s);
    std::uint64_t sampleBytes = 0;
    if (!checkSamples(st, layout, sampleBytes))
        return 1;
    // The position list, its end mark and at least one byte of tracks lie before the samples.
    if (layout.trackData >= layout.sampleData || !checkPositions(st, layout, version))
        return 1;
    if (!packed && !fits(st, layout.sampleData, sampleBytes))
        return 1;
    if (!checkTracks(st, layout, version))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = packed ? 0 : static_cast<std::uint32_t>(sampleBytes);
    return 0;
}
} // namespace

int testModule(RipState& st, Version version, bool packed) {
    // The scan's gates and a little more first, cheaply: most positions that reach here fail.
    // The finetune bytes on both sides of the volume byte, the first sample's and the second's
    // or, with one sample, the high byte of the first track address (the packer writes the first
    // track first, at 0), have no bits above the nibble but a packed sample's flag; a packed
    // module's unpacked sample size is below 16 MB. The header up to the first record lies
    // before the position, so it is inside the input, and the driver keeps 64 bytes behind it.
    const std::uint32_t p = st.position;
    if (packed) {
        if (p < kVolumeOffset + kPackedSizeBytes ||
            (((u8(st, p - 1) | u8(st, p + 5)) & 0x70) | u8(st, p - 7)) != 0)
            return 1;
        return checkModule(st, version, true, p - kVolumeOffset - kPackedSizeBytes, p - 3);
    }
    if (p < kVolumeOffset || ((u8(st, p - 1) | u8(st, p + 5)) & 0xF0) != 0)
        return 1;
    return checkModule(st, version, false, p - kVolumeOffset, p - 3);
}

} // namespace thePlayer6x
