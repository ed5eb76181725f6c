// Reading the header of The Player 5.0A, 6.0A and 6.1A (layout in ThePlayer6x.h).
#include "../InputBytes.h"
#include "ThePlayer6x.h"

namespace thePlayer6x {

Layout layoutAt(const RipState& st, std::uint64_t start) {
    Layout layout;
    layout.start = start;
    layout.patterns = u8OrZero(st, start + 2);
    const std::uint8_t samples = u8OrZero(st, start + 3);
    layout.samples = samples & kSampleCountBits;
    layout.packed = samples & kPackedSamples;
    layout.delta = samples & kDeltaSamples;
    layout.records = start + (layout.packed ? 8 : 4);
    layout.trackTable = layout.records + kRecordBytes * layout.samples;
    layout.positions = layout.trackTable + 8ull * layout.patterns;
    while (layout.positionCount <= kMaxPositions &&
           u8OrZero(st, layout.positions + layout.positionCount) != 0xFF)
        ++layout.positionCount;
    layout.trackData = layout.positions + layout.positionCount + 1;
    layout.sampleData = start + be16OrZero(st, start);
    return layout;
}

unsigned patternAt(const RipState& st, const Layout& layout, Version version, unsigned index) {
    const std::uint8_t stored = u8OrZero(st, layout.positions + index);
    return version == Version::V50A ? stored / 2u : stored;
}

bool repeatsSample(const RipState& st, const Layout& layout, unsigned index, unsigned& source) {
    const std::uint16_t length = be16OrZero(st, layout.records + kRecordBytes * index);
    if (length < 0x8000)
        return false;
    // Minus the 1-based number of the sample played again.
    source = 0x10000u - length - 1;
    return true;
}

std::uint32_t sampleWords(const RipState& st, const Layout& layout, unsigned index) {
    unsigned source = 0;
    if (!repeatsSample(st, layout, index, source))
        return be16OrZero(st, layout.records + kRecordBytes * index);
    const std::uint16_t length = be16OrZero(st, layout.records + kRecordBytes * source);
    return length < 0x8000 ? length : 0;
}

} // namespace thePlayer6x
