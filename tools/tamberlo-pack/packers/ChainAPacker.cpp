#include "ChainAPacker.h"

#include <algorithm>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kNameBytes = 22;
constexpr std::size_t kOrderList = 952;

const std::uint8_t* recordOf(const ProTrackerModule& module, int sample) {
    return module.header.data() + kRecords + kRecordBytes * std::size_t(sample) + kNameBytes;
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

// The module the converters write: restart 0x7F, no order entries behind the song and only the
// patterns the song plays, their periods snapped where the format stores note numbers.
Bytes expectedSong(const ProTrackerModule& module, bool snap, const char* bannerName) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + kOrderList + module.songLength(), header.begin() + 1080, 0);
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + songPatternCount(module));
    if (snap)
        std::transform(patterns.begin(), patterns.end(), patterns.begin(), snapped);
    return assemble(header, patterns, module.sampleData, bannerName);
}

void append(Bytes& out, const Bytes& more) {
    out.insert(out.end(), more.begin(), more.end());
}

Bytes diPattern(const Pattern& pattern) {
    Bytes stream;
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel) {
            const Cell cell = readCell(pattern, row, channel);
            const unsigned note = noteOf(cell.period);
            if (cell.sample == 0 && note == 0 && cell.effect == 0 && cell.parameter == 0) {
                stream.push_back(0xFF);
                continue;
            }
            const auto first =
                std::uint8_t((cell.parameter ? 0x80 : 0) | cell.sample << 2 | note >> 4);
            stream.insert(stream.end(), {first, std::uint8_t((note & 0x0F) << 4 | cell.effect)});
            if (cell.parameter)
                stream.push_back(std::uint8_t(cell.parameter));
        }
    // The empty cells at the end are left out; one byte stays so every pattern has an address
    // of its own.
    while (stream.size() > 1 && stream.back() == 0xFF)
        stream.pop_back();
    return stream;
}
} // namespace

Bytes packDigitalIllusion(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    const std::size_t addresses = 14 + 8 * 31;
    const std::size_t orders = addresses + 2 * patterns;
    const std::size_t patternData = orders + module.songLength() + 1;
    Bytes out(patternData);
    put16(out, 0, 31);
    put32(out, 2, unsigned(orders));
    put32(out, 6, unsigned(patternData));
    for (int i = 0; i < 31; ++i)
        std::copy_n(recordOf(module, i), 8, out.begin() + 14 + 8 * i);
    std::copy_n(module.header.begin() + kOrderList, module.songLength(), out.begin() + orders);
    out[patternData - 1] = 0xFF;
    for (unsigned p = 0; p < patterns; ++p) {
        put16(out, addresses + 2 * p, unsigned(out.size()));
        append(out, diPattern(module.patterns[p]));
    }
    put32(out, 10, unsigned(out.size()));
    append(out, module.sampleData);
    return out;
}

Bytes expectedFromDigitalIllusion(const ProTrackerModule& module) {
    return expectedSong(module, true, " Digital Illusion ");
}

namespace {
bool isEmpty(const Cell& cell) {
    return cell.sample == 0 && cell.period == 0 && cell.effect == 0 && cell.parameter == 0;
}

// One channel as a Eureka track: runs of empty rows as skips, cells in the shortest item.
Bytes eurekaTrack(const Pattern& pattern, int channel) {
    Bytes track;
    int row = 0;
    while (row < 64) {
        const Cell cell = readCell(pattern, row, channel);
        const std::uint8_t* raw = &pattern[std::size_t(row * 16 + channel * 4)];
        if (isEmpty(cell)) {
            int empty = 1;
            while (row + empty < 64 && isEmpty(readCell(pattern, row + empty, channel)))
                ++empty;
            track.push_back(std::uint8_t(0xC0 | (empty - 1)));
            row += empty;
            continue;
        }
        if (cell.sample == 0 && cell.period == 0)
            track.insert(track.end(), {std::uint8_t(0x40 | cell.effect), raw[3]});
        else if (cell.effect == 0 && cell.parameter == 0)
            track.insert(track.end(), {std::uint8_t(0x80 | (cell.sample & 0x0F)), raw[0], raw[1]});
        else
            track.insert(track.end(), raw, raw + 4);
        ++row;
    }
    return track;
}
} // namespace

Bytes packEureka(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    Bytes out(module.header.begin(), module.header.begin() + 1080);
    out.resize(1084 + 8 * patterns);
    std::vector<std::pair<Bytes, unsigned>> stored; // track and its address
    for (unsigned p = 0; p < patterns; ++p)
        for (int channel = 0; channel < 4; ++channel) {
            const Bytes track = eurekaTrack(module.patterns[p], channel);
            auto found = std::find_if(stored.begin(), stored.end(),
                                      [&](const auto& entry) { return entry.first == track; });
            if (found == stored.end()) {
                stored.emplace_back(track, unsigned(out.size()));
                append(out, track);
                found = stored.end() - 1;
            }
            put16(out, 1084 + 8 * p + 2 * std::size_t(channel), found->second);
        }
    out.resize(out.size() + out.size() % 2);
    put32(out, 1080, unsigned(out.size()));
    append(out, module.sampleData);
    return out;
}

Bytes expectedFromEureka(const ProTrackerModule& module) {
    return expectedSong(module, false, "  EUREKA Packer   ");
}

namespace {
// The song with its patterns renumbered in the order the song first plays them.
ProTrackerModule inFirstUseOrder(const ProTrackerModule& module) {
    ProTrackerModule renumbered = module;
    renumbered.patterns.clear();
    std::vector<unsigned> numbers(256, 256);
    for (unsigned i = 0; i < module.songLength(); ++i) {
        unsigned& number = numbers[module.order(int(i))];
        if (number == 256) {
            number = unsigned(renumbered.patterns.size());
            renumbered.patterns.push_back(module.patterns[module.order(int(i))]);
        }
        renumbered.header[kOrderList + i] = std::uint8_t(number);
    }
    return renumbered;
}

Bytes zenPattern(const Pattern& pattern) {
    Bytes cells;
    for (int place = 0; place < 256; ++place) {
        const Cell cell = readCell(pattern, place / 4, place % 4);
        const unsigned note = noteOf(cell.period);
        if (cell.sample == 0 && note == 0 && cell.effect == 0 && cell.parameter == 0)
            continue;
        cells.insert(cells.end(), {std::uint8_t(place), std::uint8_t(note << 1 | cell.sample >> 4),
                                   std::uint8_t((cell.sample & 0x0F) << 4 | cell.effect),
                                   std::uint8_t(cell.parameter)});
    }
    cells.insert(cells.end(), {0xFF, 0, 0, 0});
    return cells;
}
} // namespace

Bytes packZen(const ProTrackerModule& module) {
    const ProTrackerModule song = inFirstUseOrder(module);
    Bytes out(6 + 16 * 31);
    std::vector<unsigned> addresses;
    for (const Pattern& pattern : song.patterns) {
        addresses.push_back(unsigned(out.size()));
        append(out, zenPattern(pattern));
    }
    const std::size_t list = out.size();
    put32(out, 0, unsigned(list));
    out[4] = std::uint8_t(song.patterns.size() - 1);
    out[5] = std::uint8_t(song.songLength());
    out.resize(list + 4 * song.songLength());
    for (unsigned i = 0; i < song.songLength(); ++i)
        put32(out, list + 4 * i, addresses[song.order(int(i))]);
    out.insert(out.end(), {0xFF, 0xFF, 0xFF, 0xFF});
    unsigned address = unsigned(out.size());
    for (int i = 0; i < 31; ++i) {
        const std::uint8_t* record = recordOf(song, i);
        const std::size_t at = 6 + 16 * std::size_t(i);
        put16(out, at, record[2]);
        put16(out, at + 2, record[3]);
        put16(out, at + 4, get16(record));
        put16(out, at + 6, get16(record + 6));
        put32(out, at + 8, address);
        put32(out, at + 12, address + 2 * get16(record + 4));
        address += 2 * get16(record);
    }
    append(out, song.sampleData);
    return out;
}

Bytes expectedFromZen(const ProTrackerModule& module) {
    return expectedSong(inFirstUseOrder(module), true, "    ZEN Packer    ");
}
