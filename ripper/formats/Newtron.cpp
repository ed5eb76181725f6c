// Newtron and Newtron Old: a ProTracker module without title, sample names and tag, with its
// patterns stored as they are. The two layouts hold the same fields and differ in where the
// song head sits: in front of the sample records (Newtron) or behind them (Newtron Old).
//
// Packed layout from module start s (big-endian):
//   Newtron:     0-1 song length (1-128), 2-3 number of stored patterns (1-64), 4-251 the 31
//                sample records;
//   Newtron Old: 0-247 the 31 sample records, 248-249 song length, 250-251 number of patterns;
// then in both 252-379 the order list, from 380 the stored patterns (1024 bytes each, ProTracker
// cells) and the sample data as plain 8-bit PCM. A sample record is ProTracker's without the
// name: length, finetune, volume, loop start, loop length, sizes in words.
//
// Every order entry, also those behind the song, names a stored pattern: the packer keeps all
// the patterns of the module. The output holds the patterns the song plays, with the order list
// behind the song cleared, so no player counts patterns that are not written.
//
// No module of either layout was at hand to read (the one file named after the packer is a
// chunked "MODU" module of another packer), so the field order and widths above are this
// converter's choice: 16-bit head fields, as the high zero bytes give the scan whole-byte gates,
// and at most 64 patterns, as the packer's trackers had. The test checks every field strictly,
// so a module laid out otherwise is refused rather than misread.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
struct Layout {
    std::uint32_t scanOffset; // the low byte of the pattern count, at most 64
    std::uint32_t songLength; // 16-bit fields
    std::uint32_t patternCount;
    std::uint32_t records;
    const char* displayName;
    int extensionIndex;
    const char* bannerName;
};
constexpr Layout kNewtron{3, 0, 2, 4, "Newtron module", 102, "      Newtron     "};
constexpr Layout kNewtronOld{251, 248, 250, 0, "Newtron module Old", 131, "    Newtron old   "};

constexpr std::uint32_t kOrderList = 252;
constexpr std::uint32_t kPatterns = 380;
constexpr std::uint32_t kPatternBytes = 1024;
constexpr unsigned kMaxPatterns = 64;

// scratch slot: the number of stored patterns
constexpr int kStoredPatterns = 0;

// A cell the replay can play: sample number up to 31 and a period in ProTracker's range.
bool plausibleCell(std::uint8_t b0, std::uint8_t b1) {
    const unsigned period = (b0 & 0x0Fu) << 8 | b1;
    return (b0 & 0xEC) == 0 && (period == 0 || (period >= 108 && period <= 907));
}

int testLayout(RipState& st, const Layout& layout) {
    if (st.position < layout.scanOffset)
        return 1;
    const std::uint64_t s = st.position - layout.scanOffset;
    if (!fits(st, s, kPatterns))
        return 1;
    const unsigned songLength = be16(st, s + layout.songLength);
    const unsigned patterns = be16(st, s + layout.patternCount);
    if (songLength == 0 || songLength > 128 || patterns == 0 || patterns > kMaxPatterns)
        return 1;
    for (unsigned i = 0; i < 128; ++i)
        if (u8(st, s + kOrderList + i) >= patterns)
            return 1;
    const std::int64_t sampleBytes = checkedRecordBytes(st, s + layout.records, 8);
    if (sampleBytes <= 0)
        return 1;
    const std::uint64_t patternBytes = std::uint64_t{patterns} * kPatternBytes;
    if (!fits(st, s + kPatterns, patternBytes + static_cast<std::uint64_t>(sampleBytes)))
        return 1;
    for (std::uint64_t at = s + kPatterns; at < s + kPatterns + patternBytes; at += 4)
        if (!plausibleCell(u8(st, at), u8(st, at + 1)))
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kStoredPatterns] = patterns;
    return 0;
}

void ripLayout(RipState& st, const Layout& layout) {
    st.outputSize = kPatterns + st.scratch[kStoredPatterns] * kPatternBytes + st.sampleDataSize;
    noteRip(st, layout.displayName, layout.extensionIndex);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackLayout(RipState& st, const Layout& layout) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + layout.records + 8 * i;
        out.zeros(22);
        out.input(record, 8);
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    const unsigned songLength = std::min<unsigned>(be16OrZero(st, s + layout.songLength), 128);
    std::array<std::uint8_t, 128> orders{};
    unsigned highest = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        orders[i] = u8OrZero(st, s + kOrderList + i);
        highest = std::max<unsigned>(highest, orders[i]);
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);
    out.input(s + kPatterns, (highest + 1u) * std::uint64_t{kPatternBytes});
    out.input(s + kPatterns + std::uint64_t{st.scratch[kStoredPatterns]} * kPatternBytes,
              sampleBytes);
    writeBanner31(layout.bannerName, 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}

int testNewtron(RipState& st) {
    return testLayout(st, kNewtron);
}
void ripNewtron(RipState& st) {
    ripLayout(st, kNewtron);
}
void depackNewtron(RipState& st) {
    depackLayout(st, kNewtron);
}
int testNewtronOld(RipState& st) {
    return testLayout(st, kNewtronOld);
}
void ripNewtronOld(RipState& st) {
    ripLayout(st, kNewtronOld);
}
void depackNewtronOld(RipState& st) {
    depackLayout(st, kNewtronOld);
}
} // namespace

// Both are found at the low byte of the pattern count; the high bytes of the song length and of
// the pattern count (3 and 1 bytes before it) are zero.
const FormatSteps newtronSteps = {testNewtron,
                                  ripNewtron,
                                  depackNewtron,
                                  true,
                                  {ScanGate{-1, 0xFF, 0x00}, ScanGate{-3, 0xFF, 0x00}}};
const FormatSteps newtronOldSteps = {testNewtronOld,
                                     ripNewtronOld,
                                     depackNewtronOld,
                                     true,
                                     {ScanGate{-1, 0xFF, 0x00}, ScanGate{-3, 0xFF, 0x00}}};
