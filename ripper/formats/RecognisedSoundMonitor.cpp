// Sound Monitor v2 / v3 modules ("V.2" / "V.3"): recognised and stepped over.
//
// Layout from module start s (the tag is at s + 26): 0 title (26 bytes), 29 synth table count,
// 30 song length in positions (1-512), 32 fifteen 32-byte instruments (a synth instrument
// starts with 0xFF; a sampled one holds a 24-byte name, the length in words, loop start, loop
// length and volume 0-64 as 16-bit words), 512 the position table (per position 4 channels of
// a 16-bit pattern number and two transpose bytes), then the patterns (16 rows x 3 bytes,
// numbered from 1, as many as the highest number), the synth tables (64 bytes each) and the
// samples of the sampled instruments.
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

#include <algorithm>

namespace {
constexpr std::uint32_t kTagOffset = 26;
constexpr std::uint32_t kInstruments = 32;
constexpr std::uint32_t kPositions = 512;

int testSoundMonitor(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s, kPositions))
        return 1;
    const std::uint32_t songLength = be16(st, s + 30);
    if (songLength == 0 || songLength > 512 || !fits(st, s + kPositions, songLength * 16u))
        return 1;
    std::uint64_t sampleBytes = 0;
    for (std::uint64_t at = s + kInstruments; at < s + kPositions; at += 32) {
        if (u8(st, at) == 0xFF)
            continue;
        const std::uint32_t length = be16(st, at + 24);
        if (be16(st, at + 30) > 64 || be16(st, at + 28) > length)
            return 1;
        sampleBytes += length * 2u;
    }
    std::uint32_t patterns = 0;
    for (std::uint32_t i = 0; i < songLength * 4; ++i)
        patterns = std::max<std::uint32_t>(patterns, be16(st, s + kPositions + 4 * i));
    if (patterns == 0)
        return 1;
    const std::uint64_t size =
        kPositions + songLength * 16u + patterns * 48u + u8(st, s + 29) * 64u + sampleBytes;
    return recognised::accept(st, s, size);
}

void ripSoundMonitor(RipState& st) {
    recognised::stepOver(st, "Sound Monitor v2 / v3 module", 1);
}
} // namespace

const FormatSteps soundMonitorSteps = {testSoundMonitor, ripSoundMonitor, nullptr};
