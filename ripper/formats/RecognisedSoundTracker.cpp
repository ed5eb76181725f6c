// 15-sample SoundTracker modules: recognised and stepped over, not converted.
//
// Layout from module start s: 0 title (20 bytes), 20 fifteen sample records of 30 bytes (22-byte
// name, length in words, a zero byte, volume 0-64, loop start in bytes, loop length in words),
// 470 song length (1-128), 471 restart/tempo byte (any value), 472 order list of 128 entries,
// 600 patterns of 1024 bytes (64 rows x 4 channels x 4-byte cells), then the sample data.
//
// The test runs at the zero byte of sample 1 (s + 44): the title's first byte can be anything,
// this byte is always at most 0x40. Its gates are the same zero byte of samples 2 and 3. A
// module with an empty title and an empty first sample behind zero bytes can be entered by the
// scan's zero-run skip past that byte; such a module is not recognised.
// Decisions taken from real modules: the order entries behind the song length may hold junk
// (up to 127), and the pattern count is the highest entry within the song length plus one,
// or the highest of all 128 entries plus one when the input holds that many patterns (some
// modules store patterns the song never plays). The sample data must lie inside the input.
// A sample with data has a loop length of at least 1 (1: no loop); an empty one may have 0.
// Every pattern cell must be a SoundTracker note (sample 0-15, no period or one of the table's)
// and the patterns must hold a note: together these keep 31-sample modules, their packed forms
// and the sample tables of other packers from being taken for one.
#include "../InputBytes.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

#include <algorithm>
#include <bitset>

namespace {
constexpr std::uint32_t kAnchor = 44; // sample 1's zero byte
constexpr std::uint32_t kRecords = 20;
constexpr std::uint32_t kSongLength = 470;
constexpr std::uint32_t kOrderList = 472;
constexpr std::uint32_t kPatterns = 600;
constexpr std::uint32_t kPatternBytes = 1024;

bool plausibleRecords(const RipState& st, std::uint64_t s, std::uint64_t& sampleBytes) {
    for (std::uint64_t record = s + kRecords; record < s + kSongLength; record += 30) {
        const std::uint32_t length = be16(st, record + 22);
        const std::uint32_t loopStartBytes = be16(st, record + 26);
        const std::uint32_t loopLength = be16(st, record + 28);
        if (u8(st, record + 24) != 0 || u8(st, record + 25) > 64 || length > 0x8000)
            return false;
        if (length != 0 && (loopLength == 0 || loopStartBytes / 2 + loopLength > length))
            return false;
        sampleBytes += length * 2u;
    }
    return true;
}

// The periods a note cell may hold: 0 (no note) and the finetune-0 table's.
const std::bitset<0x1000>& notePeriods() {
    static const std::bitset<0x1000> periods = [] {
        std::bitset<0x1000> set;
        for (unsigned i = 0; i < ptPeriodTable.size(); ++i)
            set.set(periodOf(ptPeriodTable, i));
        return set;
    }();
    return periods;
}

// True when every cell is a SoundTracker note and at least one plays a period.
bool soundTrackerCells(const RipState& st, std::uint64_t from, std::uint64_t bytes) {
    const std::bitset<0x1000>& periods = notePeriods();
    bool playsNote = false;
    for (std::uint64_t cell = from; cell < from + bytes; cell += 4) {
        const unsigned period = be16(st, cell);
        if (period >= 0x1000 || !periods.test(period))
            return false;
        playsNote = playsNote || period != 0;
    }
    return playsNote;
}

int testSoundTracker(RipState& st) {
    if (st.position < kAnchor)
        return 1;
    const std::uint64_t s = st.position - kAnchor;
    if (!fits(st, s, kPatterns + kPatternBytes))
        return 1;
    std::uint64_t sampleBytes = 0;
    if (!plausibleRecords(st, s, sampleBytes) || sampleBytes == 0)
        return 1;
    const unsigned songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    unsigned played = 0;
    unsigned stored = 0;
    for (unsigned i = 0; i < 128; ++i) {
        const unsigned entry = u8(st, s + kOrderList + i);
        if (entry > 127 || (i < songLength && entry > 63))
            return 1;
        stored = std::max(stored, entry);
        if (i < songLength)
            played = std::max(played, entry);
    }
    std::uint64_t patterns = played + 1;
    if (fits(st, s, kPatterns + (stored + 1) * kPatternBytes + sampleBytes))
        patterns = stored + 1;
    const std::uint64_t patternBytes = patterns * kPatternBytes;
    if (!fits(st, s, kPatterns + patternBytes) ||
        !soundTrackerCells(st, s + kPatterns, patternBytes))
        return 1;
    return recognised::accept(st, s, kPatterns + patternBytes + sampleBytes);
}

void ripSoundTracker(RipState& st) {
    recognised::stepOver(st, "SoundTracker module", 49);
}
} // namespace

const FormatSteps soundTrackerSteps = {testSoundTracker,
                                       ripSoundTracker,
                                       nullptr,
                                       true,
                                       {ScanGate{30, 0xFF, 0x00}, ScanGate{60, 0xFF, 0x00}}};
