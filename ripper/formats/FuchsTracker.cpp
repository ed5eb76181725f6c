// Fuchs Tracker: 16 samples, a word-sized order list and ProTracker pattern cells behind a
// "SONG" chunk, the sample data behind an "INST" tag.
//
// Packed layout from module start s (the tag "SONG" is at s + 192), big-endian:
//   0 song name (10 bytes), 10 a sample data size (not used: it can differ from the lengths'
//   sum, which is what the data holds), 14 16 sample lengths in bytes, 46 16 volumes (words),
//   78 16 loop starts in bytes, 110 song length (at most 40), 112 40 order entries (words),
//   192 "SONG", 196 size of the pattern data in bytes (a multiple of 1024), 200 the patterns
//   (64 rows x 4 channels of ProTracker cells), then "INST" and the sample data in sample order.
// The format keeps no finetune and no loop length: a sample with a loop start above 0 loops
// from there to its end, one with loop start 0 does not loop. Loop starts are taken in bytes,
// as the lengths are (the real files loop nothing, so nothing tells otherwise).
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kTagOffset = 192;
constexpr std::uint32_t kLengths = 14;
constexpr std::uint32_t kVolumes = 46;
constexpr std::uint32_t kLoopStarts = 78;
constexpr std::uint32_t kSongLength = 110;
constexpr std::uint32_t kOrderList = 112;
constexpr std::uint32_t kPatternSize = 196;
constexpr std::uint32_t kPatterns = 200;
constexpr unsigned kSamples = 16;
constexpr unsigned kMaxOrders = 40;
constexpr unsigned kMaxPatterns = 128;

// Scratch slots: 0 pattern data size, 1 sample data size.
int testFuchsTracker(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s, kPatterns))
        return 1;
    const unsigned songLength = be16(st, s + kSongLength);
    const std::uint32_t patternBytes = be32(st, s + kPatternSize);
    const std::uint32_t patterns = patternBytes / 1024;
    if (songLength == 0 || songLength > kMaxOrders || patternBytes % 1024 != 0 || patterns == 0 ||
        patterns > kMaxPatterns)
        return 1;
    for (unsigned i = 0; i < kMaxOrders; ++i)
        if (be16(st, s + kOrderList + 2 * i) >= patterns)
            return 1;
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < kSamples; ++i) {
        const unsigned length = be16(st, s + kLengths + 2 * i);
        if (be16(st, s + kVolumes + 2 * i) > 64 || be16(st, s + kLoopStarts + 2 * i) > length)
            return 1;
        sampleBytes += length;
    }
    const std::uint64_t tag = s + kPatterns + patternBytes;
    if (!fits(st, tag, 4 + sampleBytes) || be32(st, tag) != 0x494E5354) // "INST"
        return 1;
    // Every cell's period is a note of the period range or no note.
    for (std::uint64_t cell = s + kPatterns; cell < tag; cell += 4) {
        const unsigned period = (u8(st, cell) & 0x0F) << 8 | u8(st, cell + 1);
        if (period != 0 && (period < 113 || period > 856))
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.scratch[0] = patternBytes;
    st.scratch[1] = static_cast<std::uint32_t>(sampleBytes);
    return 0;
}

void ripFuchsTracker(RipState& st) {
    st.sampleDataSize = st.scratch[1];
    st.outputSize = kPatterns + st.scratch[0] + 4 + st.scratch[1];
    noteRip(st, "Fuchs Tracker module", 73);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// The ProTracker record of sample `i`: lengths in words, no finetune, a loop to the end.
void writeRecord(ModuleWriter& out, const RipState& st, std::uint64_t s, unsigned i) {
    const unsigned words = be16OrZero(st, s + kLengths + 2 * i) / 2u;
    const unsigned loopStart = be16OrZero(st, s + kLoopStarts + 2 * i) / 2u;
    const bool loops = loopStart > 0 && loopStart < words;
    const unsigned loopWords = loops ? words - loopStart : 1;
    out.zeros(22);
    const std::array<std::uint8_t, 8> record = {
        static_cast<std::uint8_t>(words >> 8),
        static_cast<std::uint8_t>(words),
        0,
        static_cast<std::uint8_t>(u8OrZero(st, s + kVolumes + 2 * i + 1)),
        static_cast<std::uint8_t>(loops ? loopStart >> 8 : 0),
        static_cast<std::uint8_t>(loops ? loopStart : 0),
        static_cast<std::uint8_t>(loopWords >> 8),
        static_cast<std::uint8_t>(loopWords)};
    out.bytes(record.data(), record.size());
}

void depackFuchsTracker(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned songLength = std::min<unsigned>(be16OrZero(st, s + kSongLength), kMaxOrders);
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (unsigned i = 0; i < kSamples; ++i)
        writeRecord(out, st, s, i);
    for (unsigned i = kSamples; i < 31; ++i) {
        out.zeros(29);
        out.byte(1);
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    unsigned highest = 0;
    for (unsigned i = 0; i < 128; ++i) {
        const auto order =
            static_cast<std::uint8_t>(i < songLength ? be16OrZero(st, s + kOrderList + 2 * i) : 0);
        highest = std::max<unsigned>(highest, order);
        out.byte(order);
    }
    out.bytes("M.K.", 4);
    out.input(s + kPatterns, (highest + 1u) * 1024u);

    std::uint64_t cursor = s + kPatterns + be32OrZero(st, s + kPatternSize) + 4;
    for (unsigned i = 0; i < kSamples; ++i) {
        const unsigned length = be16OrZero(st, s + kLengths + 2 * i);
        out.input(cursor, length / 2u * 2u);
        cursor += length;
    }
    writeBanner31("  Fuchs Tracker   ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps fuchsTrackerSteps = {testFuchsTracker, ripFuchsTracker, depackFuchsTracker};
