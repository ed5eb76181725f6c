#include "NoisePackerPacker.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace {
constexpr std::size_t kRecords = 8;
constexpr std::size_t kRecordBytes = 16;
constexpr std::size_t kBannerName = 711;

// Where the parts of a NoisePacker v2 module produced by packNoisePackerV2 lie.
struct V2Layout {
    unsigned samples;
    std::size_t orderStart, orderSize, trackTable, trackTableSize, trackData, trackDataSize;
    std::size_t sampleData;

    explicit V2Layout(const Bytes& packed)
        : samples(get16(&packed[0]) >> 4), orderStart(kRecords + kRecordBytes * samples + 4),
          orderSize(get16(&packed[2])), trackTable(orderStart + orderSize),
          trackDataSize(get16(&packed[6])) {
        unsigned highest = 0;
        for (std::size_t i = 0; i < orderSize; i += 2)
            highest = std::max(highest, get16(&packed[orderStart + i]));
        trackTableSize = highest + 8;
        trackData = trackTable + trackTableSize;
        sampleData = trackData + trackDataSize;
    }
    std::size_t record(unsigned sample) const { return kRecords + kRecordBytes * sample; }
};

// The header words the real modules carry and the v2 packer leaves zero.
void putTableSizes(Bytes& out, const V2Layout& at) {
    put16(out, 4, unsigned(at.trackTableSize));
    put16(out, at.orderStart - 4, unsigned(at.orderSize));
}

// A fixed 64-row track without its empty rows: each run of them becomes one byte 256 - run.
Bytes skipEmptyRows(const std::uint8_t* track) {
    Bytes out;
    unsigned emptyRun = 0;
    for (int row = 0; row <= 64; ++row) {
        const std::uint8_t* cell = track + 3 * row;
        if (row < 64 && (cell[0] | cell[1] | cell[2]) == 0) {
            ++emptyRun;
            continue;
        }
        if (emptyRun > 0)
            out.push_back(static_cast<std::uint8_t>(256 - emptyRun));
        emptyRun = 0;
        if (row < 64)
            out.insert(out.end(), cell, cell + 3);
    }
    return out;
}

bool hasLoopStart(const Bytes& v2Packed) {
    const V2Layout at(v2Packed);
    for (unsigned i = 0; i < at.samples; ++i)
        if (get16(&v2Packed[at.record(i) + 14]) != 0)
            return true;
    return false;
}

Bytes withBanner(Bytes module, const char* bannerName) {
    std::memcpy(module.data() + kBannerName, bannerName, 18);
    return module;
}

// Noiserunner's cell: effect × 4 with effects 0 and 3 swapped, parameter, note × 2, sample × 8.
void appendNoiserunnerCell(Bytes& out, const Cell& cell) {
    const unsigned effect = cell.effect == 0 ? 3 : cell.effect == 3 ? 0 : cell.effect;
    out.push_back(static_cast<std::uint8_t>(effect * 4));
    out.push_back(static_cast<std::uint8_t>(cell.parameter));
    out.push_back(static_cast<std::uint8_t>(noteOf(cell.period) * 2));
    out.push_back(static_cast<std::uint8_t>(cell.sample * 8));
}
} // namespace

Bytes packNoisePackerV1(const ProTrackerModule& module) {
    Bytes out = packNoisePackerV2(module);
    const V2Layout at(out);
    putTableSizes(out, at);
    unsigned address = unsigned(at.sampleData);
    for (unsigned i = 0; i < at.samples; ++i) {
        const std::size_t record = at.record(i);
        const unsigned loopStartBytes = 2 * get16(&out[record + 14]);
        put32(out, record, address);
        put32(out, record + 8, address + loopStartBytes);
        put16(out, record + 14, loopStartBytes);
        address += 2 * get16(&out[record + 4]);
    }
    return out;
}

Bytes packNoisePackerV3(const ProTrackerModule& module) {
    const Bytes v2 = packNoisePackerV2(module);
    const V2Layout at(v2);
    Bytes out(v2.begin(), v2.begin() + std::ptrdiff_t(at.trackData));
    putTableSizes(out, at);
    for (unsigned i = 0; i < at.samples; ++i) {
        const std::size_t record = at.record(i);
        out[record] = v2[record + 6];     // finetune
        out[record + 1] = v2[record + 7]; // volume
        put32(out, record + 2, 0);
        put16(out, record + 6, get16(&v2[record + 4]));
    }
    std::map<unsigned, unsigned> newAddress;
    Bytes tracks;
    for (std::size_t i = 0; i < at.trackTableSize; i += 2) {
        const unsigned address = get16(&v2[at.trackTable + i]);
        auto [it, added] = newAddress.emplace(address, unsigned(tracks.size()));
        if (added) {
            const Bytes track = skipEmptyRows(&v2[at.trackData + address]);
            tracks.insert(tracks.end(), track.begin(), track.end());
        }
        put16(out, at.trackTable + i, it->second);
    }
    put16(out, 6, unsigned(tracks.size()));
    out.insert(out.end(), tracks.begin(), tracks.end());
    out.insert(out.end(), v2.begin() + std::ptrdiff_t(at.sampleData), v2.end());
    return out;
}

Bytes packNoiserunner(const ProTrackerModule& module) {
    Bytes out(module.header.begin(), module.header.end());
    unsigned address = 0x10000;
    for (int i = 0; i < 31; ++i) {
        const std::uint8_t* record = &module.header[20 + 30 * i + 22];
        const std::size_t at = kRecordBytes * std::size_t(i);
        const unsigned words = get16(record);
        out[at] = record[2];     // finetune
        out[at + 1] = record[3]; // volume
        put32(out, at + 2, address);
        put16(out, at + 6, words);
        put32(out, at + 8, address + 2 * get16(record + 4));
        put16(out, at + 12, get16(record + 6));
        address += 2 * words;
    }
    for (const Pattern& pattern : module.patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                appendNoiserunnerCell(out, readCell(pattern, row, channel));
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromNoisePackerV1(const ProTrackerModule& module) {
    return withBanner(expectedFromNoisePackerV2(module), hasLoopStart(packNoisePackerV2(module))
                                                             ? "  NoisePacker v1  "
                                                             : "  NoisePacker v2  ");
}

Bytes expectedFromNoisePackerV3(const ProTrackerModule& module) {
    return withBanner(expectedFromNoisePackerV2(module), "  NoisePacker v3  ");
}

Bytes expectedFromNoiserunner(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + 952 + std::min(module.songLength(), 128u), header.begin() + 1080, 0);
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + songPatternCount(module));
    for (Pattern& pattern : patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                Cell cell = readCell(pattern, row, channel);
                cell.period = periodOfNote(noteOf(cell.period));
                writeCell(pattern, row, channel, cell);
            }
    return assemble(header, patterns, module.sampleData, "   Noiserunner    ");
}
