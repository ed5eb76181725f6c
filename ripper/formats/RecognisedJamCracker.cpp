// JamCracker / Pro modules ("BeEp"): recognised and stepped over.
//
// Layout from module start s (the tag), big-endian: 4 instrument count (1-255), then one
// 40-byte record per instrument (31-byte name, flags, sample size in bytes as 32 bits, an
// address), then the pattern count (1-255) and per pattern 6 bytes (row count 1-255, an
// address), then the song length (1-255) and as many pattern numbers (16 bits each, below the
// pattern count). The pattern data follows (rows x 4 channels x 8 bytes per pattern), then the
// samples, in instrument order.
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

namespace {
constexpr std::uint32_t kInstrumentBytes = 40;
constexpr std::uint32_t kPatternRecordBytes = 6;
constexpr std::uint32_t kRowBytes = 4 * 8;

int testJamCracker(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, 6))
        return 1;
    const std::uint32_t instruments = be16(st, s + 4);
    if (instruments == 0 || instruments > 255)
        return 1;
    std::uint64_t at = s + 6;
    if (!fits(st, at, instruments * kInstrumentBytes + 2))
        return 1;
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < instruments; ++i, at += kInstrumentBytes)
        sampleBytes += be32(st, at + 32);
    const std::uint32_t patterns = be16(st, at);
    at += 2;
    if (patterns == 0 || patterns > 255 || !fits(st, at, patterns * kPatternRecordBytes + 2))
        return 1;
    std::uint64_t patternBytes = 0;
    for (std::uint32_t i = 0; i < patterns; ++i, at += kPatternRecordBytes) {
        const std::uint32_t rows = be16(st, at);
        if (rows == 0 || rows > 255)
            return 1;
        patternBytes += rows * kRowBytes;
    }
    const std::uint32_t songLength = be16(st, at);
    at += 2;
    if (songLength == 0 || songLength > 255 || !fits(st, at, songLength * 2))
        return 1;
    for (std::uint32_t i = 0; i < songLength; ++i, at += 2)
        if (be16(st, at) >= patterns)
            return 1;
    return recognised::accept(st, s, at - s + patternBytes + sampleBytes);
}

void ripJamCracker(RipState& st) {
    recognised::stepOver(st, "JamCracker / Pro module", 68);
}
} // namespace

const FormatSteps jamCrackerSteps = {testJamCracker, ripJamCracker, nullptr};
