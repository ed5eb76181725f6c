// The depack step of The Player 2.2A to 4.1A (layout in ThePlayer4x.h): the 16-byte sample
// records become ProTracker records, each distinct track quadruple of the song becomes a pattern,
// and the sample data is copied sample by sample.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "ThePlayer4x.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace thePlayer4x {
namespace {
constexpr unsigned kRows = 64;
constexpr std::uint8_t kArpeggio = 8;

using PatternBuffer = std::array<std::uint8_t, 1024>;
using TrackQuad = std::array<std::uint16_t, 4>;

// The track data as input offsets; entries at or behind `end` are sample data, not tracks.
struct TrackArea {
    std::uint64_t start;
    std::uint64_t end;
};

// Writes the cell of `entry` (a note entry) at `row` and at the rows it repeats on; returns the
// row behind the ones it covers.
unsigned placeEntry(const RipState& st, const PeriodTable& periods, std::uint64_t entry,
                    unsigned row, unsigned channel, PatternBuffer& pattern) {
    const std::uint8_t first = u8OrZero(st, entry);
    const std::uint8_t second = u8OrZero(st, entry + 1);
    const std::uint8_t rows = u8OrZero(st, entry + 3);
    const std::uint16_t period = periodOf(periods, first >> 1);
    const unsigned effect = (second & 0x0F) == kArpeggio ? 0 : second & 0x0F;
    const std::uint8_t cell[4] = {static_cast<std::uint8_t>((first & 1) << 4 | period >> 8),
                                  static_cast<std::uint8_t>(period & 0xFF),
                                  static_cast<std::uint8_t>((second & 0xF0) | effect),
                                  u8OrZero(st, entry + 2)};
    const unsigned repeats = rows & 0x80 ? 256u - rows : 0;
    for (unsigned i = 0; i <= repeats && row + i < kRows; ++i)
        std::copy_n(cell, 4, &pattern[(row + i) * 16 + channel * 4]);
    return row + 1 + (rows & 0x80 ? repeats : rows);
}

// Decodes one channel of a pattern from the track at `address`.
void depackTrack(const RipState& st, const PeriodTable& periods, const TrackArea& area,
                 std::uint32_t address, unsigned channel, PatternBuffer& pattern) {
    unsigned row = 0;
    for (std::uint64_t at = area.start + address; row < kRows && at < area.end; at += kEntryBytes) {
        if (u8OrZero(st, at) != kCopyEntry) {
            row = placeEntry(st, periods, at, row, channel, pattern);
            continue;
        }
        const std::uint64_t source = area.start + be16OrZero(st, at + 2);
        const unsigned count = u8OrZero(st, at + 1) + 1u;
        for (unsigned i = 0; i < count && row < kRows; ++i) {
            const std::uint64_t copied = source + kEntryBytes * i;
            if (copied >= area.end)
                break;
            // Copies do not nest; a copy entry inside one stands for an empty row.
            row = u8OrZero(st, copied) == kCopyEntry
                      ? row + 1
                      : placeEntry(st, periods, copied, row, channel, pattern);
        }
    }
}

void writeSampleRecords(const RipState& st, ModuleWriter& out, unsigned samples,
                        SampleFields fields) {
    const std::uint64_t s = st.moduleStart;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        const std::uint32_t loopStartWords =
            (be32OrZero(st, record + 6) - be32OrZero(st, record)) / 2;
        out.zeros(22);
        out.input(record + 4, 2); // length
        out.byte(
            static_cast<std::uint8_t>(be16OrZero(st, record + fields.finetune) / kFinetuneStep));
        out.byte(u8OrZero(st, record + fields.volume + 1));
        out.byte(static_cast<std::uint8_t>(loopStartWords >> 8));
        out.byte(static_cast<std::uint8_t>(loopStartWords & 0xFF));
        out.input(record + 10, 2); // loop length
    }
    for (unsigned i = samples; i < 31; ++i) {
        out.zeros(29);
        out.byte(1); // loop length 1: no loop
    }
}
} // namespace

void depackLayout(RipState& st, SampleFields fields, const char* bannerName) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    const std::uint64_t base = s + kOffsetBase;
    const unsigned samples = std::min(u8OrZero(st, s + kSampleCount), std::uint8_t{31});
    const unsigned positions = std::min<unsigned>(u8OrZero(st, s + kPositionCount), kMaxPositions);
    const std::uint64_t trackTable = base + be32OrZero(st, s + kTrackTableOffset);
    const std::uint64_t sampleData = base + be32OrZero(st, s + kSampleDataOffset);
    const TrackArea area{base + be32OrZero(st, s + kTrackDataOffset), sampleData};
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    writeSampleRecords(st, out, samples, fields);
    out.byte(static_cast<std::uint8_t>(positions));
    out.byte(0x7F);

    // A pattern per distinct track quadruple, numbered as the song first plays it.
    std::array<TrackQuad, kMaxPositions> quads{};
    std::array<std::uint8_t, 128> order{};
    unsigned patterns = 0;
    for (unsigned position = 0; position < positions; ++position) {
        TrackQuad quad;
        for (unsigned channel = 0; channel < 4; ++channel)
            quad[channel] = be16OrZero(st, trackTable + 8 * position + 2 * channel);
        const auto known = std::find(quads.begin(), quads.begin() + patterns, quad);
        order[position] = static_cast<std::uint8_t>(known - quads.begin());
        if (known == quads.begin() + patterns)
            quads[patterns++] = quad;
    }
    out.bytes(order.data(), order.size());
    out.bytes("M.K.", 4);

    PatternBuffer pattern;
    for (unsigned i = 0; i < patterns; ++i) {
        pattern.fill(0);
        for (unsigned channel = 0; channel < 4; ++channel)
            depackTrack(st, periods, area, quads[i][channel], channel, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        out.input(sampleData + be32OrZero(st, record), be16OrZero(st, record + 4) * 2u);
    }
    writeBanner31(bannerName, 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}

} // namespace thePlayer4x
