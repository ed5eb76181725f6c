// Digital Illusion: patterns stored as streams of variable-length cells behind a table of 16-bit
// pattern addresses.
//
// Packed layout from module start s (big-endian): 0 sample count n (1-31), 2-5 offset of the
// order list, 6-9 offset of the pattern data, 10-13 offset of the sample data (all from s),
// 14 n sample records of 8 bytes (the ProTracker record without its name), then one 16-bit
// address (from s) per stored pattern up to the order list, the order list ended by 0xFF, the
// pattern data and the sample data.
//
// A pattern is 256 cells (64 rows of 4 channels) in row order. A cell is 0xFF when empty, two
// bytes "0sssssnn nnnneeee" (sample, note number, effect without parameter) or three bytes
// "1sssssnn nnnneeee pppppppp" (with the parameter). Note 0 is no note, 1-36 are C-1 to B-3. The
// packer cuts a pattern short behind a row that jumps away, so a stream ends at the next higher
// pattern address (the sample data for the last) and the rows behind it stay empty.
//
// Scratch: 0 stored patterns, 1 song length, 2 patterns the song plays.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr std::uint32_t kScanOffset = 3; // low byte of the order list offset's high word
constexpr std::uint32_t kRecords = 14;
constexpr unsigned kEmptyCell = 0xFF;
constexpr unsigned kOrderEnd = 0xFF;
constexpr unsigned kHighestNote = 36;

struct Layout {
    std::uint64_t start, orders, patternData, sampleData, addresses;
    unsigned samples, patterns;
};

Layout layoutAt(const RipState& st, std::uint64_t s) {
    Layout l{};
    l.start = s;
    l.samples = be16OrZero(st, s);
    l.orders = be32OrZero(st, s + 2);
    l.patternData = be32OrZero(st, s + 6);
    l.sampleData = be32OrZero(st, s + 10);
    l.addresses = kRecords + 8u * l.samples;
    l.patterns = l.orders > l.addresses ? unsigned((l.orders - l.addresses) / 2) : 0;
    return l;
}

std::uint32_t patternAddress(const RipState& st, const Layout& l, unsigned pattern) {
    return be16OrZero(st, l.start + l.addresses + 2u * pattern);
}

// Where the stream of `pattern` ends: the next higher pattern address, or the sample data.
std::uint64_t patternEnd(const RipState& st, const Layout& l, unsigned pattern) {
    const std::uint32_t own = patternAddress(st, l, pattern);
    std::uint64_t end = l.sampleData;
    for (unsigned p = 0; p < l.patterns; ++p) {
        const std::uint32_t other = patternAddress(st, l, p);
        if (other > own && other < end)
            end = other;
    }
    return end;
}

unsigned cellBytes(std::uint8_t first) {
    if (first == kEmptyCell)
        return 1;
    return first & 0x80 ? 3 : 2;
}

unsigned noteOf(std::uint8_t first, std::uint8_t second) {
    return unsigned(first & 0x03) << 4 | second >> 4;
}

// True when every stored pattern decodes inside its stream with notes in range.
bool patternsDecode(const RipState& st, const Layout& l) {
    for (unsigned p = 0; p < l.patterns; ++p) {
        std::uint64_t cursor = l.start + patternAddress(st, l, p);
        const std::uint64_t end = l.start + patternEnd(st, l, p);
        for (unsigned cell = 0; cell < 256 && cursor < end; ++cell) {
            const std::uint8_t first = u8(st, cursor);
            const unsigned bytes = cellBytes(first);
            if (cursor + bytes > end)
                return false;
            if (bytes > 1 && noteOf(first, u8(st, cursor + 1)) > kHighestNote)
                return false;
            cursor += bytes;
        }
    }
    return true;
}

int testDigitalIllusion(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (!fits(st, s, kRecords))
        return 1;
    const Layout l = layoutAt(st, s);
    if (l.samples == 0 || l.samples > 31 || l.patterns == 0 || l.patterns > 128)
        return 1;
    if ((l.orders - l.addresses) % 2 != 0 || l.patternData < l.orders + 2 ||
        l.patternData > l.orders + 129 || l.sampleData <= l.patternData)
        return 1;
    if (!fits(st, s, l.patternData))
        return 1;

    std::int64_t sampleBytes = 0;
    for (unsigned i = 0; i < l.samples; ++i) {
        const std::uint64_t record = s + kRecords + 8u * i;
        const std::int64_t length = be16(st, record) * 2;
        if (checkSampleDescriptor(length, be16(st, record + 4) * 2, be16(st, record + 6) * 2,
                                  u8(st, record + 3), u8(st, record + 2)) != 0)
            return 1;
        sampleBytes += length;
    }
    if (!fits(st, s + l.sampleData, std::uint64_t(sampleBytes)))
        return 1;

    unsigned songLength = 0;
    unsigned songPatterns = 0;
    for (std::uint64_t at = s + l.orders; u8(st, at) != kOrderEnd; ++at) {
        if (at >= s + l.patternData - 1 || u8(st, at) >= l.patterns)
            return 1;
        songPatterns = std::max(songPatterns, u8(st, at) + 1u);
        ++songLength;
    }
    if (songLength == 0 || songLength > 128)
        return 1;
    for (unsigned p = 0; p < l.patterns; ++p) {
        const std::uint32_t address = patternAddress(st, l, p);
        if (address < l.patternData || address >= l.sampleData)
            return 1;
    }
    if (!patternsDecode(st, l))
        return 1;

    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch = {l.patterns, songLength, songPatterns, 0};
    return 0;
}

void ripDigitalIllusion(RipState& st) {
    st.outputSize = be32(st, st.moduleStart + 10) + st.sampleDataSize;
    noteRip(st, "Digital Illusion Packed music", 15);
    advanceScanTo(st, std::int64_t(st.moduleStart) + st.outputSize - 1);
}

void depackPattern(const RipState& st, const Layout& l, const PeriodTable& periods,
                   unsigned pattern, std::array<std::uint8_t, 1024>& cells) {
    cells.fill(0);
    std::uint64_t cursor = l.start + patternAddress(st, l, pattern);
    const std::uint64_t end = l.start + patternEnd(st, l, pattern);
    for (unsigned cell = 0; cell < 256 && cursor < end; ++cell) {
        const std::uint8_t first = u8OrZero(st, cursor);
        const unsigned bytes = cellBytes(first);
        if (bytes > 1) {
            const std::uint8_t second = u8OrZero(st, cursor + 1);
            const unsigned sample = first >> 2 & 0x1F;
            const std::uint16_t period = periodOf(periods, noteOf(first, second));
            std::uint8_t* out = &cells[cell * 4];
            out[0] = static_cast<std::uint8_t>((sample & 0x10) | period >> 8);
            out[1] = static_cast<std::uint8_t>(period & 0xFF);
            out[2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 | (second & 0x0F));
            out[3] = bytes == 3 ? u8OrZero(st, cursor + 2) : 0;
        }
        cursor += bytes;
    }
}

void depackDigitalIllusion(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const Layout l = layoutAt(st, st.moduleStart);
    const unsigned songLength = st.scratch[1];
    const unsigned songPatterns = st.scratch[2];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < 31; ++i) {
        out.zeros(22);
        if (i < l.samples) {
            out.input(l.start + kRecords + 8u * i, 8);
            sampleBytes += be16OrZero(st, l.start + kRecords + 8u * i) * 2u;
        } else {
            out.bytes("\0\0\0\0\0\0\0\1", 8);
        }
    }
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    out.input(l.start + l.orders, songLength);
    out.zeros(128 - songLength);
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> cells{};
    for (unsigned p = 0; p < songPatterns; ++p) {
        depackPattern(st, l, periods, p, cells);
        out.bytes(cells.data(), cells.size());
    }
    out.input(l.start + l.sampleData, sampleBytes);
    writeBanner31(" Digital Illusion ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

// The test runs at byte 3, the low byte of the order list offset's high word: that byte, the
// top byte of the offset and the high byte of the sample count are zero in every module.
const FormatSteps digitalIllusionSteps = {testDigitalIllusion,
                                          ripDigitalIllusion,
                                          depackDigitalIllusion,
                                          true,
                                          {ScanGate{-3, 0xFF, 0x00}, ScanGate{-1, 0xFF, 0x00}}};
