#include "ChainCPacker.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kNameBytes = 22;
constexpr std::size_t kOrderList = 952;

const std::uint8_t* recordOf(const ProTrackerModule& module, int sample) {
    return module.header.data() + kRecords + kRecordBytes * std::size_t(sample) + kNameBytes;
}

std::size_t sampleBytesOf(const ProTrackerModule& module, int samples) {
    std::size_t bytes = 0;
    for (int i = 0; i < samples; ++i)
        bytes += module.sampleWords(i) * 2;
    return bytes;
}

Bytes firstSamples(const ProTrackerModule& module, int samples) {
    return Bytes(module.sampleData.begin(),
                 module.sampleData.begin() + std::ptrdiff_t(sampleBytesOf(module, samples)));
}

template <typename CellMap> Pattern mapped(Pattern pattern, CellMap map) {
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel)
            writeCell(pattern, row, channel, map(readCell(pattern, row, channel)));
    return pattern;
}

Cell snapped(Cell cell) {
    cell.period = periodOfNote(noteOf(cell.period));
    return cell;
}

// Sample numbers above 15 do not fit the 15-sample formats.
Cell snappedTo15(Cell cell) {
    cell = snapped(cell);
    if (cell.sample > 15)
        cell.sample = 0;
    return cell;
}

// --- Game Music Creator ---
constexpr unsigned kGmcBase = 0x30000; // where the samples lay in the tracker's memory
constexpr unsigned kGmcPositions = 100;

unsigned gmcSongLength(const ProTrackerModule& module) {
    return std::min(module.songLength(), kGmcPositions);
}

unsigned gmcPatternCount(const ProTrackerModule& module) {
    unsigned highest = 0;
    for (unsigned i = 0; i < gmcSongLength(module); ++i)
        highest = std::max(highest, module.order(int(i)));
    return highest + 1;
}

// Loop start in words of sample `i`, or -1 when the packed record cannot hold its loop.
int gmcLoopStart(const ProTrackerModule& module, int i) {
    const std::uint8_t* record = recordOf(module, i);
    const unsigned loopStart = get16(record + 4);
    if (get16(record + 6) < 2 || loopStart >= get16(record))
        return -1;
    return int(loopStart);
}

// A ProTracker effect as Game Music Creator's effect number and parameter; {0, 0} when it has
// none for it.
std::pair<unsigned, unsigned> gmcEffect(unsigned effect, unsigned parameter) {
    switch (effect) {
    case 0x1:
    case 0x2:
        return {effect, parameter};
    case 0xC:
        return {3, parameter};
    case 0xD:
        return {4, parameter};
    case 0xB:
        return {5, parameter};
    case 0xE:
        if (parameter <= 1)
            return {6 + parameter, 0};
        return {0, 0};
    case 0xF:
        return {8, parameter};
    default:
        return {0, 0};
    }
}

Cell gmcRoundTrip(Cell cell) {
    cell = snappedTo15(cell);
    if (gmcEffect(cell.effect, cell.parameter).first == 0)
        cell.effect = cell.parameter = 0;
    return cell;
}

// --- Titanics Player ---
// The patterns the song plays, in ascending order.
std::vector<unsigned> songPatterns(const ProTrackerModule& module) {
    std::set<unsigned> used;
    for (unsigned i = 0; i < module.songLength(); ++i)
        used.insert(module.order(int(i)));
    return {used.begin(), used.end()};
}

void appendTitanicsPattern(Bytes& out, const Pattern& pattern) {
    int lastRow = 0;
    std::size_t lastEvent = std::size_t(-1);
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel) {
            const Cell cell = readCell(pattern, row, channel);
            if (cell.sample == 0 && cell.period == 0 && cell.effect == 0 && cell.parameter == 0)
                continue;
            const unsigned note = cell.period == 0 ? 0x3F : noteOf(cell.period) - 1;
            const unsigned sample = cell.sample > 15 ? 0 : cell.sample;
            lastEvent = out.size();
            out.insert(out.end(),
                       {std::uint8_t(row - lastRow), std::uint8_t(channel << 6 | note),
                        std::uint8_t(sample << 4 | cell.effect), std::uint8_t(cell.parameter)});
            lastRow = row;
        }
    if (lastEvent == std::size_t(-1)) {
        lastEvent = out.size();
        out.insert(out.end(), {0, 0x3F, 0, 0});
    }
    out[lastEvent] |= 0x80;
}
} // namespace

Bytes packGameMusicCreator(const ProTrackerModule& module) {
    Bytes out(444);
    unsigned address = kGmcBase;
    for (int i = 0; i < 15; ++i) {
        const std::uint8_t* record = recordOf(module, i);
        const std::size_t at = 16 * std::size_t(i);
        const int loopStart = gmcLoopStart(module, i);
        if (get16(record) == 0)
            continue; // the tracker clears the records of unused samples
        put32(out, at, address);
        put16(out, at + 4, get16(record));
        out[at + 7] = record[3];
        put32(out, at + 8, loopStart < 0 ? 0x100 : address + 2 * unsigned(loopStart));
        put16(out, at + 12, loopStart < 0 ? 2 : get16(record + 6));
        address += 2 * get16(record);
    }
    out[243] = std::uint8_t(gmcSongLength(module));
    for (unsigned i = 0; i < gmcSongLength(module); ++i)
        put16(out, 244 + 2 * i, module.order(int(i)) * 1024);
    for (unsigned p = 0; p < gmcPatternCount(module); ++p) {
        const Pattern pattern = mapped(module.patterns[p], snappedTo15);
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(pattern, row, channel);
                const auto [effect, parameter] = gmcEffect(cell.effect, cell.parameter);
                out.insert(out.end(),
                           {std::uint8_t(cell.period >> 8), std::uint8_t(cell.period),
                            std::uint8_t(cell.sample << 4 | effect), std::uint8_t(parameter)});
            }
    }
    const Bytes samples = firstSamples(module, 15);
    out.insert(out.end(), samples.begin(), samples.end());
    return out;
}

Bytes expectedFromGameMusicCreator(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header{};
    for (int i = 0; i < 31; ++i) {
        std::uint8_t* record =
            header.data() + kRecords + kRecordBytes * std::size_t(i) + kNameBytes;
        const int loopStart = i < 15 ? gmcLoopStart(module, i) : -1;
        if (i < 15 && module.sampleWords(i) != 0) {
            std::copy_n(recordOf(module, i), 2, record);
            record[3] = recordOf(module, i)[3];
        }
        if (loopStart >= 0) {
            std::copy_n(recordOf(module, i) + 4, 4, record + 4);
        } else {
            record[7] = 1;
        }
    }
    header[950] = std::uint8_t(gmcSongLength(module));
    header[951] = 0x7F;
    for (unsigned i = 0; i < gmcSongLength(module); ++i)
        header[kOrderList + i] = std::uint8_t(module.order(int(i)));
    std::vector<Pattern> patterns;
    for (unsigned p = 0; p < gmcPatternCount(module); ++p)
        patterns.push_back(mapped(module.patterns[p], gmcRoundTrip));
    return assemble(header, patterns, firstSamples(module, 15), "Game Music Creator");
}

Bytes packTheDarkDemon(const ProTrackerModule& module) {
    Bytes out(564);
    out[0] = std::uint8_t(module.songLength());
    std::copy_n(module.header.begin() + kOrderList, module.songLength(), out.begin() + 2);
    unsigned address = 564;
    for (int i = 0; i < 31; ++i) {
        const std::uint8_t* record = recordOf(module, i);
        const std::size_t at = 130 + 14 * std::size_t(i);
        put32(out, at, address);
        std::copy_n(record, 4, out.begin() + std::ptrdiff_t(at + 4));
        put32(out, at + 8, address + 2 * get16(record + 4));
        std::copy_n(record + 6, 2, out.begin() + std::ptrdiff_t(at + 12));
        address += 2 * get16(record);
    }
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    for (unsigned p = 0; p < songPatternCount(module); ++p)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(module.patterns[p], row, channel);
                out.insert(out.end(),
                           {std::uint8_t(cell.sample), std::uint8_t(noteOf(cell.period) * 2),
                            std::uint8_t(cell.effect), std::uint8_t(cell.parameter)});
            }
    return out;
}

Bytes expectedFromTheDarkDemon(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + kOrderList + module.songLength(), header.begin() + 1080, 0);
    std::vector<Pattern> patterns;
    for (unsigned p = 0; p < songPatternCount(module); ++p)
        patterns.push_back(mapped(module.patterns[p], snapped));
    return assemble(header, patterns, module.sampleData, "  The Dark Demon  ");
}

Bytes packTitanicsPlayer(const ProTrackerModule& module) {
    const std::vector<unsigned> patterns = songPatterns(module);
    const std::size_t patternData = 180 + 2 * module.songLength() + 2;
    Bytes out(patternData);
    std::vector<unsigned> offsets;
    for (unsigned p : patterns) {
        offsets.push_back(unsigned(out.size()));
        appendTitanicsPattern(out, module.patterns[p]);
    }
    for (unsigned i = 0; i < module.songLength(); ++i) {
        const auto number = std::find(patterns.begin(), patterns.end(), module.order(int(i)));
        put16(out, 180 + 2 * i, offsets[std::size_t(number - patterns.begin())]);
    }
    put16(out, patternData - 2, 0xFFFF);
    unsigned address = unsigned(out.size());
    for (int i = 0; i < 15; ++i) {
        put32(out, 12 * std::size_t(i), address);
        std::copy_n(recordOf(module, i), 8, out.begin() + 12 * i + 4);
        address += 2 * module.sampleWords(i);
    }
    const Bytes samples = firstSamples(module, 15);
    out.insert(out.end(), samples.begin(), samples.end());
    return out;
}

Bytes expectedFromTitanicsPlayer(const ProTrackerModule& module) {
    Bytes out(600);
    for (int i = 0; i < 15; ++i)
        std::copy_n(recordOf(module, i), 8, out.begin() + 20 + 30 * i + 22);
    const std::vector<unsigned> patterns = songPatterns(module);
    out[470] = std::uint8_t(module.songLength());
    out[471] = 0x7F;
    for (unsigned i = 0; i < module.songLength(); ++i)
        out[472 + i] = std::uint8_t(
            std::find(patterns.begin(), patterns.end(), module.order(int(i))) - patterns.begin());
    const char* const banner[] = {"[  Converted with  ]", "[ Nograsti ]", "[ written by Quib! ]",
                                  "[ Original Format: ]", "[  Titanics Player ]"};
    const std::size_t offsets[] = {260, 290, 320, 380, 410};
    for (int i = 0; i < 5; ++i)
        std::memcpy(out.data() + offsets[i], banner[i], std::strlen(banner[i]));
    for (unsigned p : patterns) {
        const Pattern pattern = mapped(module.patterns[p], snappedTo15);
        out.insert(out.end(), pattern.begin(), pattern.end());
    }
    const Bytes samples = firstSamples(module, 15);
    out.insert(out.end(), samples.begin(), samples.end());
    return out;
}
