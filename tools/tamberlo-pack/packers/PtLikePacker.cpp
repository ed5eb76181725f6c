#include "PtLikePacker.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kNameBytes = 22;
constexpr std::size_t kSongLength = 950;
constexpr std::size_t kTag = 1080;

void append(Bytes& out, const Bytes& bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
}

Bytes allPatterns(const ProTrackerModule& module) {
    Bytes out;
    for (const Pattern& pattern : module.patterns)
        out.insert(out.end(), pattern.begin(), pattern.end());
    return out;
}

Bytes packModuleProtectorWith(const ProTrackerModule& module, const char* tag) {
    Bytes out;
    for (std::size_t i = 0; i < 31; ++i) {
        const auto* record = module.header.data() + kRecords + kRecordBytes * i + kNameBytes;
        out.insert(out.end(), record, record + 8);
    }
    out.insert(out.end(), module.header.begin() + kSongLength, module.header.begin() + kTag);
    out.insert(out.end(), tag, tag + std::strlen(tag));
    append(out, allPatterns(module));
    append(out, module.sampleData);
    return out;
}

// The ProTracker header with another tag, then `patterns` and `samples`.
Bytes retagged(const ProTrackerModule& module, const Bytes& tag, const Bytes& patterns,
               const Bytes& samples) {
    Bytes out(module.header.begin(), module.header.begin() + kTag);
    append(out, tag);
    append(out, patterns);
    append(out, samples);
    return out;
}

// The module the converters write: restart 0x7F, no order entries behind the song and only the
// patterns the song plays, each cell through `cellOut`.
Bytes expectedSong(const ProTrackerModule& module, Cell (*cellOut)(Cell), const char* bannerName,
                   bool delta) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[kSongLength + 1] = 0x7F;
    std::fill(header.begin() + kSongLength + 2 + module.songLength(), header.begin() + kTag, 0);
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + songPatternCount(module));
    for (Pattern& pattern : patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                writeCell(pattern, row, channel, cellOut(readCell(pattern, row, channel)));
    Bytes out = assemble(header, patterns, module.sampleData, bannerName);
    if (delta)
        std::memcpy(out.data() + 770, "[! smp were DELTA  ]", 20);
    return out;
}

Cell unchanged(Cell cell) {
    return cell;
}
Cell snapped(Cell cell) {
    cell.period = periodOfNote(noteOf(cell.period));
    return cell;
}
} // namespace

Bytes packModuleProtector(const ProTrackerModule& module) {
    return packModuleProtectorWith(module, "");
}

Bytes packModuleProtectorTagged(const ProTrackerModule& module) {
    return packModuleProtectorWith(module, "TRK1");
}

Bytes packPowerMusic(const ProTrackerModule& module) {
    Bytes deltas;
    std::size_t at = 0;
    for (int i = 0; i < 31; ++i) {
        std::uint8_t previous = 0;
        for (std::size_t end = at + module.sampleWords(i) * 2; at < end; ++at) {
            deltas.push_back(static_cast<std::uint8_t>(module.sampleData[at] - previous));
            previous = module.sampleData[at];
        }
    }
    return retagged(module, {'!', 'P', 'M', '!'}, allPatterns(module), deltas);
}

Bytes packWantonPacker(const ProTrackerModule& module) {
    Bytes cells;
    for (const Pattern& pattern : module.patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(pattern, row, channel);
                cells.insert(cells.end(),
                             {std::uint8_t(2 * noteOf(cell.period)), std::uint8_t(cell.sample),
                              std::uint8_t(cell.effect), std::uint8_t(cell.parameter)});
            }
    const Bytes tag{'W', 'N', 0, std::uint8_t(module.patterns.size())};
    return retagged(module, tag, cells, module.sampleData);
}

Bytes expectedFromModuleProtector(const ProTrackerModule& module) {
    return expectedSong(module, unchanged, " Module Protector ", false);
}

Bytes expectedFromPowerMusic(const ProTrackerModule& module) {
    return expectedSong(module, unchanged, "   Power Music    ", true);
}

Bytes expectedFromWantonPacker(const ProTrackerModule& module) {
    return expectedSong(module, snapped, "  Wanton Packer   ", false);
}
