#include "ThePlayer4xPacker.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>

namespace {
using Entry = std::array<std::uint8_t, 4>;
using Track = std::vector<Entry>;

struct VersionInfo {
    const char* tag;
    const char* bannerName;
    bool swapsVolumeAndFinetune;
    bool refersBack; // writes copy entries
};

// Indexed by ThePlayerVersion.
constexpr VersionInfo kVersions[] = {{"P22A", " The Player 2.2A  ", false, false},
                                     {"P30A", " The Player 3.0A  ", false, false},
                                     {"P40A", " The Player 4.0A  ", false, true},
                                     {"P40B", " The Player 4.0B  ", false, true},
                                     {"P41A", " The Player 4.1A  ", true, true}};

constexpr unsigned kFinetuneStep = 74;
constexpr std::uint8_t kArpeggio = 8;

// The cell as the format holds it and gives it back.
Cell storedCell(Cell cell) {
    cell.period = periodOfNote(noteOf(cell.period));
    if (cell.effect == kArpeggio)
        cell.effect = cell.parameter = 0;
    return cell;
}

bool isEmpty(const Cell& cell) {
    return cell.sample == 0 && cell.period == 0 && cell.effect == 0 && cell.parameter == 0;
}

bool sameCell(const Cell& a, const Cell& b) {
    return a.sample == b.sample && a.period == b.period && a.effect == b.effect &&
           a.parameter == b.parameter;
}

// The song as the format holds it: its patterns in stored form, in the order it first plays
// them and each content once (equal patterns get equal tracks and so become one), and per
// position the index of its pattern.
struct Song {
    std::vector<Pattern> patterns;
    std::vector<std::uint8_t> order;
};

Song songOf(const ProTrackerModule& module) {
    Song song;
    for (unsigned i = 0; i < module.songLength(); ++i) {
        Pattern pattern = module.patterns[module.order(int(i))];
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                writeCell(pattern, row, channel, storedCell(readCell(pattern, row, channel)));
        const auto known = std::find(song.patterns.begin(), song.patterns.end(), pattern);
        song.order.push_back(static_cast<std::uint8_t>(known - song.patterns.begin()));
        if (known == song.patterns.end())
            song.patterns.push_back(pattern);
    }
    return song;
}

// Highest sample slot (1-31) with data or used by a note of the song.
unsigned sampleCount(const ProTrackerModule& module, const Song& song) {
    unsigned count = 1;
    for (int i = 0; i < 31; ++i)
        if (module.sampleWords(i) > 0)
            count = std::max(count, unsigned(i + 1));
    for (const Pattern& pattern : song.patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                count = std::max(count, readCell(pattern, row, channel).sample);
    return count;
}

// One channel of a stored pattern as entries: each cell with the number of empty rows behind
// it, or with the number of rows that repeat it.
Track trackOf(const Pattern& pattern, int channel) {
    Track track;
    for (int row = 0; row < 64;) {
        const Cell cell = readCell(pattern, row, channel);
        int repeats = 0, empties = 0;
        while (!isEmpty(cell) && row + 1 + repeats < 64 &&
               sameCell(readCell(pattern, row + 1 + repeats, channel), cell))
            ++repeats;
        while (repeats == 0 && row + 1 + empties < 64 &&
               isEmpty(readCell(pattern, row + 1 + empties, channel)))
            ++empties;
        const unsigned effect = cell.effect == 0 && cell.parameter != 0 ? kArpeggio : cell.effect;
        track.push_back({static_cast<std::uint8_t>(noteOf(cell.period) << 1 | cell.sample >> 4),
                         static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | effect),
                         static_cast<std::uint8_t>(cell.parameter),
                         static_cast<std::uint8_t>(repeats > 0 ? 256 - repeats : empties)});
        row += 1 + repeats + empties;
    }
    return track;
}

// The track's entries as stored at `address`: with `refersBack`, a run of two or more entries
// equal to one written in full earlier in the track becomes a copy entry.
Bytes storedTrack(const Track& track, unsigned address, bool refersBack) {
    Bytes out;
    std::vector<std::size_t> writtenAt(track.size(), SIZE_MAX);
    for (std::size_t i = 0; i < track.size();) {
        std::size_t length = 0, source = 0;
        for (std::size_t j = 0; refersBack && j < i; ++j) {
            std::size_t n = 0;
            while (j + n < i && i + n < track.size() && writtenAt[j + n] != SIZE_MAX &&
                   track[j + n] == track[i + n])
                ++n;
            if (n > length)
                length = n, source = address + writtenAt[j];
        }
        if (length >= 2) {
            out.insert(out.end(), {0x80, static_cast<std::uint8_t>(length - 1),
                                   static_cast<std::uint8_t>(source >> 8),
                                   static_cast<std::uint8_t>(source & 0xFF)});
            i += length;
        } else {
            writtenAt[i] = out.size();
            out.insert(out.end(), track[i].begin(), track[i].end());
            ++i;
        }
    }
    return out;
}
} // namespace

Bytes packThePlayer(const ProTrackerModule& module, ThePlayerVersion version) {
    const VersionInfo& info = kVersions[int(version)];
    const Song song = songOf(module);
    const unsigned positions = module.songLength();
    const unsigned samples = sampleCount(module, song);

    // Tracks channel by channel, as the real packer lays them out; equal tracks stored once.
    Bytes tracks;
    std::map<Track, unsigned> addresses;
    std::vector<std::array<unsigned, 4>> quads(song.patterns.size());
    for (int channel = 0; channel < 4; ++channel)
        for (std::size_t i = 0; i < song.patterns.size(); ++i) {
            const Track track = trackOf(song.patterns[i], channel);
            const auto [known, added] = addresses.emplace(track, unsigned(tracks.size()));
            if (added) {
                const Bytes stored = storedTrack(track, known->second, info.refersBack);
                tracks.insert(tracks.end(), stored.begin(), stored.end());
            }
            quads[i][std::size_t(channel)] = known->second;
        }
    if (tracks.size() > 0xFFFF)
        throw std::length_error("track data beyond 16-bit addresses");

    const unsigned trackTable = 16 + 16 * samples;
    const unsigned trackData = trackTable + 8 * positions + 2;
    const unsigned sampleData = trackData + unsigned(tracks.size());
    Bytes out(4 + trackData);
    std::memcpy(out.data(), info.tag, 4);
    out[4] = static_cast<std::uint8_t>(song.patterns.size());
    out[5] = static_cast<std::uint8_t>(positions);
    out[6] = static_cast<std::uint8_t>(samples);
    put32(out, 8, trackData);
    put32(out, 12, trackTable);
    put32(out, 16, sampleData);
    unsigned address = 0;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint8_t* record = &module.header[20 + 30 * i + 22];
        const std::size_t at = 20 + 16 * i;
        put32(out, at, address);
        put16(out, at + 4, get16(record));
        put32(out, at + 6, address + 2 * get16(record + 4));
        put16(out, at + 10, get16(record + 6));
        put16(out, at + (info.swapsVolumeAndFinetune ? 14 : 12), record[2] * kFinetuneStep);
        put16(out, at + (info.swapsVolumeAndFinetune ? 12 : 14), record[3]);
        address += 2 * get16(record);
    }
    for (unsigned i = 0; i < positions; ++i)
        for (std::size_t channel = 0; channel < 4; ++channel)
            put16(out, 4 + trackTable + 8 * i + 2 * channel, quads[song.order[i]][channel]);
    put16(out, 4 + trackData - 2, 0xFFFF);
    out.insert(out.end(), tracks.begin(), tracks.end());
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.begin() + address);
    return out;
}

Bytes expectedFromThePlayer(const ProTrackerModule& module, ThePlayerVersion version) {
    const Song song = songOf(module);
    const unsigned samples = sampleCount(module, song);
    std::array<std::uint8_t, 1084> header = module.header;
    for (unsigned i = samples; i < 31; ++i) {
        std::fill_n(header.begin() + 20 + 30 * i, 30, 0);
        header[20 + 30 * i + 29] = 1;
    }
    header[951] = 0x7F;
    std::fill_n(header.begin() + 952, 128, 0);
    std::copy(song.order.begin(), song.order.end(), header.begin() + 952);
    std::size_t sampleBytes = 0;
    for (unsigned i = 0; i < samples; ++i)
        sampleBytes += module.sampleWords(int(i)) * 2;
    const Bytes sampleData(module.sampleData.begin(),
                           module.sampleData.begin() + std::ptrdiff_t(sampleBytes));
    return assemble(header, song.patterns, sampleData, kVersions[int(version)].bannerName);
}
