// Future Composer 1.3 ("SMOD") and 1.4 ("FC14") modules: recognised and stepped over.
//
// Layout from module start s (the tag), all offsets and lengths 32-bit big-endian and counted
// from s: 4 sequence length (13-byte entries: 4 x pattern, transpose, sound transpose, then
// speed), 8/12 pattern data offset and length (64-byte patterns), 16/20 frequency sequences,
// 24/28 volume sequences (both 64-byte entries), 32 sample data offset, 36 (1.4 only) wave
// table offset (1.3 keeps another field there), 40 ten sample records of 6 bytes (length in
// words, loop start, loop length), and in 1.4 at 100 eighty wave table lengths in words. The
// sequences follow the header (100 bytes in 1.3, 180 in 1.4). The module ends with the later of the
// sample data and the wave tables (or of the sequences, should those lie behind them). Every
// section must lie inside the input, in the order above.
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

#include <algorithm>

namespace {
constexpr std::uint32_t kSampleRecords = 40;
constexpr std::uint32_t kWaveLengths = 100;

struct FutureComposerLayout {
    std::uint32_t header;
    bool waveTables;
};
constexpr FutureComposerLayout kVersion13{100, false};
constexpr FutureComposerLayout kVersion14{180, true};

int testFutureComposer(RipState& st, const FutureComposerLayout& layout) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, layout.header))
        return 1;
    const std::uint32_t sequences = be32(st, s + 4);
    if (sequences == 0 || sequences % 13 != 0)
        return 1;
    // Pattern, frequency and volume sections: offset and length, each behind the one before.
    std::uint64_t end = layout.header + std::uint64_t(sequences);
    for (std::uint32_t field = 8; field <= 24; field += 8) {
        const std::uint64_t offset = be32(st, s + field);
        const std::uint64_t length = be32(st, s + field + 4);
        if (offset < end || length % 64 != 0 || !fits(st, s + offset, length))
            return 1;
        end = offset + length;
    }
    const std::uint64_t samples = be32(st, s + 32);
    if (samples < end)
        return 1;
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 10; ++i)
        sampleBytes += be16(st, s + kSampleRecords + 6 * i) * 2u;
    end = std::max(end, samples + sampleBytes);
    if (layout.waveTables) {
        const std::uint64_t waves = be32(st, s + 36);
        if (waves < samples)
            return 1;
        std::uint64_t waveBytes = 0;
        for (std::uint32_t i = 0; i < 80; ++i)
            waveBytes += u8(st, s + kWaveLengths + i) * 2u;
        end = std::max(end, waves + waveBytes);
    }
    return recognised::accept(st, s, end);
}

int testFutureComposer13(RipState& st) {
    return testFutureComposer(st, kVersion13);
}
int testFutureComposer14(RipState& st) {
    return testFutureComposer(st, kVersion14);
}
void ripFutureComposer13(RipState& st) {
    recognised::stepOver(st, "Future Composer 1.3 module", 96);
}
void ripFutureComposer14(RipState& st) {
    recognised::stepOver(st, "Future Composer 1.4 module", 97);
}
} // namespace

const FormatSteps futureComposer13Steps = {testFutureComposer13, ripFutureComposer13, nullptr};
const FormatSteps futureComposer14Steps = {testFutureComposer14, ripFutureComposer14, nullptr};
