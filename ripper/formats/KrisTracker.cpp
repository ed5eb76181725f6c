// KRIS Tracker: every song position names four 64-row tracks, one per channel, each with a
// transpose; notes are stored as even note numbers.
//
// Packed layout from module start s (the tag "KRIS" is at s + 952, big-endian): 0-21 title (not
// read); 22 31 sample records of 30 bytes (22-byte name, not read: empty names start with 0x01;
// length in words; finetune; volume; loop start in bytes; loop length in words); 952 "KRIS";
// 956 song length (1-128); 957 a byte not read; 958 128 positions × 4 channels of two bytes
// (track number, transpose in semitones, signed); 1982 two bytes not read; 1984 the tracks,
// 256 bytes each (64 rows of note, sample, effect, parameter); then the sample data, plain
// 8-bit signed PCM in record order.
//
// Note byte: 0xA8 is no note; other notes are even, 72 (C-1) to 142 (B-3), so (note - 70) / 2
// indexes the finetune-0 period table. A transposed note is clamped to that table's range.
// The stored tracks end with the highest track that the song's positions name (entries behind
// the song are not read), so the sample data starts right behind that track.
//
// Every position becomes its own output pattern, so the order list counts 0 to length - 1.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kTagOffset = 952;
constexpr std::uint32_t kRecords = 22;
constexpr std::uint32_t kRecordBytes = 30;
constexpr std::uint32_t kSongLength = 956;
constexpr std::uint32_t kPositions = 958;
constexpr std::uint32_t kTracks = 1984;
constexpr std::uint32_t kTrackBytes = 256;
constexpr std::uint8_t kNoNote = 0xA8;
constexpr std::uint8_t kLowestNote = 72;

// scratch slots the test leaves for the rip and depack steps
constexpr int kTrackCount = 0;

std::uint64_t trackEntry(std::uint64_t s, unsigned position, unsigned channel) {
    return s + kPositions + 8 * position + 2 * channel;
}

bool plausibleTrack(const RipState& st, std::uint64_t track) {
    for (unsigned row = 0; row < 64; ++row) {
        const std::uint64_t at = track + 4 * row;
        const std::uint8_t note = u8(st, at);
        if (note > kNoNote || (note & 1) != 0 || u8(st, at + 1) > 31 || u8(st, at + 2) > 0x0F)
            return false;
    }
    return true;
}

int testKrisTracker(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s, kTracks))
        return 1;
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i + 22;
        const std::int64_t length = be16(st, record) * 2;
        if (checkSampleDescriptor(length, be16(st, record + 4), be16(st, record + 6) * 2,
                                  u8(st, record + 3), u8(st, record + 2)) != 0)
            return 1;
        sampleBytes += static_cast<std::uint64_t>(length);
    }
    const unsigned songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    unsigned tracks = 0;
    for (unsigned p = 0; p < songLength; ++p)
        for (unsigned c = 0; c < 4; ++c)
            tracks = std::max(tracks, u8(st, trackEntry(s, p, c)) + 1u);
    if (!fits(st, s + kTracks, std::uint64_t{kTrackBytes} * tracks + sampleBytes))
        return 1;
    for (unsigned t = 0; t < tracks; ++t)
        if (!plausibleTrack(st, s + kTracks + kTrackBytes * t))
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kTrackCount] = tracks;
    return 0;
}

void ripKrisTracker(RipState& st) {
    st.outputSize = kTracks + kTrackBytes * st.scratch[kTrackCount] + st.sampleDataSize;
    noteRip(st, "KRIS Tracker module", 4);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// The ProTracker cell of a track row played with `transpose` semitones.
std::array<std::uint8_t, 4> cellOfRow(const RipState& st, std::uint64_t row,
                                      std::int8_t transpose) {
    const std::uint8_t note = u8OrZero(st, row);
    const std::uint8_t sample = u8OrZero(st, row + 1);
    std::uint16_t period = 0;
    if (note != kNoNote) {
        const int index = (note - kLowestNote) / 2 + 1 + transpose;
        period = periodOf(ptPeriodTable, static_cast<unsigned>(std::clamp(index, 1, 36)));
    }
    return {static_cast<std::uint8_t>((sample & 0x10) | period >> 8),
            static_cast<std::uint8_t>(period & 0xFF),
            static_cast<std::uint8_t>((sample & 0x0F) << 4 | (u8OrZero(st, row + 2) & 0x0F)),
            u8OrZero(st, row + 3)};
}

void depackKrisTracker(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (unsigned i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i + 22;
        out.zeros(22);
        out.input(record, 4); // length, finetune, volume
        const unsigned loopStartWords = be16OrZero(st, record + 4) / 2u;
        out.byte(static_cast<std::uint8_t>(loopStartWords >> 8));
        out.byte(static_cast<std::uint8_t>(loopStartWords));
        out.input(record + 6, 2);
    }
    const unsigned songLength = u8OrZero(st, s + kSongLength);
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned p = 0; p < songLength && p < orders.size(); ++p)
        orders[p] = static_cast<std::uint8_t>(p);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < songLength; ++p) {
        for (unsigned c = 0; c < 4; ++c) {
            const std::uint64_t entry = trackEntry(s, p, c);
            const std::uint64_t track = s + kTracks + kTrackBytes * u8OrZero(st, entry);
            const auto transpose = static_cast<std::int8_t>(u8OrZero(st, entry + 1));
            for (unsigned row = 0; row < 64; ++row) {
                const auto cell = cellOfRow(st, track + 4 * row, transpose);
                std::copy(cell.begin(), cell.end(), pattern.begin() + 16 * row + 4 * c);
            }
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + kTracks + std::uint64_t{kTrackBytes} * st.scratch[kTrackCount],
              st.sampleDataSize);
    writeBanner31("   Kris tracker   ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps krisTrackerSteps = {testKrisTracker, ripKrisTracker, depackKrisTracker};
