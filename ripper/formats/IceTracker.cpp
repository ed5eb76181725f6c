// SoundTracker 2.6 ("MTN" and a zero byte) and IceTracker 1.0 ("IT10"): the ProTracker header
// with a song of track quadruples instead of an order list, and 64-row tracks of ProTracker cells.
//
// Packed layout from module start s (the tag is at s + 1464): 0-19 title, 20-949 31 sample
// records of 30 bytes (22-byte name, then the ProTracker record: length, finetune, volume, loop
// start, loop length, all in words), 950 song length (1-128), 951 number of tracks stored
// (1-255), 952-1463 per song position four track numbers (channels 1-4, each below the track
// count), 1464 the tag, from 1468 the tracks (64 rows of 4-byte ProTracker cells each, periods
// as they are), then the sample data as plain 8-bit PCM.
//
// The two trackers write the same layout; the tag's first byte tells which one saved the module.
// Every distinct quadruple of tracks becomes one pattern, numbered in the order the song first
// plays it.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
// scratch slots
constexpr int kTrackCount = 0;

constexpr std::uint32_t kTagOffset = 1464;
constexpr std::uint32_t kRecords = 20;
constexpr std::uint32_t kRecordBytes = 30;
constexpr std::uint32_t kNameBytes = 22;
constexpr std::uint32_t kSongLength = 950;
constexpr std::uint32_t kTrackCountAt = 951;
constexpr std::uint32_t kPositions = 952;
constexpr std::uint32_t kTracks = 1468;
constexpr std::uint32_t kTrackBytes = 256;
// Highest period a cell may hold: C-1 at the lowest finetune is 907; older trackers go an
// octave lower.
constexpr unsigned kMaxPeriod = 1712;

int testIceTracker(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s, kTracks))
        return 1;
    const std::uint32_t songLength = u8(st, s + kSongLength);
    const std::uint32_t tracks = u8(st, s + kTrackCountAt);
    if (songLength == 0 || songLength > 128 || tracks == 0)
        return 1;
    for (std::uint32_t i = 0; i < songLength * 4; ++i)
        if (u8(st, s + kPositions + i) >= tracks)
            return 1;
    const std::int64_t sampleBytes =
        checkedRecordBytes(st, s + kRecords + kNameBytes, kRecordBytes);
    if (sampleBytes <= 0)
        return 1;
    const std::uint64_t trackBytes = std::uint64_t{tracks} * kTrackBytes;
    if (!fits(st, s + kTracks, trackBytes + sampleBytes))
        return 1;
    for (std::uint64_t at = s + kTracks; at < s + kTracks + trackBytes; at += 4)
        if ((u8(st, at) & 0xE0) != 0 || (be16(st, at) & 0x0FFF) > kMaxPeriod)
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kTrackCount] = tracks;
    return 0;
}

void ripIceTracker(RipState& st) {
    st.outputSize = kTracks + st.scratch[kTrackCount] * kTrackBytes + st.sampleDataSize;
    if (u8(st, st.moduleStart + kTagOffset) == 'M')
        noteRip(st, "Sountracker 2.6 module", 92);
    else
        noteRip(st, "IceTracker 1.0 modul", 93);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

using TrackQuad = std::array<std::uint8_t, 4>;

void depackIceTracker(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i + kNameBytes;
        out.zeros(22);
        out.input(record, 8);
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    const std::uint32_t songLength = std::min<std::uint32_t>(u8OrZero(st, s + kSongLength), 128);
    std::array<TrackQuad, 128> patterns{};
    std::array<std::uint8_t, 128> orders{};
    unsigned patternCount = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        TrackQuad quad{};
        for (unsigned channel = 0; channel < 4; ++channel)
            quad[channel] = u8OrZero(st, s + kPositions + 4 * i + channel);
        const auto known = std::find(patterns.begin(), patterns.begin() + patternCount, quad);
        orders[i] = static_cast<std::uint8_t>(known - patterns.begin());
        if (orders[i] == patternCount)
            patterns[patternCount++] = quad;
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < patternCount; ++p) {
        for (unsigned channel = 0; channel < 4; ++channel) {
            const std::uint64_t track = s + kTracks + patterns[p][channel] * kTrackBytes;
            for (unsigned row = 0; row < 64; ++row)
                for (unsigned byte = 0; byte < 4; ++byte)
                    pattern[row * 16 + channel * 4 + byte] = u8OrZero(st, track + 4 * row + byte);
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + kTracks + std::uint64_t{st.scratch[kTrackCount]} * kTrackBytes, sampleBytes);
    writeBanner31(" SoundTracker 2.6 ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// One test and one depack step for both tags; the rip step names the tracker.
const FormatSteps iceTrackerSteps = {testIceTracker, ripIceTracker, depackIceTracker};
