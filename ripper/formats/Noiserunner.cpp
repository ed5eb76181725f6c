#include "Noiserunner.h"

#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kTagOffset = 1080;
constexpr std::uint32_t kRecordBytes = 16;
constexpr std::uint32_t kFinetune = 0;
constexpr std::uint32_t kVolume = 1;
constexpr std::uint32_t kAddress = 2;
constexpr std::uint32_t kLength = 6;
constexpr std::uint32_t kLoopAddress = 8;
constexpr std::uint32_t kLoopLength = 12;
constexpr std::uint32_t kSongLength = 950;
constexpr std::uint32_t kOrderList = 952;
constexpr std::uint32_t kPatterns = 1084;
constexpr std::uint32_t kPatternBytes = 1024;

// scratch slot
constexpr int kPackedPatterns = 0;

std::uint32_t loopStartBytes(const RipState& st, std::uint64_t record) {
    return be32OrZero(st, record + kLoopAddress) - be32OrZero(st, record + kAddress);
}

bool recordsArePlausible(const RipState& st, std::uint64_t s, std::uint64_t& sampleBytes) {
    std::uint64_t previousEnd = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecordBytes * i;
        const std::uint32_t address = be32(st, record + kAddress);
        const std::uint32_t loopAddress = be32(st, record + kLoopAddress);
        const std::uint32_t length = be16(st, record + kLength) * 2u;
        if (address % 2 != 0 || loopAddress % 2 != 0 || loopAddress < address)
            return false;
        if (checkSampleDescriptor(length, loopAddress - address, be16(st, record + kLoopLength) * 2,
                                  u8(st, record + kVolume), u8(st, record + kFinetune)) != 0)
            return false;
        if (length == 0)
            continue;
        if (address < previousEnd)
            return false;
        previousEnd = std::uint64_t{address} + length;
        sampleBytes += length;
    }
    return sampleBytes != 0;
}

bool cellIsPlausible(const std::uint8_t* cell) {
    return cell[0] % 4 == 0 && cell[0] <= 0x3C && cell[2] % 2 == 0 && cell[2] <= 72 &&
           cell[3] % 8 == 0;
}

std::array<std::uint8_t, 4> cellOf(const RipState& st, std::uint64_t at) {
    const unsigned code = u8OrZero(st, at) >> 2 & 0x0F;
    const unsigned effect = code == 0 ? 3 : code == 3 ? 0 : code;
    const unsigned sample = u8OrZero(st, at + 3) >> 3;
    const std::uint16_t period = periodOf(ptPeriodTable, u8OrZero(st, at + 2) >> 1);
    return {static_cast<std::uint8_t>((sample & 0xF0) | period >> 8),
            static_cast<std::uint8_t>(period & 0xFF),
            static_cast<std::uint8_t>((sample & 0x0F) << 4 | effect), u8OrZero(st, at + 1)};
}
} // namespace

int testNoiserunner(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    const std::uint8_t songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    std::uint8_t highestPattern = 0;
    for (std::uint32_t i = 0; i < 128; ++i) {
        const std::uint8_t pattern = u8(st, s + kOrderList + i);
        if (pattern > 127)
            return 1;
        highestPattern = std::max(highestPattern, pattern);
    }
    std::uint64_t sampleBytes = 0;
    if (!recordsArePlausible(st, s, sampleBytes))
        return 1;
    const std::uint32_t patterns = highestPattern + 1u;
    if (!fits(st, s + kPatterns, std::uint64_t{patterns} * kPatternBytes))
        return 1;
    for (std::uint64_t at = s + kPatterns; at < s + kPatterns + patterns * kPatternBytes; at += 4)
        if (!cellIsPlausible(st.input + at))
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPackedPatterns] = patterns;
    return 0;
}

void ripNoiserunner(RipState& st) {
    st.outputSize = kPatterns + st.scratch[kPackedPatterns] * kPatternBytes + st.sampleDataSize;
    noteRip(st, "Noiserunner music", 29);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackNoiserunner(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecordBytes * i;
        const std::uint32_t loopStartWords = loopStartBytes(st, record) / 2;
        out.zeros(22);
        out.input(record + kLength, 2);
        out.byte(u8OrZero(st, record + kFinetune));
        out.byte(u8OrZero(st, record + kVolume));
        out.byte(static_cast<std::uint8_t>(loopStartWords >> 8));
        out.byte(static_cast<std::uint8_t>(loopStartWords));
        out.input(record + kLoopLength, 2);
    }
    const std::uint8_t songLength = u8OrZero(st, s + kSongLength);
    out.byte(songLength);
    out.byte(0x7F);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned i = 0; i < songLength && i < orders.size(); ++i)
        orders[i] = u8OrZero(st, s + kOrderList + i);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    const unsigned patterns = *std::max_element(orders.begin(), orders.end()) + 1u;
    std::array<std::uint8_t, kPatternBytes> pattern{};
    for (unsigned p = 0; p < patterns; ++p) {
        const std::uint64_t packed = s + kPatterns + std::uint64_t{p} * kPatternBytes;
        for (unsigned at = 0; at < kPatternBytes; at += 4) {
            const auto cell = cellOf(st, packed + at);
            std::copy(cell.begin(), cell.end(), pattern.begin() + at);
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + kPatterns + std::uint64_t{st.scratch[kPackedPatterns]} * kPatternBytes,
              st.sampleDataSize);
    writeBanner31("   Noiserunner    ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
