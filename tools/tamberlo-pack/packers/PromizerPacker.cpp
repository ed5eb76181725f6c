#include "PromizerPacker.h"

#include "formats/PromizerPeriods.h"

#include <algorithm>
#include <cstring>

namespace {
using V = PromizerVersion;
using CellBytes = std::array<std::uint8_t, 4>;

constexpr std::size_t kRecords = 248;
constexpr std::uint8_t kSignature1[16] = {0x60, 0x38, 0x60, 0x00, 0x00, 0xA0, 0x60, 0x00,
                                          0x01, 0x3E, 0x60, 0x00, 0x01, 0x0C, 0x48, 0xE7};
constexpr std::uint8_t kSignature2[16] = {0x60, 0x00, 0x00, 0x16, 0x60, 0x00, 0x01, 0x40,
                                          0x60, 0x00, 0x00, 0xF0, 0x3F, 0x00, 0x10, 0x3A};
constexpr std::size_t kRoutine20Bytes = 0x1200;

bool finetuned(V version) {
    return version == V::V01 || version == V::V10c || version == V::V18a;
}

// The 1.x routine: the signature, the displacements of its first two `lea` instructions (which
// tell 1.8a from 1.0c) and the `lea` of the header at 0xAC; the header follows the routine.
Bytes routine1x(V version) {
    const bool v18a = version == V::V18a;
    Bytes routine(v18a ? 0x1168 : 0x1164);
    std::copy(std::begin(kSignature1), std::end(kSignature1), routine.begin());
    put16(routine, 0x12, 0x43FA);
    put16(routine, 0x14, v18a ? 0x0FD2 : 0x0FCE);
    put16(routine, 0x22, 0x43FA);
    put16(routine, 0x24, v18a ? 0x1100 : 0x10FC);
    put16(routine, 0xAC, 0x41FA);
    put16(routine, 0xAE, unsigned(routine.size() - 0xAE));
    return routine;
}

// The cells of the song's patterns as the format stores them, pattern after pattern.
std::vector<CellBytes> storedCells(const ProTrackerModule& module, V version) {
    std::vector<CellBytes> cells;
    for (unsigned p = 0; p < songPatternCount(module); ++p) {
        unsigned channelSample[4] = {};
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(module.patterns[p], row, channel);
                if (cell.sample != 0)
                    channelSample[channel] = cell.sample;
                const unsigned note = noteOf(cell.period);
                const unsigned current = channelSample[channel];
                const unsigned finetune =
                    current == 0 ? 0 : module.header[20 + 30 * (current - 1) + 24] & 0x0F;
                const unsigned stored = note == 0 ? 0
                                        : finetuned(version)
                                            ? promizer::kFinetunedPeriods[finetune][note - 1]
                                            : 2 * note;
                cells.push_back({static_cast<std::uint8_t>((cell.sample & 0xF0) | stored >> 8),
                                 static_cast<std::uint8_t>(stored),
                                 static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | cell.effect),
                                 static_cast<std::uint8_t>(cell.parameter)});
            }
    }
    return cells;
}

// Sample records, song length and order list; pattern offsets count `patternBytes` a pattern.
Bytes songHeader(const ProTrackerModule& module, unsigned patternBytes) {
    Bytes out(kRecords + 2 + 128 * 4);
    for (int i = 0; i < 31; ++i)
        std::copy_n(module.header.begin() + 20 + 30 * i + 22, 8, out.begin() + 8 * i);
    put16(out, kRecords, 4 * module.songLength());
    for (unsigned i = 0; i < module.songLength(); ++i)
        put32(out, kRecords + 2 + 4 * i, module.order(int(i)) * patternBytes);
    return out;
}

void append(Bytes& out, const Bytes& more) {
    out.insert(out.end(), more.begin(), more.end());
}
} // namespace

Bytes packPromizer(const ProTrackerModule& module, PromizerVersion version, int songs) {
    const std::vector<CellBytes> cells = storedCells(module, version);
    Bytes out;
    if (version == V::V01) {
        append(out, songHeader(module, 1024));
        out.resize(out.size() + 4);
        put32(out, out.size() - 4, unsigned(4 * cells.size()));
        for (const CellBytes& cell : cells)
            out.insert(out.end(), cell.begin(), cell.end());
        append(out, module.sampleData);
        return out;
    }
    // The distinct cells in the order the patterns first use them, and the references.
    std::vector<CellBytes> table;
    Bytes references(2 * cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        auto known = std::find(table.begin(), table.end(), cells[i]);
        if (known == table.end())
            known = table.insert(table.end(), cells[i]);
        const unsigned number = unsigned(known - table.begin());
        put16(references, 2 * i, finetuned(version) ? number : 4 * number);
    }
    Bytes data = songHeader(module, 512);
    append(data, references);
    for (const CellBytes& cell : table)
        data.insert(data.end(), cell.begin(), cell.end());
    if (version == V::V10c || version == V::V18a) {
        out = routine1x(version);
        for (int song = 0; song < songs; ++song) {
            Bytes sizes(8);
            put32(sizes, 0, unsigned(8 + data.size()));
            put32(sizes, 4, unsigned(references.size()));
            append(out, sizes);
            append(out, data);
        }
        out.resize(out.size() + 4); // the zero long that ends the chain
    } else {
        if (version == V::V20) {
            out.assign(kRoutine20Bytes, 0);
            std::copy(std::begin(kSignature2), std::end(kSignature2), out.begin());
        } else {
            out = {'P', 'M', '4', '0'};
        }
        Bytes sizes(8);
        put32(sizes, 0, unsigned(references.size()));
        put32(sizes, 4, unsigned(4 * table.size()));
        append(out, sizes);
        append(out, data);
    }
    append(out, module.sampleData);
    return out;
}

Bytes expectedFromPromizer(const ProTrackerModule& module, PromizerVersion version) {
    static const char* const kBanners[] = {"   Promizer 0.1   ", "  Promizer v1.0c  ",
                                           "  Promizer v1.8a  ", "   Promizer 2.0   ",
                                           "   Promizer 4.0   "};
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + 952 + module.songLength(), header.begin() + 1080, 0);
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + songPatternCount(module));
    for (Pattern& pattern : patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                Cell cell = readCell(pattern, row, channel);
                cell.period = periodOfNote(noteOf(cell.period));
                writeCell(pattern, row, channel, cell);
            }
    return assemble(header, patterns, module.sampleData, kBanners[int(version)]);
}
