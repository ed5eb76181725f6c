#include "TaggedAPacker.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace {
using Track = std::array<Cell, 64>;

Track trackOf(const Pattern& pattern, int channel) {
    Track track;
    for (int row = 0; row < 64; ++row)
        track[std::size_t(row)] = readCell(pattern, row, channel);
    return track;
}

// The song as positions of four track numbers into a list of distinct tracks.
struct SplitSong {
    std::vector<Track> tracks;
    std::vector<std::array<unsigned, 4>> positions;
};

SplitSong splitSong(const ProTrackerModule& module) {
    SplitSong song;
    std::map<Bytes, unsigned> numbers;
    for (unsigned p = 0; p < module.songLength(); ++p) {
        const Pattern& pattern = module.patterns[module.order(int(p))];
        std::array<unsigned, 4> position{};
        for (int c = 0; c < 4; ++c) {
            Bytes key;
            for (int row = 0; row < 64; ++row)
                key.insert(key.end(), pattern.begin() + row * 16 + c * 4,
                           pattern.begin() + row * 16 + c * 4 + 4);
            const auto [it, added] = numbers.try_emplace(key, unsigned(song.tracks.size()));
            if (added)
                song.tracks.push_back(trackOf(pattern, c));
            position[std::size_t(c)] = it->second;
        }
        song.positions.push_back(position);
    }
    return song;
}

const std::uint8_t* recordOf(const ProTrackerModule& module, int sample) {
    return module.header.data() + 20 + 30 * sample + 22; // length, finetune, volume, loop
}

// What the three formats give back: a pattern per position, `keep` applied to every cell.
Bytes expectedFrom(const ProTrackerModule& module, std::array<std::uint8_t, 1084> header,
                   const Bytes& samples, Cell (*keep)(Cell), const char* bannerName) {
    header[951] = 0x7F;
    std::fill(header.begin() + 952, header.begin() + 1080, 0);
    std::vector<Pattern> patterns;
    for (unsigned p = 0; p < module.songLength(); ++p) {
        header[952 + p] = static_cast<std::uint8_t>(p);
        Pattern pattern = module.patterns[module.order(int(p))];
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                writeCell(pattern, row, channel, keep(readCell(pattern, row, channel)));
        patterns.push_back(pattern);
    }
    return assemble(header, patterns, samples, bannerName);
}

Cell onPeriodTable(Cell cell) {
    cell.period = periodOfNote(noteOf(cell.period));
    return cell;
}
Cell kefrensCell(Cell cell) {
    if (cell.sample > 15)
        cell.sample = 0;
    return onPeriodTable(cell);
}
Cell asStored(Cell cell) {
    return cell;
}

constexpr std::uint8_t kKrisNoNote = 0xA8;
constexpr std::size_t kKefrensSamples = 15;
constexpr std::size_t kKefrensTracks = 1536;
} // namespace

Bytes packKrisTracker(const ProTrackerModule& module) {
    const SplitSong song = splitSong(module);
    Bytes out(1984);
    std::copy_n(module.header.begin(), 20, out.begin());
    for (int i = 0; i < 31; ++i) {
        const std::size_t record = 22 + 30 * std::size_t(i);
        out[record] = 0x01; // the tracker's empty name
        const std::uint8_t* fields = recordOf(module, i);
        std::copy_n(fields, 4, out.begin() + std::ptrdiff_t(record + 22));
        put16(out, record + 26, get16(fields + 4) * 2); // loop start in bytes
        std::copy_n(fields + 6, 2, out.begin() + std::ptrdiff_t(record + 28));
    }
    std::memcpy(out.data() + kKrisTagOffset, "KRIS", 4);
    out[956] = static_cast<std::uint8_t>(module.songLength());
    for (std::size_t p = 0; p < song.positions.size(); ++p)
        for (std::size_t c = 0; c < 4; ++c)
            out[958 + 8 * p + 2 * c] = static_cast<std::uint8_t>(song.positions[p][c]);
    for (const Track& track : song.tracks)
        for (const Cell& cell : track) {
            const unsigned note = noteOf(cell.period);
            out.push_back(note == 0 ? kKrisNoNote : static_cast<std::uint8_t>(70 + 2 * note));
            out.push_back(static_cast<std::uint8_t>(cell.sample));
            out.push_back(static_cast<std::uint8_t>(cell.effect));
            out.push_back(static_cast<std::uint8_t>(cell.parameter));
        }
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes packKefrensSoundMachine(const ProTrackerModule& module) {
    const SplitSong song = splitSong(module);
    Bytes out(kKefrensTracks);
    std::memcpy(out.data(), "M.", 2);
    std::copy_n(module.header.begin(), 13, out.begin() + 2);
    out[15] = 'a';
    std::size_t address = kKefrensTracks + 192 * song.tracks.size();
    for (std::size_t i = 0; i < kKefrensSamples; ++i) {
        const std::size_t record = 32 + 32 * i;
        const unsigned bytes = get16(recordOf(module, int(i))) * 2;
        put32(out, record + 16, unsigned(address));
        put16(out, record + 20, bytes);
        out[record + 22] = recordOf(module, int(i))[3];
        address += bytes;
    }
    for (std::size_t p = 0; p < song.positions.size(); ++p)
        for (std::size_t c = 0; c < 4; ++c)
            out[512 + 4 * p + c] = static_cast<std::uint8_t>(song.positions[p][c]);
    out[512 + 4 * song.positions.size()] = 0xFF;
    for (const Track& track : song.tracks)
        for (const Cell& cell : track) {
            const Cell kept = kefrensCell(cell);
            out.push_back(static_cast<std::uint8_t>(noteOf(kept.period)));
            out.push_back(static_cast<std::uint8_t>(kept.sample << 4 | kept.effect));
            out.push_back(static_cast<std::uint8_t>(kept.parameter));
        }
    out.insert(out.end(), module.sampleData.begin(),
               module.sampleData.begin() + std::ptrdiff_t(address - out.size()));
    return out;
}

Bytes packFuzzac(const ProTrackerModule& module) {
    const SplitSong song = splitSong(module);
    const std::size_t songLength = song.positions.size();
    Bytes out(2118 + 16 * songLength);
    std::memcpy(out.data(), "M1.0", 4);
    for (int i = 0; i < 31; ++i) {
        const std::size_t record = 6 + 68 * std::size_t(i);
        const std::uint8_t* fields = recordOf(module, i);
        std::copy_n(module.header.begin() + 20 + 30 * i, 22, out.begin() + std::ptrdiff_t(record));
        std::copy_n(fields, 2, out.begin() + std::ptrdiff_t(record + 60));
        std::copy_n(fields + 4, 4, out.begin() + std::ptrdiff_t(record + 62));
        std::copy_n(fields + 2, 2, out.begin() + std::ptrdiff_t(record + 66));
    }
    out[2114] = static_cast<std::uint8_t>(songLength);
    out[2115] = static_cast<std::uint8_t>(song.tracks.size());
    for (std::size_t c = 0; c < 4; ++c)
        for (std::size_t p = 0; p < songLength; ++p) {
            const std::size_t entry = 2118 + 4 * (songLength * c + p);
            out[entry] = static_cast<std::uint8_t>(song.positions[p][c]);
            out[entry + 1] = 0x40;
        }
    for (const Track& track : song.tracks) {
        Pattern row{};
        for (const Cell& cell : track) {
            writeCell(row, 0, 0, cell);
            out.insert(out.end(), row.begin(), row.begin() + 4);
        }
    }
    out.insert(out.end(), {'S', 'E', 'n', 'd'});
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromKrisTracker(const ProTrackerModule& module) {
    return expectedFrom(module, module.header, module.sampleData, onPeriodTable,
                        "   Kris tracker   ");
}

Bytes expectedFromKefrensSoundMachine(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = module.header;
    std::size_t sampleBytes = 0;
    for (std::size_t i = 0; i < 31; ++i) {
        std::uint8_t* fields = header.data() + 20 + 30 * i + 22;
        if (i >= kKefrensSamples)
            fields[0] = fields[1] = fields[3] = 0;
        else
            sampleBytes += get16(fields) * 2u;
        fields[2] = fields[4] = fields[5] = fields[6] = 0; // no finetune, no loop
        fields[7] = 1;
    }
    const Bytes samples(module.sampleData.begin(),
                        module.sampleData.begin() + std::ptrdiff_t(sampleBytes));
    return expectedFrom(module, header, samples, kefrensCell, "Kefrens SndMachine");
}

Bytes expectedFromFuzzac(const ProTrackerModule& module) {
    return expectedFrom(module, module.header, module.sampleData, asStored, "  FUZZAC Packer   ");
}
