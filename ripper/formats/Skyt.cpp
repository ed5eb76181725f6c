// SKYT packer: nameless sample records, a song of track quadruples and 64-row tracks of note
// numbers. The module starts with its sample records; the tag "SKYT" comes after them.
//
// Packed layout from module start s (the tag is at s + 256): 0-247 31 sample records of 8 bytes
// (length, finetune, volume, loop start, loop length, all in words; a loop length of 0 means no
// loop), 248-255 not read, "SKYT" at 256, at 260 the song length - 1, 261 not read, from 262
// per song position four pairs (track number of channels 1-4, zero), then the tracks (track
// 1 first; track 0 is an empty track and not stored), each 64 rows of note number (0 none, 1-36
// the finetune-0 periods of C-1 to B-3), sample number, effect command, parameter, then the
// sample data as plain 8-bit PCM.
//
// Every distinct quadruple of tracks becomes one pattern, numbered in the order the song first
// plays it; a loop length of 0 is written as ProTracker's 1.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
// scratch slots
constexpr int kTrackCount = 0;

constexpr std::uint32_t kTagOffset = 256;
constexpr std::uint32_t kRecordBytes = 8;
constexpr std::uint32_t kSongLength = 260;
constexpr std::uint32_t kPositions = 262;
constexpr std::uint32_t kPositionBytes = 8;
constexpr std::uint32_t kTrackBytes = 256;

std::uint32_t songLengthAt(const RipState& st, std::uint64_t s) {
    return u8OrZero(st, s + kSongLength) + 1u;
}

std::uint64_t trackDataOffset(std::uint32_t songLength) {
    return kPositions + std::uint64_t{songLength} * kPositionBytes;
}

// Sum of the sample lengths in bytes; -1 when a record is implausible.
std::int64_t checkedSampleBytes(const RipState& st, std::uint64_t s) {
    std::int64_t total = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecordBytes * i;
        const std::int64_t length = be16(st, record) * 2;
        const std::int64_t loopLength = std::max(be16(st, record + 6), std::uint16_t{1}) * 2;
        if (checkSampleDescriptor(length, be16(st, record + 4) * 2, loopLength, u8(st, record + 3),
                                  u8(st, record + 2)) != 0)
            return -1;
        total += length;
    }
    return total;
}

int testSkyt(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s + kPositions, 0))
        return 1;
    const std::uint32_t songLength = u8(st, st.position + 4) + 1u;
    if (songLength > 128 || !fits(st, s + kPositions, songLength * kPositionBytes))
        return 1;
    std::uint32_t tracks = 0;
    for (std::uint32_t i = 0; i < songLength * 4; ++i) {
        const std::uint64_t pair = s + kPositions + 2 * i;
        if (u8(st, pair + 1) != 0)
            return 1;
        tracks = std::max<std::uint32_t>(tracks, u8(st, pair));
    }
    if (tracks == 0)
        return 1;
    const std::int64_t sampleBytes = checkedSampleBytes(st, s);
    if (sampleBytes <= 0)
        return 1;
    const std::uint64_t trackData = s + trackDataOffset(songLength);
    if (!fits(st, trackData, std::uint64_t{tracks} * kTrackBytes + sampleBytes))
        return 1;
    for (std::uint64_t at = trackData; at < trackData + std::uint64_t{tracks} * kTrackBytes;
         at += 4)
        if (u8(st, at) > 36 || u8(st, at + 1) > 31 || u8(st, at + 2) > 15)
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kTrackCount] = tracks;
    return 0;
}

void ripSkyt(RipState& st) {
    st.outputSize = static_cast<std::uint32_t>(
        trackDataOffset(songLengthAt(st, st.moduleStart)) +
        std::uint64_t{st.scratch[kTrackCount]} * kTrackBytes + st.sampleDataSize);
    noteRip(st, "SKYT Packed module", 11);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

using TrackQuad = std::array<std::uint8_t, 4>;

// Writes one pattern from the four tracks; track 0 is empty.
void writePattern(const RipState& st, ModuleWriter& out, std::uint64_t trackData,
                  const TrackQuad& tracks) {
    const PeriodTable periods = ptPeriodTable;
    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned channel = 0; channel < 4; ++channel) {
        if (tracks[channel] == 0)
            continue;
        const std::uint64_t track = trackData + (tracks[channel] - 1u) * std::uint64_t{kTrackBytes};
        for (unsigned row = 0; row < 64; ++row) {
            const std::uint64_t packed = track + 4 * row;
            const std::uint8_t sample = u8OrZero(st, packed + 1);
            const std::uint16_t period = periodOf(periods, u8OrZero(st, packed));
            std::uint8_t* cell = &pattern[row * 16 + channel * 4];
            cell[0] = static_cast<std::uint8_t>((sample & 0xF0) | period >> 8);
            cell[1] = static_cast<std::uint8_t>(period & 0xFF);
            cell[2] =
                static_cast<std::uint8_t>((sample & 0x0F) << 4 | (u8OrZero(st, packed + 2) & 0x0F));
            cell[3] = u8OrZero(st, packed + 3);
        }
    }
    out.bytes(pattern.data(), pattern.size());
}

void depackSkyt(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecordBytes * i;
        out.zeros(22);
        out.input(record, 6);
        const std::uint16_t loopLength = std::max(be16OrZero(st, record + 6), std::uint16_t{1});
        out.byte(static_cast<std::uint8_t>(loopLength >> 8));
        out.byte(static_cast<std::uint8_t>(loopLength));
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    const std::uint32_t songLength = std::min(songLengthAt(st, s), 128u);
    std::array<TrackQuad, 128> patterns{};
    std::array<std::uint8_t, 128> orders{};
    unsigned patternCount = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        TrackQuad quad{};
        for (unsigned channel = 0; channel < 4; ++channel)
            quad[channel] = u8OrZero(st, s + kPositions + kPositionBytes * i + 2 * channel);
        const auto known = std::find(patterns.begin(), patterns.begin() + patternCount, quad);
        orders[i] = static_cast<std::uint8_t>(known - patterns.begin());
        if (orders[i] == patternCount)
            patterns[patternCount++] = quad;
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    const std::uint64_t trackData = s + trackDataOffset(songLength);
    for (unsigned p = 0; p < patternCount; ++p)
        writePattern(st, out, trackData, patterns[p]);
    out.input(trackData + std::uint64_t{st.scratch[kTrackCount]} * kTrackBytes, sampleBytes);
    writeBanner31("   SKYT Packer    ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps skytPackedSteps = {testSkyt, ripSkyt, depackSkyt};
