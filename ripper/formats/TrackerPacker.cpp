#include "TrackerPacker.h"

#include "../InputBytes.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"

#include <array>

namespace trackerPacker {

bool recordsPlausible(const RipState& st, std::uint64_t records, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        const std::uint64_t record = records + kRecordBytes * i;
        if (checkSampleDescriptor(be16(st, record + 2) * 2, be16(st, record + 4) * 2,
                                  be16(st, record + 6) * 2, u8(st, record + 1),
                                  u8(st, record)) != 0)
            return false;
    }
    return true;
}

std::uint64_t sampleBytes(const RipState& st, std::uint64_t records, unsigned count) {
    std::uint64_t bytes = 0;
    for (unsigned i = 0; i < count; ++i)
        bytes += be16OrZero(st, records + kRecordBytes * i + 2) * 2u;
    return bytes;
}

void writeSampleRecords(ModuleWriter& out, std::uint64_t records, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        const std::uint64_t record = records + kRecordBytes * i;
        out.zeros(22);
        out.input(record + 2, 2); // length
        out.input(record, 2);     // finetune, volume
        out.input(record + 4, 4); // loop start, loop length
    }
    std::array<std::uint8_t, 30> empty{};
    empty[29] = 1;
    for (unsigned i = count; i < 31; ++i)
        out.bytes(empty.data(), empty.size());
}

void putCell(std::uint8_t* at, const Cell& cell) {
    const std::uint16_t period = periodOf(ptPeriodTable, cell.note);
    at[0] = static_cast<std::uint8_t>((cell.sample & 0x10) | period >> 8);
    at[1] = static_cast<std::uint8_t>(period & 0xFF);
    at[2] = static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | (cell.effect & 0x0F));
    at[3] = static_cast<std::uint8_t>(cell.parameter);
}

} // namespace trackerPacker
