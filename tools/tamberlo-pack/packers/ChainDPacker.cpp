#include "ChainDPacker.h"

#include <algorithm>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kNameBytes = 22;
constexpr std::size_t kOrderList = 952;

// The 31 sample records without their names: length, finetune, volume, loop start, loop length.
Bytes recordsOf(const ProTrackerModule& module) {
    Bytes records;
    for (std::size_t i = 0; i < 31; ++i) {
        const auto* at = module.header.data() + kRecords + kRecordBytes * i + kNameBytes;
        records.insert(records.end(), at, at + 8);
    }
    return records;
}

Bytes songHead(const ProTrackerModule& module) {
    Bytes head(4);
    put16(head, 0, module.songLength());
    put16(head, 2, unsigned(module.patterns.size()));
    return head;
}

Bytes packNewtronLayout(const ProTrackerModule& module, bool headFirst) {
    const Bytes head = songHead(module);
    Bytes out = recordsOf(module);
    out.insert(headFirst ? out.begin() : out.end(), head.begin(), head.end());
    out.insert(out.end(), module.header.begin() + kOrderList, module.header.begin() + 1080);
    for (const Pattern& pattern : module.patterns)
        out.insert(out.end(), pattern.begin(), pattern.end());
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

// The module the three converters write: restart 0x7F, no order entries behind the song and
// only the patterns the song plays.
Bytes expectedSong(const ProTrackerModule& module, const char* bannerName) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + kOrderList + module.songLength(), header.begin() + 1080, 0);
    const std::vector<Pattern> patterns(module.patterns.begin(),
                                        module.patterns.begin() + songPatternCount(module));
    return assemble(header, patterns, module.sampleData, bannerName);
}

bool isEmpty(const Pattern& pattern, int row, int channel) {
    const auto* cell = &pattern[std::size_t(row * 16 + channel * 4)];
    return std::all_of(cell, cell + 4, [](std::uint8_t b) { return b == 0; });
}

Bytes heatseekerTrack(const Pattern& pattern, int channel) {
    Bytes track;
    int row = 0;
    while (row < 64) {
        const std::uint8_t* cell = &pattern[std::size_t(row * 16 + channel * 4)];
        int empty = 0;
        while (row + empty < 64 && isEmpty(pattern, row + empty, channel))
            ++empty;
        if (empty >= 2) {
            track.insert(track.end(), {0x80, 0, 0, std::uint8_t(empty - 1)});
            row += empty;
        } else {
            track.insert(track.end(), cell, cell + 4);
            ++row;
        }
    }
    return track;
}
} // namespace

Bytes packNewtron(const ProTrackerModule& module) {
    return packNewtronLayout(module, true);
}

Bytes packNewtronOld(const ProTrackerModule& module) {
    return packNewtronLayout(module, false);
}

Bytes packHeatseeker(const ProTrackerModule& module) {
    Bytes out = recordsOf(module);
    out.insert(out.end(), {std::uint8_t(module.songLength()), 0x7F});
    out.insert(out.end(), module.header.begin() + kOrderList,
               module.header.begin() + kOrderList + module.songLength());
    out.resize(378);
    std::vector<Bytes> tracks;
    for (unsigned p = 0; p < songPatternCount(module); ++p)
        for (int channel = 0; channel < 4; ++channel) {
            const Bytes track = heatseekerTrack(module.patterns[p], channel);
            const auto number =
                unsigned(std::find(tracks.begin(), tracks.end(), track) - tracks.begin()) * 4;
            const bool stored = number == tracks.size() * 4;
            tracks.push_back(track);
            if (stored) {
                out.insert(out.end(), track.begin(), track.end());
                continue;
            }
            out.insert(out.end(), {0xC0, 0, std::uint8_t(number >> 8), std::uint8_t(number)});
        }
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromNewtron(const ProTrackerModule& module) {
    return expectedSong(module, "      Newtron     ");
}

Bytes expectedFromNewtronOld(const ProTrackerModule& module) {
    return expectedSong(module, "    Newtron old   ");
}

Bytes expectedFromHeatseeker(const ProTrackerModule& module) {
    return expectedSong(module, " Heatseeker mc1.0 ");
}
