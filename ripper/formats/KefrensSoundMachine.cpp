// Kefrens Sound Machine: 15 samples, an order list of four track numbers per position and
// tracks of 64 three-byte rows with note numbers.
//
// Packed layout from module start s (the tag "M." is at s, big-endian): 2-14 title (not read);
// 15 the byte 'a'; 16-31 not read; 32 15 sample records of 32 bytes (0-15 name in the tracker's
// own font, not read; 16-19 sample address from s; 20-21 length in bytes; 22 volume; 23-31 zero
// in the modules seen, so no loops are read: every sample plays once); 512 the order list, four
// track numbers (channels 1-4) per position, ended by 0xFF in a position's first byte; 1536 the
// tracks, 192 bytes each; the sample data, plain 8-bit signed PCM, each sample at its address.
//
// Track row: 0 note number (0 none, 1-36 index the finetune-0 period table); 1 sample number
// (1-15) in the high nibble, effect in the low nibble; 2 parameter. Effects are ProTracker's.
//
// The test takes only modules whose samples lie back to back behind the tracks, in record
// order, and songs of at most 128 positions (the output's order list holds no more). Every
// position becomes its own output pattern, so the order list counts 0 to length - 1.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kMarker = 15;
constexpr std::uint32_t kRecords = 32;
constexpr std::uint32_t kRecordBytes = 32;
constexpr std::uint32_t kSamples = 15;
constexpr std::uint32_t kOrderList = 512;
constexpr std::uint8_t kOrderEnd = 0xFF;
constexpr std::uint32_t kTracks = 1536;
constexpr std::uint32_t kTrackBytes = 192;
constexpr unsigned kMaxPositions = 128;

// scratch slots the test leaves for the rip and depack steps
constexpr int kPositionCount = 0;
constexpr int kSampleStart = 1; // from module start

std::uint64_t recordOf(std::uint64_t s, unsigned sample) {
    return s + kRecords + kRecordBytes * sample;
}

bool plausibleTrack(const RipState& st, std::uint64_t track) {
    for (unsigned row = 0; row < 64; ++row)
        if (u8(st, track + 3 * row) > 36)
            return false;
    return true;
}

int testKefrensSoundMachine(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kTracks) || u8(st, s + kMarker) != 'a')
        return 1;
    unsigned positions = 0;
    unsigned tracks = 0;
    while (u8(st, s + kOrderList + 4 * positions) != kOrderEnd) {
        if (positions == kMaxPositions)
            return 1;
        for (unsigned c = 0; c < 4; ++c)
            tracks = std::max(tracks, u8(st, s + kOrderList + 4 * positions + c) + 1u);
        ++positions;
    }
    if (positions == 0)
        return 1;
    const std::uint64_t sampleStart = be32(st, recordOf(s, 0) + 16);
    if (sampleStart < kTracks + std::uint64_t{kTrackBytes} * tracks)
        return 1;
    std::uint64_t next = sampleStart;
    for (unsigned i = 0; i < kSamples; ++i) {
        const std::uint64_t record = recordOf(s, i);
        const unsigned length = be16(st, record + 20);
        if (be32(st, record + 16) != next || (length & 1) != 0 || u8(st, record + 22) > 64)
            return 1;
        next += length;
    }
    if (!fits(st, s, next))
        return 1;
    for (unsigned t = 0; t < tracks; ++t)
        if (!plausibleTrack(st, s + kTracks + kTrackBytes * t))
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(next - sampleStart);
    st.scratch[kPositionCount] = positions;
    st.scratch[kSampleStart] = static_cast<std::uint32_t>(sampleStart);
    return 0;
}

void ripKefrensSoundMachine(RipState& st) {
    st.outputSize = st.scratch[kSampleStart] + st.sampleDataSize;
    noteRip(st, "Kefrens Sound Machine module", 28);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

std::array<std::uint8_t, 4> cellOfRow(const RipState& st, std::uint64_t row) {
    const std::uint16_t period = periodOf(ptPeriodTable, u8OrZero(st, row));
    return {static_cast<std::uint8_t>(period >> 8), static_cast<std::uint8_t>(period & 0xFF),
            u8OrZero(st, row + 1), u8OrZero(st, row + 2)};
}

void depackKefrensSoundMachine(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::array<std::uint8_t, 30> emptyRecord{};
    emptyRecord[29] = 1; // loop length 1
    for (unsigned i = 0; i < 31; ++i) {
        if (i >= kSamples) {
            out.bytes(emptyRecord.data(), emptyRecord.size());
            continue;
        }
        const std::uint64_t record = recordOf(s, i);
        const unsigned words = be16OrZero(st, record + 20) / 2u;
        out.zeros(22);
        out.byte(static_cast<std::uint8_t>(words >> 8));
        out.byte(static_cast<std::uint8_t>(words));
        out.byte(0);
        out.byte(u8OrZero(st, record + 22));
        const std::uint8_t noLoop[4] = {0, 0, 0, 1};
        out.bytes(noLoop, sizeof noLoop);
    }
    const unsigned positions = st.scratch[kPositionCount];
    out.byte(static_cast<std::uint8_t>(positions));
    out.byte(0x7F);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned p = 0; p < positions && p < orders.size(); ++p)
        orders[p] = static_cast<std::uint8_t>(p);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < positions; ++p) {
        for (unsigned c = 0; c < 4; ++c) {
            const std::uint64_t track =
                s + kTracks + kTrackBytes * u8OrZero(st, s + kOrderList + 4 * p + c);
            for (unsigned row = 0; row < 64; ++row) {
                const auto cell = cellOfRow(st, track + 3 * row);
                std::copy(cell.begin(), cell.end(), pattern.begin() + 16 * row + 4 * c);
            }
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + st.scratch[kSampleStart], st.sampleDataSize);
    writeBanner31("Kefrens SndMachine", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps kefrensSoundMachineSteps = {testKefrensSoundMachine, ripKefrensSoundMachine,
                                              depackKefrensSoundMachine};
