// Sound FX 1.3: 15 samples, sample sizes in a table before the "SONG" tag, ProTracker-like cells
// with their own effect numbers.
//
// Packed layout from module start s (the tag "SONG" is at s + 60), big-endian:
//   0 15 longs, each sample's size in bytes, 60 "SONG", 64 timer value (not converted: the
//   output plays at the default speed), 80 15 sample records of 30 bytes (22-byte name, length
//   in words, volume word, loop start in bytes, loop length in words), 530 song length,
//   531 unused, 532 128-byte order list, 664 the patterns (as many as the highest entry of the
//   whole order list + 1, 64 rows x 4 channels x 4 bytes), then the sample data in sample order,
//   as long as the size table says.
// A cell is a period word (0xFFFE stops the note, 0xFFFD breaks the pattern, other words from
// 0xFF00 hold no note), sample number in the high nibbles of bytes 0 and 2, effect in the low
// nibble of byte 2, parameter in byte 3. Effects: 1 arpeggio, 2 pitch bend (high nibble up, low
// nibble down), 3 and 4 filter on and off, 5 and 6 volume up and down by the parameter from the
// sample's volume; the volume is known only when the cell names its sample, otherwise the
// effect is reported and dropped, as are the effects ProTracker has no match for.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kTagOffset = 60;
constexpr std::uint32_t kRecords = 80;
constexpr std::uint32_t kSongLength = 530;
constexpr std::uint32_t kOrderList = 532;
constexpr std::uint32_t kPatterns = 664;
constexpr unsigned kSamples = 15;
constexpr std::uint32_t kMaxSampleBytes = 0x1FFFE;

std::uint64_t recordOf(std::uint64_t s, unsigned sample) {
    return s + kRecords + 30u * sample;
}

// Scratch slots: 0 patterns stored, 1 sample data size.
int testSoundFx13(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s, kPatterns))
        return 1;
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < kSamples; ++i) {
        const std::uint32_t length = be32(st, s + 4 * i);
        const std::uint64_t record = recordOf(s, i);
        if (length > kMaxSampleBytes || be16(st, record + 24) > 64 ||
            checkSampleDescriptor(length, be16(st, record + 26), be16(st, record + 28) * 2,
                                  be16(st, record + 24), 0) != 0)
            return 1;
        sampleBytes += length;
    }
    const unsigned songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    unsigned highest = 0;
    for (unsigned i = 0; i < 128; ++i) {
        const unsigned order = u8(st, s + kOrderList + i);
        if (order > 127)
            return 1;
        highest = std::max(highest, order);
    }
    const std::uint64_t patterns = highest + 1u;
    if (!fits(st, s + kPatterns, patterns * 1024 + sampleBytes))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.scratch[0] = static_cast<std::uint32_t>(patterns);
    st.scratch[1] = static_cast<std::uint32_t>(sampleBytes);
    return 0;
}

void ripSoundFx13(RipState& st) {
    st.sampleDataSize = st.scratch[1];
    st.outputSize = kPatterns + st.scratch[0] * 1024 + st.scratch[1];
    noteRip(st, "Sound FX 1.3 module", 82);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void writeRecord(ModuleWriter& out, const RipState& st, std::uint64_t s, unsigned i) {
    const std::uint64_t record = recordOf(s, i);
    const std::uint32_t words = be32OrZero(st, s + 4 * i) / 2;
    const unsigned loopStart = be16OrZero(st, record + 26) / 2u;
    const unsigned loopWords = std::max<unsigned>(be16OrZero(st, record + 28), 1);
    out.zeros(22);
    const std::array<std::uint8_t, 8> bytes = {static_cast<std::uint8_t>(words >> 8),
                                               static_cast<std::uint8_t>(words),
                                               0,
                                               u8OrZero(st, record + 25),
                                               static_cast<std::uint8_t>(loopStart >> 8),
                                               static_cast<std::uint8_t>(loopStart),
                                               static_cast<std::uint8_t>(loopWords >> 8),
                                               static_cast<std::uint8_t>(loopWords)};
    out.bytes(bytes.data(), bytes.size());
}

// Rewrites the four cell bytes at input index `at` as a ProTracker cell.
void convertCell(const RipState& st, std::uint64_t s, std::uint64_t at, std::uint8_t* cell) {
    const std::uint8_t packed[4] = {u8OrZero(st, at), u8OrZero(st, at + 1), u8OrZero(st, at + 2),
                                    u8OrZero(st, at + 3)};
    const unsigned period = packed[0] << 8 | packed[1];
    const unsigned sample = (packed[0] & 0xF0) | packed[2] >> 4;
    const unsigned effect = packed[2] & 0x0F;
    const unsigned parameter = packed[3];
    std::fill_n(cell, 4, 0);
    if (period == 0xFFFD) {
        cell[2] = 0x0D;
        return;
    }
    if (period == 0xFFFE) {
        cell[2] = 0x0C;
        return;
    }
    if (period < 0xFF00) {
        cell[0] = packed[0];
        cell[1] = packed[1];
    }
    cell[2] = static_cast<std::uint8_t>(packed[2] & 0xF0);
    switch (effect) {
    case 0:
        return;
    case 1:
        cell[3] = static_cast<std::uint8_t>(parameter);
        return;
    case 2:
        cell[2] |= parameter >> 4 ? 0x01 : 0x02;
        cell[3] = static_cast<std::uint8_t>(parameter >> 4 ? parameter >> 4 : parameter & 0x0F);
        return;
    case 3:
    case 4:
        cell[2] |= 0x0E;
        cell[3] = static_cast<std::uint8_t>(effect - 3);
        return;
    case 5:
    case 6: {
        if (sample == 0 || sample > kSamples) {
            std::printf("Volume unknown : (at:%ld) (fx:%x,%x,%x,%x)\n", static_cast<long>(at),
                        packed[0], packed[1], packed[2], packed[3]);
            return;
        }
        const int volume = u8OrZero(st, recordOf(s, sample - 1) + 25);
        const int changed = effect == 5 ? volume + static_cast<int>(parameter)
                                        : volume - static_cast<int>(parameter);
        cell[2] |= 0x0C;
        cell[3] = static_cast<std::uint8_t>(std::clamp(changed, 0, 64));
        return;
    }
    default:
        std::printf("unsupported effect : (at:%ld) (fx:%d)\n", static_cast<long>(at), effect);
        return;
    }
}

void depackSoundFx13(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned songLength = u8OrZero(st, s + kSongLength);
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (unsigned i = 0; i < kSamples; ++i)
        writeRecord(out, st, s, i);
    for (unsigned i = kSamples; i < 31; ++i) {
        out.zeros(29);
        out.byte(1);
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    unsigned highest = 0;
    for (unsigned i = 0; i < 128; ++i) {
        const std::uint8_t order = i < songLength ? u8OrZero(st, s + kOrderList + i) : 0;
        highest = std::max<unsigned>(highest, order);
        out.byte(order);
    }
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p <= highest; ++p) {
        const std::uint64_t start = s + kPatterns + 1024u * p;
        for (unsigned cell = 0; cell < 256; ++cell)
            convertCell(st, s, start + 4 * cell, &pattern[4 * cell]);
        out.bytes(pattern.data(), pattern.size());
    }
    // The stored patterns count from the whole order list, not only from the song's part.
    unsigned stored = 0;
    for (unsigned i = 0; i < 128; ++i)
        stored = std::max<unsigned>(stored, u8OrZero(st, s + kOrderList + i));
    std::uint64_t cursor = s + kPatterns + (stored + 1u) * 1024u;
    for (unsigned i = 0; i < kSamples; ++i) {
        const std::uint32_t length = be32OrZero(st, s + 4 * i);
        out.input(cursor, length / 2u * 2u);
        cursor += length;
    }
    writeBanner31("     Sound FX     ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n  WARNING: This is only an under development converter !\n"
                "           output could sound strange...\n");
}
} // namespace

const FormatSteps soundFx13Steps = {testSoundFx13, ripSoundFx13, depackSoundFx13};
