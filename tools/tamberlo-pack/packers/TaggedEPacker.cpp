#include "TaggedEPacker.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kNameBytes = 22;
constexpr std::size_t kOrderList = 952;

void append(Bytes& out, const char* text) {
    out.insert(out.end(), text, text + std::strlen(text));
}

// The record of sample `i` without its name: length, finetune, volume, loop start, loop length.
Bytes recordOf(const ProTrackerModule& module, int i) {
    const auto* at = module.header.data() + kRecords + kRecordBytes * std::size_t(i) + kNameBytes;
    return Bytes(at, at + 8);
}

Bytes songOrders(const ProTrackerModule& module) {
    Bytes orders(128, 0);
    std::copy_n(module.header.begin() + kOrderList, module.songLength(), orders.begin());
    return orders;
}

// Samples a packer that stores a count keeps: up to the last with data or a note in the song.
unsigned usedSampleCount(const ProTrackerModule& module) {
    unsigned count = 1;
    for (int i = 0; i < 31; ++i)
        if (module.sampleWords(i) > 0)
            count = std::max(count, unsigned(i + 1));
    for (unsigned p = 0; p < songPatternCount(module); ++p)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                count = std::max(count, readCell(module.patterns[p], row, channel).sample);
    return count;
}

Pattern snapped(Pattern pattern) {
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel) {
            Cell cell = readCell(pattern, row, channel);
            cell.period = periodOfNote(noteOf(cell.period));
            writeCell(pattern, row, channel, cell);
        }
    return pattern;
}

// What every converter gives back of `module`: restart 0x7F, no orders behind the song, the
// song's patterns, snapped to the period table when `snap`, records past `samples` empty.
Bytes expectedSong(const ProTrackerModule& module, bool snap, unsigned samples,
                   const char* bannerName) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    const Bytes orders = songOrders(module);
    std::copy(orders.begin(), orders.end(), header.begin() + kOrderList);
    for (unsigned i = samples; i < 31; ++i) {
        auto record = header.begin() + std::ptrdiff_t(kRecords + kRecordBytes * i);
        std::fill(record, record + kRecordBytes, 0);
        record[kRecordBytes - 1] = 1;
    }
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + songPatternCount(module));
    if (snap)
        std::transform(patterns.begin(), patterns.end(), patterns.begin(), snapped);
    return assemble(header, patterns, module.sampleData, bannerName);
}

// One channel of a pattern as a Stone Arts Player track.
Bytes stoneArtsTrack(const Pattern& pattern, int channel) {
    Bytes track;
    for (int row = 0; row < 64; ++row) {
        const Cell cell = readCell(pattern, row, channel);
        track.insert(track.end(), {std::uint8_t((cell.sample >> 4) << 7 | noteOf(cell.period)),
                                   std::uint8_t((cell.sample & 0x0F) << 4 | cell.effect),
                                   std::uint8_t(cell.parameter)});
    }
    return track;
}

// One channel of a pattern as a GnuPlayer stream; the first effect written becomes
// `ownCommand` when that is not 0.
Bytes gnuPlayerStream(const Pattern& pattern, int channel, std::uint8_t& ownCommand) {
    Bytes stream;
    int emptyRows = 0;
    auto flushEmptyRows = [&] {
        if (emptyRows > 0)
            stream.push_back(std::uint8_t(0x80 | emptyRows));
        emptyRows = 0;
    };
    for (int row = 0; row < 64; ++row) {
        const Cell cell = readCell(pattern, row, channel);
        const unsigned note = noteOf(cell.period);
        if (note == 0 && cell.sample == 0 && cell.effect == 0 && cell.parameter == 0) {
            ++emptyRows;
            continue;
        }
        flushEmptyRows();
        const bool hasCommand = cell.effect != 0 || cell.parameter != 0;
        stream.insert(stream.end(),
                      {std::uint8_t(note | (hasCommand ? 0x40 : 0)), std::uint8_t(cell.sample)});
        if (!hasCommand)
            continue;
        if (ownCommand != 0) {
            stream.insert(stream.end(), {ownCommand, std::uint8_t(cell.parameter)});
            ownCommand = 0;
        } else if (cell.effect == 0xE) {
            stream.insert(stream.end(), {std::uint8_t(0x10 | cell.parameter >> 4),
                                         std::uint8_t(cell.parameter & 0x0F)});
        } else {
            stream.insert(stream.end(), {std::uint8_t(cell.effect), std::uint8_t(cell.parameter)});
        }
    }
    flushEmptyRows();
    return stream;
}

// A pattern as GPMO stores it: skip bytes for empty rows, else a channel mask and the cells.
Bytes gpmoPattern(const Pattern& pattern) {
    Bytes out;
    int emptyRows = 0;
    for (int row = 0; row < 64; ++row) {
        std::uint8_t mask = 0;
        for (int channel = 0; channel < 4; ++channel) {
            const auto* cell = &pattern[std::size_t(row * 16 + channel * 4)];
            if (cell[0] | cell[1] | cell[2] | cell[3])
                mask = std::uint8_t(mask | 1 << channel);
        }
        if (mask == 0) {
            ++emptyRows;
            continue;
        }
        if (emptyRows > 0)
            out.push_back(std::uint8_t(0x80 | emptyRows));
        emptyRows = 0;
        out.push_back(mask);
        for (int channel = 0; channel < 4; ++channel)
            if (mask >> channel & 1)
                out.insert(out.end(), pattern.data() + row * 16 + channel * 4,
                           pattern.data() + row * 16 + channel * 4 + 4);
    }
    if (emptyRows > 0)
        out.push_back(std::uint8_t(0x80 | emptyRows));
    return out;
}

Bytes packGnuPlayerModule(const ProTrackerModule& module, std::uint8_t ownCommand) {
    const unsigned samples = usedSampleCount(module);
    const unsigned patterns = songPatternCount(module);
    Bytes out;
    append(out, "GnPl");
    out.insert(out.end(), {std::uint8_t(samples), std::uint8_t(module.songLength()),
                           std::uint8_t(patterns), 0, 0, 0, 0, 0});
    for (unsigned i = 0; i < samples; ++i) {
        const Bytes record = recordOf(module, int(i));
        out.insert(out.end(), record.begin(), record.end());
    }
    const Bytes orders = songOrders(module);
    out.insert(out.end(), orders.begin(), orders.end());
    const std::size_t table = out.size();
    out.resize(table + 16 * patterns);
    Bytes streams;
    for (unsigned p = 0; p < patterns; ++p)
        for (int channel = 0; channel < 4; ++channel) {
            put32(out, table + 16 * p + 4 * std::size_t(channel), unsigned(streams.size()));
            const Bytes stream = gnuPlayerStream(module.patterns[p], channel, ownCommand);
            streams.insert(streams.end(), stream.begin(), stream.end());
        }
    put32(out, 8, unsigned(streams.size()));
    out.insert(out.end(), streams.begin(), streams.end());
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}
} // namespace

Bytes packNoiseFromHeaven(const ProTrackerModule& module) {
    Bytes out = module.bytes();
    std::memcpy(out.data() + 1080, "Fuck", 4);
    return out;
}

Bytes packStoneArtsPlayer(const ProTrackerModule& module) {
    const unsigned samples = usedSampleCount(module);
    const unsigned patterns = songPatternCount(module);
    Bytes out;
    append(out, "FAST");
    out.insert(out.end(), {std::uint8_t(samples), std::uint8_t(module.songLength()), 0, 0});
    put16(out, 6, patterns);
    const Bytes orders = songOrders(module);
    out.insert(out.end(), orders.begin(), orders.end());
    for (unsigned i = 0; i < samples; ++i) {
        const Bytes record = recordOf(module, int(i));
        out.insert(out.end(), record.begin(), record.end());
    }
    std::map<Bytes, unsigned> numbers;
    Bytes tracks;
    for (unsigned p = 0; p < patterns; ++p)
        for (int channel = 0; channel < 4; ++channel) {
            const Bytes track = stoneArtsTrack(module.patterns[p], channel);
            auto [it, added] = numbers.emplace(track, unsigned(numbers.size()));
            if (added)
                tracks.insert(tracks.end(), track.begin(), track.end());
            out.resize(out.size() + 2);
            put16(out, out.size() - 2, it->second);
        }
    out.insert(out.end(), tracks.begin(), tracks.end());
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes packGnuPlayer(const ProTrackerModule& module) {
    return packGnuPlayerModule(module, 0);
}

Bytes packGnuPlayerWithOwnCommand(const ProTrackerModule& module, std::uint8_t command) {
    return packGnuPlayerModule(module, command);
}

Bytes packGpmo(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    Bytes out;
    append(out, "GPMO");
    out.resize(8);
    for (int i = 0; i < 31; ++i) {
        const Bytes record = recordOf(module, i);
        out.insert(out.end(), record.begin(), record.end());
    }
    out.insert(out.end(), {std::uint8_t(module.songLength()), std::uint8_t(patterns)});
    const Bytes orders = songOrders(module);
    out.insert(out.end(), orders.begin(), orders.end());
    for (unsigned p = 0; p < patterns; ++p) {
        const Bytes pattern = gpmoPattern(module.patterns[p]);
        out.insert(out.end(), pattern.begin(), pattern.end());
    }
    put32(out, 4, unsigned(out.size()));
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromNoiseFromHeaven(const ProTrackerModule& module) {
    return expectedSong(module, false, 31, "Noise From Heaven ");
}

Bytes expectedFromStoneArtsPlayer(const ProTrackerModule& module) {
    return expectedSong(module, true, usedSampleCount(module), "Stone Arts Player ");
}

Bytes expectedFromGnuPlayer(const ProTrackerModule& module) {
    return expectedSong(module, true, usedSampleCount(module), "    GnuPlayer     ");
}

Bytes expectedFromGpmo(const ProTrackerModule& module) {
    return expectedSong(module, false, 31, "       GPMO       ");
}
