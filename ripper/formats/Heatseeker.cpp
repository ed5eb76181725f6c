// Heatseeker mc1.0: a ProTracker module without title, names and tag, whose patterns are stored
// as tracks that skip runs of empty rows and may repeat an earlier track by number.
//
// Packed layout from module start s (big-endian): 0-247 31 sample records of 8 bytes (length,
// finetune, volume, loop start, loop length; sizes in words), 248 song length, 249 0x7F,
// 250-377 the order list, from 378 the patterns the song plays (highest order entry of the song
// + 1), each as four tracks (channels 1-4), then the sample data as plain 8-bit PCM.
//
// A track is a run of 4-byte items until it holds 64 rows: a ProTracker cell as it is (one row);
// 0x80 0 0 n (n + 1 empty rows); or, as the track's only item, 0xC0 0 and a 16-bit number that is
// 4 × the index of an earlier track (pattern × 4 + channel) whose rows this track repeats.
//
// The scan finds a module at the last sample record's finetune byte (s + 242). Unused records
// with a loop length of 0 are zero bytes, so the scan may skip a run of zeros that covers that
// byte and ends at the song length; behind such a run the test takes the first non-zero byte
// ahead as the song length of a module whose position was passed.
//
// What the test relies on, as both real modules show it: the restart byte is always 0x7F (the
// scan's anchor); references name tracks stored in full; an empty cell or a skip is never
// followed by another empty cell or skip (the packer codes every run of empty rows as one item,
// and some single ones as an empty cell); and a module has at least one skip or reference. The
// last two tell these tracks from plain patterns, which hold runs of empty cells: without them
// a module of plain patterns (Module Protector's layout, found later in the same bytes) would
// pass as one whose tracks are never packed.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace {
constexpr std::uint32_t kScanOffset = 8 * 30 + 2;
constexpr std::uint32_t kSongLength = 248;
constexpr std::uint32_t kRestart = 249;
constexpr std::uint32_t kOrderList = 250;
constexpr std::uint32_t kPatterns = 378;
constexpr std::uint8_t kSkipRows = 0x80;
constexpr std::uint8_t kRepeatTrack = 0xC0;
constexpr unsigned kMaxTracks = 128 * 4;

// scratch slots
constexpr int kPatternCount = 0;
constexpr int kSampleDataOffset = 1; // from module start

unsigned songPatterns(const RipState& st, std::uint64_t s) {
    const unsigned songLength = std::min<unsigned>(u8OrZero(st, s + kSongLength), 128);
    unsigned highest = 0;
    for (unsigned i = 0; i < songLength; ++i)
        highest = std::max<unsigned>(highest, u8OrZero(st, s + kOrderList + i));
    return highest + 1;
}

// A cell the replay can play: sample number up to 31 and a period in ProTracker's range.
bool plausibleCell(std::uint8_t b0, std::uint8_t b1) {
    const unsigned period = (b0 & 0x0Fu) << 8 | b1;
    return (b0 & 0xEC) == 0 && (period == 0 || (period >= 108 && period <= 907));
}

// Walks the track at `at` (track number `track`); returns the offset behind it, or 0 when it
// is not a plausible track. `stored` marks the tracks stored in full; `packed` is set at a skip
// or reference.
std::uint64_t checkedTrackEnd(const RipState& st, std::uint64_t at, unsigned track,
                              std::vector<bool>& stored, bool& packed) {
    if (!fits(st, at, 4))
        return 0;
    if (u8(st, at) == kRepeatTrack) {
        const unsigned number = be16(st, at + 2);
        if (u8(st, at + 1) != 0 || number % 4 != 0 || number / 4 >= track || !stored[number / 4])
            return 0;
        packed = true;
        return at + 4;
    }
    stored[track] = true;
    unsigned row = 0;
    bool afterEmpty = false;
    while (row < 64) {
        if (!fits(st, at, 4))
            return 0;
        const std::uint8_t b0 = u8(st, at);
        const bool empty = b0 == kSkipRows || be32(st, at) == 0;
        if (empty && afterEmpty)
            return 0;
        if (b0 == kSkipRows) {
            if (u8(st, at + 1) != 0 || u8(st, at + 2) != 0 || row + u8(st, at + 3) + 1u > 64)
                return 0;
            row += u8(st, at + 3) + 1u;
            packed = true;
        } else {
            if (!plausibleCell(b0, u8(st, at + 1)))
                return 0;
            ++row;
        }
        afterEmpty = empty;
        at += 4;
    }
    return at;
}

int testAt(RipState& st, std::uint64_t s) {
    if (!fits(st, s, kPatterns) || u8(st, s + kRestart) != 0x7F)
        return 1;
    const unsigned songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    for (unsigned i = 0; i < 128; ++i)
        if (u8(st, s + kOrderList + i) > 127)
            return 1;
    const std::int64_t sampleBytes = checkedRecordBytes(st, s, 8);
    if (sampleBytes <= 0)
        return 1;
    const unsigned patterns = songPatterns(st, s);
    std::vector<bool> stored(kMaxTracks, false);
    bool packed = false;
    std::uint64_t at = s + kPatterns;
    for (unsigned track = 0; track < patterns * 4; ++track) {
        at = checkedTrackEnd(st, at, track, stored, packed);
        if (at == 0)
            return 1;
    }
    if (!packed || !fits(st, at, static_cast<std::uint64_t>(sampleBytes)))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternCount] = patterns;
    st.scratch[kSampleDataOffset] = static_cast<std::uint32_t>(at - s);
    return 0;
}

// Behind a run of zero bytes the scan skipped: the module whose song length is the first
// non-zero byte ahead, if its own scan position lies behind.
int testBehindZeroRun(RipState& st) {
    std::uint64_t at = st.position;
    for (int i = 0; i < 64 && fits(st, at, 1) && u8(st, at) == 0; ++i)
        ++at;
    if (at < kSongLength || at - kSongLength + kScanOffset >= st.position || !fits(st, at, 1) ||
        u8(st, at) == 0)
        return 1;
    return testAt(st, at - kSongLength);
}

int testHeatseeker(RipState& st) {
    if (st.position >= kScanOffset && testAt(st, st.position - kScanOffset) == 0)
        return 0;
    return u8(st, st.position) == 0 ? testBehindZeroRun(st) : 1;
}

void ripHeatseeker(RipState& st) {
    st.outputSize = st.scratch[kSampleDataOffset] + st.sampleDataSize;
    noteRip(st, "Heatseeker module", 27);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

using Pattern = std::array<std::uint8_t, 1024>;

// Decodes the stored track at `at` into `channel` of `pattern`; returns the offset behind it.
// A repeat item here ends the track: repeats are resolved by the caller, one level deep.
std::uint64_t decodeTrack(const RipState& st, std::uint64_t at, unsigned channel,
                          Pattern& pattern) {
    unsigned row = 0;
    while (row < 64) {
        const std::uint8_t b0 = u8OrZero(st, at);
        if (b0 == kRepeatTrack)
            return at + 4;
        if (b0 == kSkipRows) {
            row += u8OrZero(st, at + 3) + 1u;
        } else {
            std::uint8_t* cell = &pattern[row * 16 + channel * 4];
            for (unsigned i = 0; i < 4; ++i)
                cell[i] = u8OrZero(st, at + i);
            ++row;
        }
        at += 4;
    }
    return at;
}

void depackHeatseeker(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        out.zeros(22);
        out.input(s + 8 * i, 8);
        sampleBytes += be16OrZero(st, s + 8 * i) * 2u;
    }
    const unsigned songLength = std::min<unsigned>(u8OrZero(st, s + kSongLength), 128);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned i = 0; i < songLength; ++i)
        orders[i] = u8OrZero(st, s + kOrderList + i);
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    const unsigned patterns = std::min(st.scratch[kPatternCount], 128u);
    std::vector<std::uint64_t> trackStart(patterns * 4);
    std::uint64_t at = s + kPatterns;
    Pattern pattern{};
    for (unsigned p = 0; p < patterns; ++p) {
        pattern.fill(0);
        for (unsigned channel = 0; channel < 4; ++channel) {
            const unsigned track = p * 4 + channel;
            trackStart[track] = at;
            std::uint64_t from = at;
            if (u8OrZero(st, at) == kRepeatTrack) {
                const unsigned number = be16OrZero(st, at + 2) / 4;
                from = number < track ? trackStart[number] : at;
            }
            const std::uint64_t end = decodeTrack(st, from, channel, pattern);
            at = from == at ? end : at + 4;
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + st.scratch[kSampleDataOffset], sampleBytes);
    writeBanner31(" Heatseeker mc1.0 ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// The restart byte, seven bytes after the scan position, is always 0x7F; eight bytes before it
// is the finetune of sample 30 (at most 15). Module Protector has the same pair.
const FormatSteps heatseekerSteps = {testHeatseeker,
                                     ripHeatseeker,
                                     depackHeatseeker,
                                     true,
                                     {ScanGate{7, 0xFF, 0x7F}, ScanGate{-8, 0xF0, 0x00}}};
