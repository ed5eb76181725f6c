// The parts of a NoisePacker conversion that all three versions share: the module head, the
// track table and the conversion of a packed row into a ProTracker cell.
#include "../InputBytes.h"
#include "../PeriodTable.h"
#include "NoisePacker.h"

#include <algorithm>

namespace noisePacker {
namespace {
// Effect command and parameter of a packed row as ProTracker effects.
void remapEffect(std::uint8_t& command, std::uint8_t& parameter) {
    const unsigned effect = command & 0x0F;
    const auto slide = [&parameter] {
        parameter = parameter <= 0x80 ? static_cast<std::uint8_t>(parameter * 16)
                                      : static_cast<std::uint8_t>(-parameter);
    };
    switch (effect) {
    case 0x8:
        command &= 0xF0;
        break;
    case 0x7:
        command = static_cast<std::uint8_t>((command & 0xF0) | 0x0A);
        slide();
        break;
    case 0x6:
    case 0x5:
        slide();
        break;
    case 0xE:
        parameter = static_cast<std::uint8_t>(parameter - 1);
        break;
    case 0xB:
        parameter = static_cast<std::uint8_t>(parameter + 4) / 2;
        break;
    default:
        break;
    }
}
} // namespace

void ripModule(RipState& st, const char* displayName, int extensionIndex) {
    st.outputSize = st.scratch[kTrackDataOffset] + st.sampleDataSize + st.scratch[kTrackDataSize];
    noteRip(st, displayName, extensionIndex);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

ModuleHead writeModuleHead(const RipState& st, ModuleWriter& out, const RecordLayout& records) {
    const std::uint64_t s = st.moduleStart;
    const std::uint32_t n = st.scratch[kSampleCount];
    std::array<std::uint8_t, 128> scratch{};
    ModuleHead head{};

    out.zeros(20);
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        out.zeros(22);
        out.input(record + records.length, 2);
        out.byte(u8OrZero(st, record + records.finetune));
        out.byte(u8OrZero(st, record + records.volume));
        const std::uint16_t loopStart = be16OrZero(st, record + kLoopStart);
        const unsigned loopStartWords = records.loopStartInBytes ? loopStart / 2u : loopStart;
        out.byte(static_cast<std::uint8_t>(loopStartWords >> 8));
        out.byte(static_cast<std::uint8_t>(loopStartWords));
        out.input(record + kLoopLength, 2);
        head.sampleBytes += be16OrZero(st, record + records.length) * 2u;
    }
    // Empty records: all zero but loop length 1. The 1 stays in the buffer and so becomes
    // order entry 29 when the song is shorter than 30 positions, as the format's players do.
    scratch[29] = 1;
    for (std::uint32_t i = n; i < 31; ++i)
        out.bytes(scratch.data(), 30);

    // Only the low byte of the order size counts: a 256-byte list gives song length 0.
    const std::uint8_t songLength = u8OrZero(st, s + 3) >> 1;
    out.byte(songLength);
    out.byte(0x7F);
    const std::uint64_t orderStart = s + kRecords + kRecordBytes * n + 4;
    std::uint8_t highestPattern = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        scratch[i] = static_cast<std::uint8_t>(be16OrZero(st, orderStart + 2 * i) / 8);
        highestPattern = std::max(highestPattern, scratch[i]);
    }
    out.bytes(scratch.data(), scratch.size());
    out.bytes("M.K.", 4);

    head.patterns = static_cast<std::uint8_t>(highestPattern + 1);
    head.trackTable = orderStart + be16OrZero(st, s + 2);
    return head;
}

std::uint32_t trackAddress(const RipState& st, std::uint64_t trackTable, unsigned pattern,
                           unsigned channel) {
    // The table lists channel 4 first.
    return be16OrZero(st, trackTable + 8 * pattern + 2 * (3 - channel));
}

std::array<std::uint8_t, 4> cellOfRow(const RipState& st, std::uint64_t row) {
    const std::uint8_t b0 = u8OrZero(st, row);
    std::uint8_t command = u8OrZero(st, row + 1);
    std::uint8_t parameter = u8OrZero(st, row + 2);
    const std::uint16_t period = periodOf(ptPeriodTable, b0 >> 1);
    remapEffect(command, parameter);
    return {static_cast<std::uint8_t>((b0 & 1) << 4 | period >> 8),
            static_cast<std::uint8_t>(period & 0xFF), command, parameter};
}

} // namespace noisePacker
