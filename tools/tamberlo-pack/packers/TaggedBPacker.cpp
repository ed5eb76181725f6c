#include "TaggedBPacker.h"

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

Pattern snapped(Pattern pattern) {
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel) {
            Cell cell = readCell(pattern, row, channel);
            cell.period = periodOfNote(noteOf(cell.period));
            writeCell(pattern, row, channel, cell);
        }
    return pattern;
}

// The header the ripper writes back before its patterns: restart 0x7F, no orders behind the song.
std::array<std::uint8_t, 1084> songHeader(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + kOrderList + std::min(module.songLength(), 128u),
              header.begin() + 1080, 0);
    return header;
}

Bytes expectedSongPatterns(const ProTrackerModule& module, bool snap, const char* bannerName) {
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + songPatternCount(module));
    if (snap)
        std::transform(patterns.begin(), patterns.end(), patterns.begin(), snapped);
    return assemble(songHeader(module), patterns, module.sampleData, bannerName);
}

// One channel of a pattern as a SKYT track: note number, sample, effect, parameter per row.
Bytes skytTrack(const Pattern& pattern, int channel) {
    Bytes track;
    for (int row = 0; row < 64; ++row) {
        const Cell cell = readCell(pattern, row, channel);
        track.insert(track.end(), {std::uint8_t(noteOf(cell.period)), std::uint8_t(cell.sample),
                                   std::uint8_t(cell.effect), std::uint8_t(cell.parameter)});
    }
    return track;
}
} // namespace

Bytes packFcm(const ProTrackerModule& module) {
    Bytes out;
    append(out, "FC-M");
    out.insert(out.end(), {1, 0});
    append(out, "NAME");
    out.insert(out.end(), module.header.begin(), module.header.begin() + 20);
    append(out, "INST");
    for (int i = 0; i < 31; ++i) {
        const Bytes record = recordOf(module, i);
        out.insert(out.end(), record.begin(), record.end());
    }
    append(out, "LONG");
    out.insert(out.end(), {std::uint8_t(module.songLength()), 0x7F});
    append(out, "PATT");
    out.insert(out.end(), module.header.begin() + kOrderList,
               module.header.begin() + kOrderList + module.songLength());
    append(out, "SONG");
    for (unsigned p = 0; p < songPatternCount(module); ++p)
        out.insert(out.end(), module.patterns[p].begin(), module.patterns[p].end());
    append(out, "SAMP");
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes packHornet(const ProTrackerModule& module) {
    Bytes out(module.header.begin(), module.header.end());
    std::memcpy(out.data() + 1080, "HRT!", 4);
    for (const Pattern& pattern : module.patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(pattern, row, channel);
                out.insert(out.end(),
                           {std::uint8_t(cell.sample * 2), std::uint8_t(noteOf(cell.period) * 2),
                            std::uint8_t(cell.effect), std::uint8_t(cell.parameter)});
            }
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes packSkyt(const ProTrackerModule& module) {
    Bytes out;
    for (int i = 0; i < 31; ++i) {
        Bytes record = recordOf(module, i);
        if (get16(&record[6]) == 1)
            put16(record, 6, 0);
        out.insert(out.end(), record.begin(), record.end());
    }
    out.resize(256);
    append(out, "SKYT");
    out.insert(out.end(), {std::uint8_t(module.songLength() - 1), 0});
    std::map<Bytes, unsigned> numbers;
    Bytes tracks;
    const Bytes empty(256, 0);
    for (unsigned i = 0; i < module.songLength(); ++i)
        for (int channel = 0; channel < 4; ++channel) {
            const Bytes track = skytTrack(module.patterns[module.order(int(i))], channel);
            unsigned number = 0;
            if (track != empty) {
                auto [it, added] = numbers.emplace(track, unsigned(numbers.size() + 1));
                if (added)
                    tracks.insert(tracks.end(), track.begin(), track.end());
                number = it->second;
            }
            out.insert(out.end(), {std::uint8_t(number), 0});
        }
    out.insert(out.end(), tracks.begin(), tracks.end());
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromFcm(const ProTrackerModule& module) {
    return expectedSongPatterns(module, false, "   FC-M packer    ");
}

Bytes expectedFromHornet(const ProTrackerModule& module) {
    return expectedSongPatterns(module, true, "  Hornet Packer   ");
}

Bytes expectedFromSkyt(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = songHeader(module);
    for (int i = 0; i < 31; ++i) {
        const std::size_t loopLength = kRecords + kRecordBytes * std::size_t(i) + kNameBytes + 6;
        if (get16(&header[loopLength]) == 0)
            header[loopLength + 1] = 1;
    }
    std::vector<Pattern> patterns;
    for (unsigned i = 0; i < module.songLength(); ++i) {
        const Pattern pattern = snapped(module.patterns[module.order(int(i))]);
        const auto known = std::find(patterns.begin(), patterns.end(), pattern);
        header[kOrderList + i] = std::uint8_t(known - patterns.begin());
        if (known == patterns.end())
            patterns.push_back(pattern);
    }
    return assemble(header, patterns, module.sampleData, "   SKYT Packer    ");
}
