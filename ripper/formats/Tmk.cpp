// TMK ("TMK" and the byte 0x01): nameless sample records, whole patterns of three-byte cells with
// note numbers, and sample data that may be delta-coded.
//
// Packed layout from module start s (the tag), big-endian: 4 song length (1-128), 5 number of
// sample records (1-31), 6 flags (bit 0: the sample data is delta-coded; the other bits are
// zero), 7 pattern count (1-128), from 8 the sample records of 8 bytes (the ProTracker record
// without its name: length, finetune, volume, loop start, loop length, all in words), then the
// order list (song length entries, each below the pattern count) padded with a zero byte to an
// even size, then the patterns (64 rows x 4 channels of 3 bytes: bits 0-5 of the first byte the
// note number (0 no note, 1-36 the finetune-0 periods of C-1 to B-3), bit 6 bit 4 of the sample
// number, bit 7 zero; the second byte the sample's low nibble and the effect command; the third
// the parameter), then the sample data as 8-bit PCM, each sample's bytes stored as differences
// from the byte before when the delta flag is set.
//
// Sample slots beyond the stored records are written empty; the banner's delta line follows the
// module's flag.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace {
// scratch slots
constexpr int kPatternData = 0;

constexpr std::uint32_t kSongLength = 4;
constexpr std::uint32_t kSampleCount = 5;
constexpr std::uint32_t kFlags = 6;
constexpr std::uint32_t kPatternCount = 7;
constexpr std::uint32_t kRecords = 8;
constexpr std::uint32_t kRecordBytes = 8;
constexpr std::uint32_t kPatternBytes = 64 * 4 * 3;
constexpr std::uint8_t kDeltaFlag = 0x01;

// Offsets from s of the order list, behind the records, and of the pattern data, behind the
// order list padded to an even size.
std::uint64_t orderListOffset(std::uint32_t samples) {
    return kRecords + std::uint64_t{samples} * kRecordBytes;
}
std::uint64_t patternDataOffset(std::uint32_t samples, std::uint32_t songLength) {
    return orderListOffset(samples) + (songLength + 1) / 2 * 2;
}

int testTmk(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kRecords))
        return 1;
    const std::uint32_t songLength = u8(st, s + kSongLength);
    const std::uint32_t samples = u8(st, s + kSampleCount);
    const std::uint32_t patterns = u8(st, s + kPatternCount);
    if (songLength == 0 || songLength > 128 || samples == 0 || samples > 31 || patterns == 0 ||
        patterns > 128 || (u8(st, s + kFlags) & ~kDeltaFlag) != 0)
        return 1;
    const std::uint64_t patternData = patternDataOffset(samples, songLength);
    if (!fits(st, s, patternData))
        return 1;
    std::int64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < samples; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        const std::int64_t length = be16(st, record) * 2;
        if (checkSampleDescriptor(length, be16(st, record + 4) * 2, be16(st, record + 6) * 2,
                                  u8(st, record + 3), u8(st, record + 2)) != 0)
            return 1;
        sampleBytes += length;
    }
    const std::uint64_t orders = s + orderListOffset(samples);
    for (std::uint32_t i = 0; i < songLength; ++i)
        if (u8(st, orders + i) >= patterns)
            return 1;
    const std::uint64_t patternBytes = std::uint64_t{patterns} * kPatternBytes;
    if (sampleBytes == 0 || !fits(st, s + patternData, patternBytes + sampleBytes))
        return 1;
    for (std::uint64_t at = s + patternData; at < s + patternData + patternBytes; at += 3) {
        const std::uint8_t first = u8(st, at);
        if ((first & 0x80) != 0 || (first & 0x3F) > 36)
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternData] = static_cast<std::uint32_t>(patternData + patternBytes);
    return 0;
}

void ripTmk(RipState& st) {
    st.outputSize = st.scratch[kPatternData] + st.sampleDataSize;
    noteRip(st, "TMK module", 120);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void writePatterns(const RipState& st, ModuleWriter& out, std::uint64_t from, std::uint64_t to) {
    const PeriodTable periods = ptPeriodTable;
    std::array<std::uint8_t, 4> cell{};
    for (std::uint64_t at = from; at < to; at += 3) {
        const std::uint8_t first = u8OrZero(st, at);
        const std::uint8_t second = u8OrZero(st, at + 1);
        const std::uint16_t period = periodOf(periods, first & 0x3F);
        cell[0] = static_cast<std::uint8_t>((first & 0x40) >> 2 | period >> 8);
        cell[1] = static_cast<std::uint8_t>(period & 0xFF);
        cell[2] = second;
        cell[3] = u8OrZero(st, at + 2);
        out.bytes(cell.data(), cell.size());
    }
}

// Copies the sample data, undoing the delta coding sample by sample when `delta` is set.
void writeSamples(const RipState& st, ModuleWriter& out, std::uint64_t at,
                  const std::vector<std::uint32_t>& lengths, bool delta) {
    for (std::uint32_t length : lengths) {
        if (!delta) {
            out.input(at, length);
            at += length;
            continue;
        }
        std::vector<std::uint8_t> sample(length);
        std::uint8_t value = 0;
        for (std::uint8_t& byte : sample)
            byte = value = static_cast<std::uint8_t>(value + u8OrZero(st, at++));
        out.bytes(sample.data(), sample.size());
    }
}

void depackTmk(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const std::uint32_t songLength = u8OrZero(st, s + kSongLength);
    const std::uint32_t samples = u8OrZero(st, s + kSampleCount);
    const bool delta = (u8OrZero(st, s + kFlags) & kDeltaFlag) != 0;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::vector<std::uint32_t> lengths;
    for (std::uint32_t i = 0; i < 31; ++i) {
        out.zeros(22);
        if (i >= samples) {
            const std::uint8_t empty[8] = {0, 0, 0, 0, 0, 0, 0, 1};
            out.bytes(empty, sizeof empty);
            continue;
        }
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        out.input(record, 8);
        lengths.push_back(be16OrZero(st, record) * 2u);
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.input(s + orderListOffset(samples), songLength);
    out.zeros(128 - songLength);
    out.bytes("M.K.", 4);

    // Only the patterns the song plays are written, as the output layout counts them.
    std::uint32_t played = 0;
    for (std::uint32_t i = 0; i < songLength; ++i)
        played =
            std::max<std::uint32_t>(played, u8OrZero(st, s + orderListOffset(samples) + i) + 1u);
    const std::uint64_t patternData = s + patternDataOffset(samples, songLength);
    writePatterns(st, out, patternData, patternData + std::uint64_t{played} * kPatternBytes);
    writeSamples(st, out, s + st.scratch[kPatternData], lengths, delta);
    writeBanner31("        TMK       ", delta ? 0 : 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps tmkSteps = {testTmk, ripTmk, depackTmk};
