// BSI Future Composer ("FUCO") modules: recognised and stepped over.
//
// The BSI variant saves the Future Composer 1.3 layout under its own tag. From module start s
// (the tag), all offsets and lengths 32-bit big-endian and counted from s: 4 sequence length
// (13-byte entries), 8/12 pattern data offset and length (64-byte patterns), 16/20 frequency
// sequences, 24/28 volume sequences (both 64-byte entries), 32 sample data offset, 36 not read,
// 40 ten sample records of 6 bytes (length in words, loop start, loop length). The sequences
// follow the 100-byte header. Every section must lie inside the input, each behind the one
// before; the module ends with the later of the sample data and the last section.
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

#include <algorithm>

namespace {
constexpr std::uint32_t kHeaderBytes = 100;
constexpr std::uint32_t kSampleRecords = 40;

int testBsiFutureComposer(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kHeaderBytes))
        return 1;
    const std::uint32_t sequences = be32(st, s + 4);
    if (sequences == 0 || sequences % 13 != 0)
        return 1;
    std::uint64_t end = kHeaderBytes + std::uint64_t{sequences};
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
    return recognised::accept(st, s, std::max(end, samples + sampleBytes));
}

void ripBsiFutureComposer(RipState& st) {
    recognised::stepOver(st, "BSI Future Composer module", 69);
}
} // namespace

const FormatSteps bsiFutureComposerSteps = {testBsiFutureComposer, ripBsiFutureComposer, nullptr};
