// Stone Arts Player: the song as quadruples of shared 64-row tracks holding note numbers.
//
// Packed layout from module start s (the tag "FAST" is at s; big-endian):
//   0    4    "FAST"
//   4    1    number of samples n, 1-31
//   5    1    song length, 1-128
//   6    2    number of patterns P, 1-128
//   8    128  order list (the first song-length entries are played, each below P)
//   136  8n   sample records: the ProTracker record without its name (length in words,
//             finetune, volume, loop start in words, loop length in words)
//   then 8P   pattern table: per pattern four 16-bit track numbers, channel 1 to 4
//   then      tracks of 64 rows x 3 bytes, track k at 192 k; as many as the highest track
//             number + 1
//   then      sample data, 8-bit signed, samples in record order
// Track row: byte 0 bit 7 is bit 4 of the sample number, bit 6 is clear, bits 0-5 the note
// number (0 none, 1-36 the finetune-0 periods of C-1 to B-3); byte 1 holds the sample's low
// nibble and the effect command; byte 2 is the parameter.
//
// No real modules were at hand: this is the layout the converter reads, decided so, with the
// sample count, pattern count and track numbers where a loader of such a player wants them.
// Samples n+1 to 31 come out as empty records.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
// scratch slots: where the tracks start and how many there are
constexpr int kTrackStart = 0;
constexpr int kTrackCount = 1;

constexpr std::uint32_t kSampleCount = 4;
constexpr std::uint32_t kSongLength = 5;
constexpr std::uint32_t kPatternCount = 6;
constexpr std::uint32_t kOrderList = 8;
constexpr std::uint32_t kRecords = 136;
constexpr std::uint32_t kTrackBytes = 192;

std::uint64_t patternTableOf(std::uint64_t s, unsigned samples) {
    return s + kRecords + 8u * samples;
}

// Sum of the n sample lengths in bytes; -1 when a record is implausible.
std::int64_t checkedSampleBytes(const RipState& st, std::uint64_t records, unsigned samples) {
    std::int64_t total = 0;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = records + 8u * i;
        const std::int64_t length = be16(st, record) * 2;
        if (checkSampleDescriptor(length, be16(st, record + 4) * 2, be16(st, record + 6) * 2,
                                  u8(st, record + 3), u8(st, record + 2)) != 0)
            return -1;
        total += length;
    }
    return total;
}

bool tracksPlausible(const RipState& st, std::uint64_t tracks, std::uint32_t count,
                     unsigned samples) {
    for (std::uint64_t at = tracks; at < tracks + std::uint64_t{count} * kTrackBytes; at += 3) {
        const std::uint8_t first = u8(st, at);
        const unsigned sample = (first >> 7) << 4 | u8(st, at + 1) >> 4;
        if ((first & 0x3F) > 36 || (first & 0x40) != 0 || sample > samples)
            return false;
    }
    return true;
}

int testStoneArtsPlayer(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kRecords))
        return 1;
    const unsigned samples = u8(st, s + kSampleCount);
    const unsigned songLength = u8(st, s + kSongLength);
    const unsigned patterns = be16(st, s + kPatternCount);
    if (samples == 0 || samples > 31 || songLength == 0 || songLength > 128 || patterns == 0 ||
        patterns > 128)
        return 1;
    for (unsigned i = 0; i < songLength; ++i)
        if (u8(st, s + kOrderList + i) >= patterns)
            return 1;
    const std::uint64_t table = patternTableOf(s, samples);
    if (!fits(st, table, 8u * patterns))
        return 1;
    const std::int64_t sampleBytes = checkedSampleBytes(st, s + kRecords, samples);
    if (sampleBytes <= 0)
        return 1;
    unsigned highestTrack = 0;
    for (unsigned i = 0; i < 4 * patterns; ++i)
        highestTrack = std::max<unsigned>(highestTrack, be16(st, table + 2 * i));
    const std::uint64_t tracks = table + 8u * patterns;
    const std::uint32_t trackCount = highestTrack + 1;
    if (!fits(st, tracks, std::uint64_t{trackCount} * kTrackBytes + sampleBytes))
        return 1;
    if (!tracksPlausible(st, tracks, trackCount, samples))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kTrackStart] = static_cast<std::uint32_t>(tracks - s);
    st.scratch[kTrackCount] = trackCount;
    return 0;
}

void ripStoneArtsPlayer(RipState& st) {
    st.outputSize =
        st.scratch[kTrackStart] + st.scratch[kTrackCount] * kTrackBytes + st.sampleDataSize;
    noteRip(st, "Stone Arts Player module", 134);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackTrack(const RipState& st, const PeriodTable& periods, std::uint64_t track,
                 unsigned channel, std::array<std::uint8_t, 1024>& pattern) {
    for (unsigned row = 0; row < 64; ++row) {
        const std::uint64_t at = track + 3u * row;
        const std::uint8_t first = u8OrZero(st, at);
        const std::uint8_t second = u8OrZero(st, at + 1);
        const std::uint16_t period = periodOf(periods, first & 0x3F);
        std::uint8_t* cell = &pattern[row * 16 + channel * 4];
        cell[0] = static_cast<std::uint8_t>((first >> 7) << 4 | period >> 8);
        cell[1] = static_cast<std::uint8_t>(period & 0xFF);
        cell[2] = second;
        cell[3] = u8OrZero(st, at + 2);
    }
}

void depackStoneArtsPlayer(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    const unsigned samples = u8OrZero(st, s + kSampleCount);
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);
    std::array<std::uint8_t, 1024> scratch{};

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = s + kRecords + 8u * i;
        out.zeros(22);
        out.input(record, 8);
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    scratch[29] = 1; // an empty record: all zero but loop length 1
    for (unsigned i = samples; i < 31; ++i)
        out.bytes(scratch.data(), 30);
    scratch.fill(0);

    const std::uint8_t songLength = u8OrZero(st, s + kSongLength);
    out.byte(songLength);
    out.byte(0x7F);
    std::uint8_t highestPattern = 0;
    for (unsigned i = 0; i < songLength && i < 128; ++i) {
        scratch[i] = u8OrZero(st, s + kOrderList + i);
        highestPattern = std::max(highestPattern, scratch[i]);
    }
    out.bytes(scratch.data(), 128);
    out.bytes("M.K.", 4);

    const std::uint64_t table = patternTableOf(s, samples);
    const std::uint64_t tracks = s + st.scratch[kTrackStart];
    for (unsigned pattern = 0; pattern <= highestPattern; ++pattern) {
        scratch.fill(0);
        for (unsigned channel = 0; channel < 4; ++channel) {
            const unsigned track = be16OrZero(st, table + 8u * pattern + 2u * channel);
            depackTrack(st, periods, tracks + std::uint64_t{track} * kTrackBytes, channel, scratch);
        }
        out.bytes(scratch.data(), scratch.size());
    }
    out.input(tracks + std::uint64_t{st.scratch[kTrackCount]} * kTrackBytes, sampleBytes);
    writeBanner31("Stone Arts Player ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps stoneArtsPlayerSteps = {testStoneArtsPlayer, ripStoneArtsPlayer,
                                          depackStoneArtsPlayer};
