#include "TrackerPackerPacker.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

namespace {
constexpr std::size_t kRecordsV1 = 32;
constexpr std::size_t kPatternDataV1 = 794;
constexpr std::uint8_t kEmptyCellV1 = 0xC0;

enum class Version { V2, V3 };

// A sample record as all three versions store it: finetune, volume, length, loop start, loop
// length (ProTracker's record without its name, the first two fields moved to the front).
void putRecord(Bytes& out, std::size_t at, const ProTrackerModule& module, int sample) {
    const std::uint8_t* record = &module.header[20 + 30 * sample + 22];
    out[at] = record[2];
    out[at + 1] = record[3];
    std::copy_n(record, 2, out.begin() + std::ptrdiff_t(at + 2));
    std::copy_n(record + 4, 4, out.begin() + std::ptrdiff_t(at + 4));
}

bool isVolumeSlide(unsigned effect) {
    return effect == 0x5 || effect == 0x6 || effect == 0xA;
}

// How v2 and v3 store an effect: the arpeggio as 8, volume slides as a signed speed.
void packEffect(Cell& cell) {
    if (cell.effect == 0 && cell.parameter != 0)
        cell.effect = 8;
    else if (isVolumeSlide(cell.effect) && cell.parameter != 0)
        cell.parameter = cell.parameter >> 4 ? cell.parameter >> 4 : 0x100 - cell.parameter;
}

// The cell as v2 and v3 give it back.
Cell tracksRoundTrip(Cell cell) {
    cell.period = periodOfNote(noteOf(cell.period));
    if (cell.effect == 8)
        cell.effect = 0;
    else if (isVolumeSlide(cell.effect) && cell.parameter >> 4)
        cell.parameter &= 0xF0;
    return cell;
}

// The cell as v1 gives it back: no note, no sample.
Cell v1RoundTrip(Cell cell) {
    cell.period = periodOfNote(noteOf(cell.period));
    if (cell.period == 0)
        cell.sample = 0;
    return cell;
}

void appendTrack(Bytes& out, const Pattern& pattern, int channel, Version version) {
    unsigned emptyRows = 0;
    const auto flushEmptyRows = [&] {
        if (emptyRows)
            out.push_back(static_cast<std::uint8_t>(0x100 - emptyRows));
        emptyRows = 0;
    };
    for (int row = 0; row < 64; ++row) {
        Cell cell = readCell(pattern, row, channel);
        if (cell.period == 0 && cell.sample == 0 && cell.effect == 0 && cell.parameter == 0) {
            ++emptyRows;
            continue;
        }
        flushEmptyRows();
        packEffect(cell);
        if (cell.period == 0 && cell.sample == 0) {
            out.push_back(
                static_cast<std::uint8_t>(0x80 | cell.effect << (version == Version::V2 ? 2 : 1)));
            out.push_back(static_cast<std::uint8_t>(cell.parameter));
            continue;
        }
        const unsigned note = noteOf(cell.period);
        if (version == Version::V2)
            out.push_back(static_cast<std::uint8_t>(note << 1 | cell.sample >> 4));
        else
            out.push_back(static_cast<std::uint8_t>(cell.sample < 16 ? note : note + 0x5B));
        out.push_back(static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | cell.effect));
        if (cell.effect != 0)
            out.push_back(static_cast<std::uint8_t>(cell.parameter));
    }
    flushEmptyRows();
}

// Records up to the highest one with sample data (at least one).
unsigned recordCount(const ProTrackerModule& module) {
    unsigned count = 1;
    for (unsigned i = 0; i < 31; ++i)
        if (module.sampleWords(int(i)) != 0)
            count = i + 1;
    return count;
}

Bytes packTracks(const ProTrackerModule& module, Version version) {
    const unsigned n = recordCount(module);
    const unsigned patterns = songPatternCount(module);
    const unsigned songLength = module.songLength();
    Bytes out(30 + 8 * n + 2 + 2 * songLength);
    std::memcpy(out.data(), version == Version::V2 ? "MEXX_TP2" : "CPLX_TP3", 8);
    std::copy_n(module.header.begin(), 20, out.begin() + 8);
    put16(out, 28, 8 * n);
    for (unsigned i = 0; i < n; ++i)
        putRecord(out, 30 + 8 * i, module, int(i));
    put16(out, 30 + 8 * n, songLength);
    for (unsigned i = 0; i < songLength; ++i)
        put16(out, 32 + 8 * n + 2 * i, 8 * module.order(int(i)));

    // Equal tracks are stored once.
    std::map<Bytes, unsigned> trackAddress;
    Bytes tracks, table(8 * patterns);
    for (unsigned p = 0; p < patterns; ++p)
        for (int channel = 0; channel < 4; ++channel) {
            Bytes track;
            appendTrack(track, module.patterns[p], channel, version);
            auto [it, added] = trackAddress.emplace(track, unsigned(tracks.size()));
            if (added)
                tracks.insert(tracks.end(), track.begin(), track.end());
            put16(table, 8 * p + 2 * unsigned(channel), it->second);
        }
    if (tracks.size() % 2)
        tracks.push_back(0);
    if (tracks.size() > 0xFFFF)
        throw std::length_error("track data too large for a 16-bit size");
    out.insert(out.end(), table.begin(), table.end());
    out.resize(out.size() + 2);
    put16(out, out.size() - 2, unsigned(tracks.size()));
    out.insert(out.end(), tracks.begin(), tracks.end());
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromTracks(const ProTrackerModule& module, const char* bannerName) {
    const unsigned n = recordCount(module);
    std::array<std::uint8_t, 1084> header = module.header;
    for (unsigned i = n; i < 31; ++i) {
        std::fill_n(header.begin() + 20 + 30 * i, 30, 0);
        header[20 + 30 * i + 29] = 1;
    }
    header[951] = 0x7F;
    std::fill(header.begin() + 952 + module.songLength(), header.begin() + 1080, 0);
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + songPatternCount(module));
    for (Pattern& pattern : patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                writeCell(pattern, row, channel, tracksRoundTrip(readCell(pattern, row, channel)));
    return assemble(header, patterns, module.sampleData, bannerName);
}

void appendV1Pattern(Bytes& out, const Pattern& pattern) {
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel) {
            const Cell cell = readCell(pattern, row, channel);
            const unsigned note = noteOf(cell.period);
            if (note != 0) {
                out.push_back(static_cast<std::uint8_t>((note - 1) << 1 | cell.sample >> 4));
                out.push_back(static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | cell.effect));
                out.push_back(static_cast<std::uint8_t>(cell.parameter));
            } else if (cell.effect != 0 || cell.parameter != 0) {
                out.push_back(static_cast<std::uint8_t>(0x80 | cell.effect << 2));
                out.push_back(static_cast<std::uint8_t>(cell.parameter));
            } else {
                out.push_back(kEmptyCellV1);
            }
        }
}

// The song's pattern numbers in the order it first plays them.
std::vector<unsigned> firstPlayed(const ProTrackerModule& module) {
    std::vector<unsigned> patterns;
    for (unsigned i = 0; i < module.songLength(); ++i)
        if (std::find(patterns.begin(), patterns.end(), module.order(int(i))) == patterns.end())
            patterns.push_back(module.order(int(i)));
    return patterns;
}
} // namespace

Bytes packTrackerPacker1(const ProTrackerModule& module) {
    Bytes out(kPatternDataV1);
    std::memcpy(out.data(), "MEXX", 4);
    std::copy_n(module.header.begin(), 20, out.begin() + 8);
    for (int i = 0; i < 31; ++i)
        putRecord(out, kRecordsV1 + 8 * std::size_t(i), module, i);
    put16(out, 280, module.songLength() - 1);
    // Patterns stored in pattern-number order, so addresses do not follow the song.
    std::map<unsigned, unsigned> address;
    Bytes patterns;
    for (unsigned p = 0; p < songPatternCount(module); ++p) {
        address[p] = unsigned(patterns.size());
        appendV1Pattern(patterns, module.patterns[p]);
    }
    for (unsigned i = 0; i < module.songLength(); ++i)
        put32(out, 282 + 4 * i, address[module.order(int(i))]);
    out.insert(out.end(), patterns.begin(), patterns.end());
    put32(out, 28, unsigned(out.size()));
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    put32(out, 4, unsigned(out.size()));
    return out;
}

Bytes packTrackerPacker2(const ProTrackerModule& module) {
    return packTracks(module, Version::V2);
}

Bytes packTrackerPacker3(const ProTrackerModule& module) {
    Bytes out = packTracks(module, Version::V3);
    out.insert(out.end(), 2, 0); // the real packer's two bytes behind the samples
    return out;
}

Bytes expectedFromTrackerPacker1(const ProTrackerModule& module) {
    const std::vector<unsigned> played = firstPlayed(module);
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill_n(header.begin() + 952, 128, 0);
    for (unsigned i = 0; i < module.songLength(); ++i)
        header[952 + i] = static_cast<std::uint8_t>(
            std::find(played.begin(), played.end(), module.order(int(i))) - played.begin());
    std::vector<Pattern> patterns;
    for (unsigned p : played) {
        Pattern pattern = module.patterns[p];
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                writeCell(pattern, row, channel, v1RoundTrip(readCell(pattern, row, channel)));
        patterns.push_back(pattern);
    }
    return assemble(header, patterns, module.sampleData, " Tracker Packer 1 ");
}

Bytes expectedFromTrackerPacker2(const ProTrackerModule& module) {
    return expectedFromTracks(module, " Tracker Packer 2 ");
}

Bytes expectedFromTrackerPacker3(const ProTrackerModule& module) {
    return expectedFromTracks(module, " Tracker Packer 3 ");
}
