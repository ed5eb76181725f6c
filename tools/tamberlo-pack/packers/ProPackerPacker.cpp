#include "ProPackerPacker.h"

#include <algorithm>
#include <stdexcept>

namespace {
using Track = std::array<std::uint8_t, 256>; // 64 cells of 4 bytes
using CellBytes = std::array<std::uint8_t, 4>;

constexpr std::size_t kTrackTable = 250; // 128 track numbers per channel
constexpr std::size_t kTrackData = 762;

Track trackOf(const Pattern& pattern, int channel) {
    Track track{};
    for (int row = 0; row < 64; ++row)
        std::copy_n(pattern.begin() + row * 16 + channel * 4, 4, track.begin() + row * 4);
    return track;
}

// Index of `value` in `list`, appended when new.
template <typename T> unsigned indexIn(std::vector<T>& list, const T& value) {
    const auto known = std::find(list.begin(), list.end(), value);
    if (known != list.end())
        return unsigned(known - list.begin());
    list.push_back(value);
    return unsigned(list.size() - 1);
}

// The song's patterns in the order it first plays them, equal ones once.
struct Song {
    std::vector<Pattern> patterns;
    std::vector<std::uint8_t> order;
};

Song songOf(const ProTrackerModule& module) {
    Song song;
    for (unsigned i = 0; i < module.songLength(); ++i)
        song.order.push_back(static_cast<std::uint8_t>(
            indexIn(song.patterns, module.patterns[module.order(int(i))])));
    return song;
}
} // namespace

Bytes packProPacker(const ProTrackerModule& module, ProPackerVersion version) {
    Bytes out(kTrackData);
    for (int i = 0; i < 31; ++i)
        std::copy_n(module.header.begin() + 20 + 30 * i + 22, 8, out.begin() + 8 * i);
    out[248] = static_cast<std::uint8_t>(module.songLength());
    out[249] = 0x7F;
    std::vector<Track> tracks;
    for (unsigned i = 0; i < module.songLength(); ++i)
        for (int channel = 0; channel < 4; ++channel) {
            const unsigned number =
                indexIn(tracks, trackOf(module.patterns[module.order(int(i))], channel));
            if (number > 255)
                throw std::length_error("more than 256 distinct tracks");
            out[kTrackTable + 128 * channel + i] = static_cast<std::uint8_t>(number);
        }
    if (version == ProPackerVersion::V10) {
        for (const Track& track : tracks)
            out.insert(out.end(), track.begin(), track.end());
    } else {
        std::vector<CellBytes> cells;
        for (const Track& track : tracks)
            for (int row = 0; row < 64; ++row) {
                CellBytes cell;
                std::copy_n(track.begin() + 4 * row, 4, cell.begin());
                const unsigned number = indexIn(cells, cell);
                out.resize(out.size() + 2);
                put16(out, out.size() - 2, version == ProPackerVersion::V21 ? number : 4 * number);
            }
        out.resize(out.size() + 4);
        put32(out, out.size() - 4, unsigned(4 * cells.size()));
        for (const CellBytes& cell : cells)
            out.insert(out.end(), cell.begin(), cell.end());
    }
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromProPacker(const ProTrackerModule& module, ProPackerVersion version) {
    static const char* const kBanners[] = {"  ProPacker v1.0  ", "  ProPacker v2.1  ",
                                           "  ProPacker v3.0  "};
    const Song song = songOf(module);
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + 952, header.begin() + 1080, 0);
    std::copy(song.order.begin(), song.order.end(), header.begin() + 952);
    return assemble(header, song.patterns, module.sampleData, kBanners[int(version)]);
}
