// NoisePacker v2: per-channel tracks of 64 three-byte rows with a track table per pattern, note
// numbers instead of periods, and remapped effect numbers.
//
// Packed layout from module start s (big-endian): 0-1 sample count n in bits 4-11 with 0xC in
// the low nibble; 2-3 order list size in bytes; 6-7 track data size; 8 n sample records of 16
// bytes (4-5 length in words, 6 finetune, 7 volume, 12-13 loop length, 14-15 loop start, both in
// words); 4 unread bytes; the order list (pattern number × 8 per position); the track table
// (per pattern the track addresses of channels 4, 3, 2, 1); the track data; the sample data.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {
// scratch slots
constexpr int kSampleCount = 0;
constexpr int kTrackDataOffset = 1; // from module start
constexpr int kTrackDataSize = 2;

// The scan finds the module at the first sample's volume byte.
constexpr std::uint32_t kVolumeOffset = 15;
constexpr std::uint32_t kTrackRowBytes = 3;
constexpr std::uint32_t kTrackBytes = 64 * kTrackRowBytes;

int testNoisePackerV2(RipState& st) {
    if (st.position < kVolumeOffset)
        return 1;
    const std::uint64_t s = st.position - kVolumeOffset;
    // The driver keeps 64 bytes behind the position, so the first 79 bytes are readable.
    if ((u8(st, s + 1) & 0x0F) != 0x0C)
        return 1;
    const std::uint32_t orderSize = be16(st, s + 2);
    if (orderSize == 0 || orderSize % 2 != 0)
        return 1;
    const std::uint32_t n = be16(st, s) >> 4 & 0xFF;
    if (n == 0 || n > 31)
        return 1;
    if (s + orderSize + 8 * n + 8 > static_cast<std::uint64_t>(st.inputSize))
        return 1;
    const std::uint64_t orderStart = s + 12 + 16 * n;
    if (!fits(st, s + 8, 16 * n))
        return 1;
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint64_t record = s + 8 + 16 * i;
        if (u8(st, record + 7) > 64)
            return 1;
    }
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint64_t record = s + 8 + 16 * i;
        const std::uint32_t length = be16(st, record + 4) * 2u;
        const std::uint32_t loopLength = be16(st, record + 12) * 2u;
        const std::uint32_t loopStart = be16(st, record + 14) * 2u;
        if (length > 0xFFFF || loopLength > 0xFFFF || loopStart > 0xFFFF)
            return 1;
        if (loopStart + loopLength > length + 2)
            return 1;
        if (loopStart != 0 && loopLength == 0)
            return 1;
        sampleBytes += length;
    }
    if (sampleBytes < 5)
        return 1;
    if (!fits(st, orderStart, 1) || !fits(st, orderStart, orderSize))
        return 1;
    std::uint32_t highestOrder = 0;
    for (std::uint32_t i = 0; i < orderSize; i += 2) {
        const std::uint32_t word = be16(st, orderStart + i);
        if (word % 8 != 0)
            return 1;
        highestOrder = std::max(highestOrder, word);
    }
    const std::uint64_t trackDataStart = orderStart + orderSize + highestOrder + 8;
    if (!fits(st, trackDataStart, 1))
        return 1;
    const std::uint32_t trackDataSize = be16(st, s + 6);
    if (trackDataSize < kTrackBytes || trackDataSize % kTrackBytes != 0)
        return 1;
    for (std::uint32_t i = 0; i < trackDataSize; i += kTrackRowBytes) {
        const std::uint64_t row = trackDataStart + i;
        if (!fits(st, row, kTrackRowBytes))
            return 1;
        const std::uint8_t b0 = u8(st, row);
        const std::uint8_t b1 = u8(st, row + 1);
        if (b0 > 73)
            return 1;
        if (((b0 & 1u) << 4 | b1 >> 4) > n)
            return 1;
        if ((b1 & 0x0F) == 0 && u8(st, row + 2) != 0)
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kSampleCount] = n;
    st.scratch[kTrackDataOffset] = static_cast<std::uint32_t>(trackDataStart - s);
    st.scratch[kTrackDataSize] = trackDataSize;
    return 0;
}

void ripNoisePackerV2(RipState& st) {
    st.outputSize = st.scratch[kTrackDataOffset] + st.sampleDataSize + st.scratch[kTrackDataSize];
    noteRip(st, "NoisePacker v2 module", 31);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

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

void depackNoisePackerV2(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    const std::uint32_t n = st.scratch[kSampleCount];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);
    std::array<std::uint8_t, 1024> scratch{};

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint64_t record = s + 8 + 16 * i;
        out.zeros(22);
        out.input(record + 4, 4);  // length, finetune, volume
        out.input(record + 14, 2); // loop start
        out.input(record + 12, 2); // loop length
        sampleBytes += be16OrZero(st, record + 4) * 2u;
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
    const std::uint64_t orderStart = s + 12 + 16 * n;
    std::uint8_t highestPattern = 0;
    for (unsigned i = 0; i < songLength; ++i) {
        scratch[i] = static_cast<std::uint8_t>(be16OrZero(st, orderStart + 2 * i) / 8);
        highestPattern = std::max(highestPattern, scratch[i]);
    }
    out.bytes(scratch.data(), 128);
    out.bytes("M.K.", 4);

    const auto patterns = static_cast<std::uint8_t>(highestPattern + 1);
    const std::uint64_t trackTable = orderStart + be16OrZero(st, s + 2);
    const std::uint64_t trackData = s + st.scratch[kTrackDataOffset];
    std::uint32_t highestTrack = 0;
    for (unsigned i = 0; i < patterns * 4u; ++i)
        highestTrack = std::max<std::uint32_t>(highestTrack, be16OrZero(st, trackTable + 2 * i));
    for (unsigned pattern = 0; pattern < patterns; ++pattern) {
        scratch.fill(0);
        for (unsigned channel = 0; channel < 4; ++channel) {
            // The table lists channel 4 first.
            const std::uint32_t address =
                be16OrZero(st, trackTable + 8 * pattern + 2 * (3 - channel));
            for (unsigned row = 0; row < 64; ++row) {
                const std::uint64_t packed = trackData + address + kTrackRowBytes * row;
                const std::uint8_t b0 = u8OrZero(st, packed);
                std::uint8_t command = u8OrZero(st, packed + 1);
                std::uint8_t parameter = u8OrZero(st, packed + 2);
                const std::uint16_t period = periodOf(periods, b0 >> 1);
                remapEffect(command, parameter);
                std::uint8_t* cell = &scratch[row * 16 + channel * 4];
                cell[0] = static_cast<std::uint8_t>((b0 & 1) << 4 | period >> 8);
                cell[1] = static_cast<std::uint8_t>(period & 0xFF);
                cell[2] = command;
                cell[3] = parameter;
            }
        }
        out.bytes(scratch.data(), scratch.size());
    }
    out.input(trackData + highestTrack + kTrackBytes, sampleBytes);
    writeBanner31("  NoisePacker v2  ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// The test needs 0xC in the low nibble of the module's second byte (position - 14) and an even
// order list size (its low byte at position - 12).
const FormatSteps noisePackerV2Steps = {testNoisePackerV2,
                                        ripNoisePackerV2,
                                        depackNoisePackerV2,
                                        true,
                                        {ScanGate{-14, 0x0F, 0x0C}, ScanGate{-12, 0x01, 0x00}}};
