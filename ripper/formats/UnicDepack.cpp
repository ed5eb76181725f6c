// UNIC Tracker v1 and v2: the depack step (layout in Unic.h).
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "Unic.h"

#include <array>
#include <cstdio>

namespace unic {
namespace {
// The ProTracker finetune nibble of a record's finetune word, which holds it negated.
std::uint8_t finetuneOf(const RipState& st, std::uint64_t record) {
    const auto word = static_cast<std::int16_t>(be16OrZero(st, record + kFinetuneWord));
    return static_cast<std::uint8_t>(-word & 0x0F);
}

void writeRecords(const RipState& st, std::uint64_t s, ModuleWriter& out) {
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        out.zeros(22);
        out.input(record + kPlainRecord, 2); // length
        out.byte(finetuneOf(st, record));
        out.input(record + kPlainRecord + 3, 5); // volume, loop start, loop length
    }
}

void convertPattern(const RipState& st, const PeriodTable& periods, std::uint64_t packed,
                    std::array<std::uint8_t, 1024>& pattern) {
    for (std::uint32_t cell = 0; cell < 256; ++cell) {
        const std::uint8_t note = u8OrZero(st, packed + 3 * cell);
        const std::uint8_t sampleEffect = u8OrZero(st, packed + 3 * cell + 1);
        const std::uint16_t period = periodOf(periods, note & 0x3Fu);
        std::uint8_t* out = &pattern[4 * cell];
        out[0] = static_cast<std::uint8_t>((note & 0x40) >> 2 | period >> 8);
        out[1] = static_cast<std::uint8_t>(period & 0xFF);
        out[2] = sampleEffect;
        out[3] = u8OrZero(st, packed + 3 * cell + 2);
    }
}
} // namespace

void depackModule(RipState& st, const char* bannerName) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    const std::uint64_t patternData = s + st.scratch[kPatternData];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    writeRecords(st, s, out);
    const std::uint8_t songLength = u8OrZero(st, s + kSongLength);
    out.byte(songLength);
    out.byte(0x7F);
    // Only the song's entries: the patterns behind it are not written.
    out.input(s + kOrderList, songLength);
    out.zeros(128u - songLength);
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (std::uint32_t p = 0; p < st.scratch[kSongPatterns]; ++p) {
        convertPattern(st, periods, patternData + std::uint64_t(p) * kPatternBytes, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(patternData + std::uint64_t(st.scratch[kStoredPatterns]) * kPatternBytes,
              st.sampleDataSize);
    writeBanner31(bannerName, 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}

} // namespace unic
