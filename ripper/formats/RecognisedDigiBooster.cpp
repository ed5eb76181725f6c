// DigiBooster 1.7 modules ("DIGI Booster module"): recognised and stepped over.
//
// Layout from module start s (the tag), big-endian: 0 "DIGI Booster module" and a zero byte,
// 20 version text, 24 version, 25 channel count (1-8), 26 packed-patterns flag (0 or 1),
// 46 highest pattern number, 47 song length minus 1, 48 order list (128 bytes), 176 sample
// lengths in bytes (31 x 32 bits), 300 loop starts, 424 loop lengths, 548 volumes (0-64),
// 579 finetunes, 610 song name (32 bytes), 642 sample names (31 x 30 bytes), 1572 patterns:
// packed ones as a 16-bit size and that many bytes (row masks and cells), plain ones as
// 64 rows x channels x 4 bytes. The samples follow in order.
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

#include <cstring>

namespace {
constexpr std::uint32_t kOrderList = 48;
constexpr std::uint32_t kLengths = 176;
constexpr std::uint32_t kLoopStarts = 300;
constexpr std::uint32_t kLoopLengths = 424;
constexpr std::uint32_t kVolumes = 548;
constexpr std::uint32_t kPatterns = 1572;

int testDigiBooster17(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kPatterns) || std::memcmp(st.input + s, "DIGI Booster module", 20) != 0)
        return 1;
    const unsigned channels = u8(st, s + 25);
    const unsigned packed = u8(st, s + 26);
    const unsigned patterns = u8(st, s + 46) + 1u;
    if (channels == 0 || channels > 8 || packed > 1)
        return 1;
    for (unsigned i = 0; i <= u8(st, s + 47) && i < 128; ++i)
        if (u8(st, s + kOrderList + i) >= patterns)
            return 1;
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < 31; ++i) {
        const std::uint64_t length = be32(st, s + kLengths + 4 * i);
        const std::uint64_t loopEnd =
            std::uint64_t(be32(st, s + kLoopStarts + 4 * i)) + be32(st, s + kLoopLengths + 4 * i);
        if (u8(st, s + kVolumes + i) > 64 || (length != 0 && loopEnd > length))
            return 1;
        sampleBytes += length;
    }
    std::uint64_t at = s + kPatterns;
    for (unsigned i = 0; i < patterns; ++i) {
        if (!fits(st, at, 2))
            return 1;
        at += packed ? 2u + be16(st, at) : 64u * channels * 4u;
    }
    return recognised::accept(st, s, at - s + sampleBytes);
}

void ripDigiBooster17(RipState& st) {
    recognised::stepOver(st, "DigiBooster 1.7 module", 70);
}
} // namespace

const FormatSteps digiBooster17Steps = {testDigiBooster17, ripDigiBooster17, nullptr};
