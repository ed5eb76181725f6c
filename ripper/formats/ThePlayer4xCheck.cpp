// The test step of The Player 2.2A to 4.1A (layout in ThePlayer4x.h): header counts and offsets,
// every sample record, every track table word and every entry of the track data.
#include "../InputBytes.h"
#include "../OutputModule.h"
#include "ThePlayer4x.h"

#include <algorithm>

namespace thePlayer4x {
namespace {
// Track addresses and copy sources are 16-bit, and what a track or a copy reads from there is
// at most 256 entries, so no module needs more track data than this.
constexpr std::uint32_t kMaxTrackDataBytes = 0x10000 + 256 * kEntryBytes;
// The largest byte 3 of an entry that counts empty rows, and the smallest that counts repeats.
constexpr std::uint8_t kMostEmptyRows = 63;
constexpr std::uint8_t kMostRepeats = 0xC0; // -64

// Checks the records; returns the end of the furthest sample in the sample data, 0 on a fault.
std::uint64_t checkSamples(const RipState& st, std::uint64_t s, unsigned samples,
                           SampleFields fields) {
    std::uint64_t end = 0;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        const std::uint32_t address = be32(st, record);
        const std::uint32_t loopAddress = be32(st, record + 6);
        const std::uint32_t finetune = be16(st, record + fields.finetune);
        const std::uint32_t volume = be16(st, record + fields.volume);
        if (address % 2 != 0 || loopAddress < address || (loopAddress - address) % 2 != 0)
            return 0;
        if (finetune % kFinetuneStep != 0)
            return 0;
        const std::uint64_t length = be16(st, record + 4) * 2u;
        if (checkSampleDescriptor(static_cast<std::int64_t>(length), loopAddress - address,
                                  be16(st, record + 10) * 2, static_cast<int>(volume),
                                  static_cast<int>(finetune / kFinetuneStep)) != 0)
            return 0;
        end = std::max(end, address + length);
    }
    return end;
}

bool checkTracks(const RipState& st, std::uint64_t start, std::uint32_t size, unsigned samples) {
    for (std::uint64_t at = start; at < start + size; at += kEntryBytes) {
        const std::uint8_t first = u8(st, at);
        const std::uint8_t second = u8(st, at + 1);
        if (first == kCopyEntry) {
            const std::uint32_t source = be16(st, at + 2);
            if (source % kEntryBytes != 0 || source + (second + 1u) * kEntryBytes > size)
                return false;
            continue;
        }
        const std::uint8_t rows = u8(st, at + 3);
        if (first >> 1 > 36 || ((first & 1u) << 4 | second >> 4) > samples)
            return false;
        if (rows > kMostEmptyRows && rows < kMostRepeats)
            return false;
    }
    return true;
}
} // namespace

int testLayout(RipState& st, SampleFields fields) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kRecords))
        return 1;
    const unsigned positions = u8(st, s + kPositionCount);
    const unsigned samples = u8(st, s + kSampleCount);
    if (u8(st, s + kPatternCount) == 0 || u8(st, s + kPadding) != 0)
        return 1;
    if (positions == 0 || positions > kMaxPositions || samples == 0 || samples > 31)
        return 1;
    const std::uint32_t trackData = be32(st, s + kTrackDataOffset);
    const std::uint32_t trackTable = be32(st, s + kTrackTableOffset);
    const std::uint32_t sampleData = be32(st, s + kSampleDataOffset);
    if (trackTable < kRecords - kOffsetBase + kRecordBytes * samples ||
        trackData < trackTable + 8ull * positions || sampleData <= trackData)
        return 1;
    const std::uint32_t trackBytes = sampleData - trackData;
    if (trackTable % 2 != 0 || trackData % 2 != 0 || trackBytes % kEntryBytes != 0 ||
        trackBytes > kMaxTrackDataBytes)
        return 1;
    const std::uint64_t base = s + kOffsetBase;
    // The records, the track table and the track data all lie in front of the sample data.
    if (!fits(st, base, sampleData))
        return 1;
    const std::uint64_t sampleBytes = checkSamples(st, s, samples, fields);
    if (sampleBytes == 0 || !fits(st, base + sampleData, sampleBytes))
        return 1;
    for (unsigned i = 0; i < 4 * positions; ++i) {
        const std::uint32_t address = be16(st, base + trackTable + 2 * i);
        if (address % kEntryBytes != 0 || address >= trackBytes)
            return 1;
    }
    if (!checkTracks(st, base + trackData, trackBytes, samples))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kModuleSizeSlot] =
        static_cast<std::uint32_t>(kOffsetBase + sampleData + sampleBytes);
    return 0;
}

} // namespace thePlayer4x
