#include "MultiChannel.h"

#include "../InputBytes.h"
#include "../OutputModule.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <cstdio>

namespace {
// scratch slots
constexpr int kPatterns = 0;
constexpr int kChannels = 1;

constexpr int kTagOffset = 1080;
constexpr int kHeaderSize = 1084;
} // namespace

int testMultiChannel(RipState& state, int channels) {
    if (state.position < kTagOffset)
        return 1;
    const std::uint64_t start = state.position - kTagOffset;
    // The driver's position limit keeps the whole 1084-byte header inside the input.
    std::uint64_t sampleBytes = 0;
    for (int i = 0; i < 31; ++i) {
        const std::uint64_t record = start + 20 + 30 * i;
        const std::int64_t lengthBytes = be16(state, record + 22) * 2;
        // Twice the length in bytes: deliberately lenient loop checks for these modules.
        if (checkSampleDescriptor(lengthBytes * 2, be16(state, record + 26) * 2,
                                  be16(state, record + 28) * 2, u8(state, record + 25),
                                  u8(state, record + 24)) != 0)
            return 1;
        sampleBytes += static_cast<std::uint64_t>(lengthBytes);
    }
    const std::uint8_t songLength = u8(state, start + 950);
    if (songLength == 0 || songLength > 127)
        return 1;
    std::uint8_t highest = 0;
    for (int i = 0; i < 128; ++i) {
        const std::uint8_t entry = u8(state, start + 952 + i);
        if (entry > 127)
            return 1;
        highest = std::max(highest, entry);
    }
    const std::uint64_t patterns = highest + 1u;
    const std::uint64_t cellBytes = patterns * 256;
    if (start + cellBytes * channels + kHeaderSize >= static_cast<std::uint64_t>(state.inputSize))
        return 1;
    // The stride is the channel count in bytes, not the cell size; kept as the format check is.
    const std::uint8_t* cells = state.input + start + kHeaderSize;
    for (std::uint64_t i = 0; i < cellBytes; ++i) {
        const std::uint8_t* cell = cells + i * channels;
        if (cell[0] > 19)
            return 1;
        const unsigned period = (cell[0] & 0x0Fu) << 8 | cell[1];
        if (period != 0 && period < 28)
            return 1;
    }
    state.moduleStart = static_cast<std::uint32_t>(start);
    state.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    state.scratch[kPatterns] = static_cast<std::uint32_t>(patterns);
    state.scratch[kChannels] = static_cast<std::uint32_t>(channels);
    return 0;
}

void ripMultiChannel(RipState& state) {
    const std::uint32_t channels = state.scratch[kChannels];
    state.outputSize =
        kHeaderSize + state.scratch[kPatterns] * channels * 256 + state.sampleDataSize;
    char name[64];
    std::snprintf(name, sizeof name, "Pro|Star|whatever tracker %d channels module",
                  static_cast<int>(channels));
    noteRip(state, name, 22);
    state.position += kHeaderSize;
}

const FormatSteps multiChannel4Steps = {
    [](RipState& state) { return testMultiChannel(state, 4); },
    ripMultiChannel,
    nullptr,
};
