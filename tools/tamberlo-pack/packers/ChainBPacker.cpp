#include "ChainBPacker.h"

#include <algorithm>
#include <map>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kNameBytes = 22;
constexpr std::size_t kOrderList = 952;

const std::uint8_t* recordOf(const ProTrackerModule& module, int i) {
    return module.header.data() + kRecords + kRecordBytes * std::size_t(i) + kNameBytes;
}

unsigned songLength(const ProTrackerModule& module) {
    return std::min(module.songLength(), 128u);
}

// The patterns the song plays, in pattern order, and each one's number among them.
std::map<unsigned, unsigned> songPatterns(const ProTrackerModule& module) {
    std::map<unsigned, unsigned> numbers;
    for (unsigned i = 0; i < songLength(module); ++i)
        numbers.emplace(module.order(int(i)), 0);
    unsigned next = 0;
    for (auto& [pattern, number] : numbers)
        number = next++;
    return numbers;
}

// The header the ripper writes back: restart 0x7F, no orders behind the song, and with
// `renumber` the orders counted among the patterns the song plays.
std::array<std::uint8_t, 1084> songHeader(const ProTrackerModule& module, bool renumber) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + kOrderList + songLength(module), header.begin() + 1080, 0);
    if (renumber) {
        const auto numbers = songPatterns(module);
        for (unsigned i = 0; i < songLength(module); ++i)
            header[kOrderList + i] = std::uint8_t(numbers.at(module.order(int(i))));
    }
    return header;
}

Pattern mapCells(Pattern pattern, Cell (*map)(Cell)) {
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel)
            writeCell(pattern, row, channel, map(readCell(pattern, row, channel)));
    return pattern;
}

Cell snapped(Cell cell) {
    cell.period = periodOfNote(noteOf(cell.period));
    return cell;
}

void append(Bytes& out, std::initializer_list<std::uint8_t> bytes) {
    out.insert(out.end(), bytes);
}

// StarTrekker: the ProTracker cell with the sample number times 4, or 0x80 for an empty one.
void appendStarTrekkerCell(Bytes& out, const std::uint8_t* at) {
    if (at[0] == 0 && at[1] == 0 && at[2] == 0 && at[3] == 0) {
        out.push_back(0x80);
        return;
    }
    const unsigned times4 = (((at[0] & 0xF0) | at[2] >> 4) * 4) & 0xFF;
    append(out, {std::uint8_t((times4 & 0xF0) | (at[0] & 0x0F)), at[1],
                 std::uint8_t((times4 & 0x0F) << 4 | (at[2] & 0x0F)), at[3]});
}

// Xann's effect code and parameter of a cell's effect (see XannPacker.cpp).
std::pair<std::uint8_t, std::uint8_t> xannEffect(const Cell& cell) {
    const unsigned x = cell.parameter >> 4, y = cell.parameter & 0x0F;
    const auto slide = [&](std::uint8_t up) {
        return x ? std::pair<std::uint8_t, std::uint8_t>{up, x}
                 : std::pair<std::uint8_t, std::uint8_t>{std::uint8_t(up + 4), y};
    };
    const auto p = std::uint8_t(cell.parameter);
    switch (cell.effect) {
    case 0x0:
        return {p ? 0x04 : 0x00, p};
    case 0x1:
        return {0x08, p};
    case 0x2:
        return {0x0C, p};
    case 0x3:
        return {p ? 0x14 : 0x10, p};
    case 0x4:
        return {p ? 0x1C : 0x18, p};
    case 0x5:
        return slide(0x20);
    case 0x6:
        return slide(0x28);
    case 0x7:
        return {p ? 0x34 : 0x30, p};
    case 0x8:
        return {0, 0};
    case 0x9:
        return {0x38, p};
    case 0xA:
        return slide(0x3C);
    case 0xB:
        return {0x44, p};
    case 0xC:
        return {0x48, p};
    case 0xD:
        return {0x4C, p};
    case 0xE:
        return {std::uint8_t(x <= 8 ? 0x58 + 4 * x : 0x84 + 4 * (x - 9)), y};
    default:
        return {0x50, p};
    }
}

Cell expectedXannCell(Cell cell) {
    cell = snapped(cell);
    const unsigned x = cell.parameter >> 4;
    if (cell.effect == 0x8)
        cell.effect = cell.parameter = 0;
    if ((cell.effect == 0x5 || cell.effect == 0x6 || cell.effect == 0xA) && x != 0)
        cell.parameter = x << 4;
    return cell;
}

Bytes sampleRecordBytes(const ProTrackerModule& module) {
    Bytes records;
    for (int i = 0; i < 31; ++i)
        records.insert(records.end(), recordOf(module, i), recordOf(module, i) + 8);
    return records;
}
} // namespace

Bytes packStarTrekker(const ProTrackerModule& module) {
    Bytes out(module.header.begin(), module.header.begin() + 20);
    const Bytes records = sampleRecordBytes(module);
    out.insert(out.end(), records.begin(), records.end());
    out.resize(788, 0);
    put16(out, 268, songLength(module) * 4);
    Bytes patternData;
    std::map<unsigned, std::size_t> addresses;
    for (const auto& [pattern, number] : songPatterns(module)) {
        addresses[pattern] = patternData.size();
        for (std::size_t cell = 0; cell < 256; ++cell)
            appendStarTrekkerCell(patternData, module.patterns[pattern].data() + 4 * cell);
    }
    patternData.resize((patternData.size() + 1) & ~std::size_t{1}, 0);
    for (unsigned i = 0; i < songLength(module); ++i)
        put32(out, 272 + 4 * i, unsigned(addresses.at(module.order(int(i)))));
    put32(out, 784, unsigned(patternData.size()));
    out.insert(out.end(), patternData.begin(), patternData.end());
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromStarTrekker(const ProTrackerModule& module) {
    std::vector<Pattern> patterns;
    for (const auto& [pattern, number] : songPatterns(module))
        patterns.push_back(module.patterns[pattern]);
    return assemble(songHeader(module, true), patterns, module.sampleData, " StarTrekker Pack ");
}

Bytes packXann(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    Bytes out(0x43C, 0);
    for (unsigned i = 0; i < songLength(module); ++i)
        put32(out, 4 * i, 0x43C + 0x400 * module.order(int(i)));
    unsigned address = 0x43C + 0x400 * patterns;
    for (int i = 0; i < 31; ++i) {
        const std::uint8_t* record = recordOf(module, i);
        const std::size_t at = 518 + 16 * std::size_t(i);
        out[at] = record[2];
        out[at + 1] = record[3];
        put32(out, at + 2, address + 2 * get16(record + 4));
        put16(out, at + 6, get16(record + 6));
        put32(out, at + 8, address);
        put16(out, at + 12, get16(record));
        address += 2 * get16(record);
    }
    for (unsigned p = 0; p < patterns; ++p)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(module.patterns[p], row, channel);
                const auto [code, parameter] = xannEffect(cell);
                append(out, {std::uint8_t(cell.sample * 8), std::uint8_t(noteOf(cell.period) * 2),
                             code, parameter});
            }
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromXann(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = songHeader(module, false);
    // An empty sample comes back without a loop start.
    for (std::size_t i = 0; i < 31; ++i)
        if (get16(recordOf(module, int(i))) == 0)
            std::fill_n(header.begin() + kRecords + kRecordBytes * i + kNameBytes + 4, 2, 0);
    std::vector<Pattern> patterns;
    for (unsigned p = 0; p < songPatternCount(module); ++p)
        patterns.push_back(mapCells(module.patterns[p], expectedXannCell));
    return assemble(header, patterns, module.sampleData, "   XANN Packer    ");
}

Bytes packPha(const ProTrackerModule& module) {
    Bytes out(960, 0);
    unsigned address = 0x3C0;
    for (int i = 0; i < 31; ++i) {
        const std::uint8_t* record = recordOf(module, i);
        const std::size_t at = 14 * std::size_t(i);
        put16(out, at, get16(record));
        out[at + 3] = record[3];
        put16(out, at + 4, get16(record + 4));
        put16(out, at + 6, get16(record + 6));
        put32(out, at + 8, address);
        put16(out, at + 12, record[2]);
        address += 2 * get16(record);
    }
    put16(out, 436, songLength(module) * 4);
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    std::map<unsigned, std::size_t> addresses;
    for (const auto& entry : songPatterns(module)) {
        const unsigned pattern = entry.first;
        addresses[pattern] = out.size();
        const auto packed = [&](int row, int channel) {
            const Cell cell = snapped(readCell(module.patterns[pattern], row, channel));
            return Bytes{std::uint8_t(cell.sample), std::uint8_t(noteOf(cell.period) * 2),
                         std::uint8_t(cell.effect), std::uint8_t(cell.parameter)};
        };
        std::array<int, 4> covered{}; // rows a run still covers, per channel
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                if (covered[channel] > 0) {
                    --covered[channel];
                    continue;
                }
                const Bytes cell = packed(row, channel);
                out.insert(out.end(), cell.begin(), cell.end());
                int run = 0;
                while (row + run < 63 && packed(row + run + 1, channel) == cell)
                    ++run;
                if (run > 0)
                    append(out, {0xFF, std::uint8_t(0xFF - run)});
                covered[channel] = run;
            }
    }
    for (unsigned i = 0; i < 128; ++i)
        put32(out, 448 + 4 * i,
              unsigned(i < songLength(module) ? addresses.at(module.order(int(i)))
                                              : addresses.begin()->second));
    return out;
}

Bytes expectedFromPha(const ProTrackerModule& module) {
    std::vector<Pattern> patterns;
    for (const auto& [pattern, number] : songPatterns(module))
        patterns.push_back(mapCells(module.patterns[pattern], snapped));
    return assemble(songHeader(module, true), patterns, module.sampleData, "    PhaPacker     ");
}
