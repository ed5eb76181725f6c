#include "TaggedCPacker.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr std::size_t kStimHeader = 406;
constexpr unsigned kFuchsSamples = 16;
constexpr unsigned kFuchsOrders = 40;

bool isEmpty(const Cell& cell) {
    return cell.sample == 0 && cell.period == 0 && cell.effect == 0 && cell.parameter == 0;
}

// One channel of a STIM pattern: runs of empty rows as skip bytes, other rows as cells.
void appendStimChannel(Bytes& out, const Pattern& pattern, int channel) {
    int emptyRows = 0;
    const auto flush = [&] {
        if (emptyRows > 0)
            out.push_back(static_cast<std::uint8_t>(0x80 | (emptyRows - 1)));
        emptyRows = 0;
    };
    for (int row = 0; row < 64; ++row) {
        const Cell cell = readCell(pattern, row, channel);
        if (isEmpty(cell)) {
            ++emptyRows;
            continue;
        }
        flush();
        out.push_back(static_cast<std::uint8_t>((cell.effect & 3) << 5 | cell.sample));
        out.push_back(static_cast<std::uint8_t>((cell.effect >> 2) << 6 | noteOf(cell.period)));
        out.push_back(static_cast<std::uint8_t>(cell.parameter));
    }
    flush();
}

// The header both formats give back: no orders behind the song, restart byte 0x7F.
std::array<std::uint8_t, 1084> songHeader(const ProTrackerModule& module, unsigned songLength) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[950] = static_cast<std::uint8_t>(songLength);
    header[951] = 0x7F;
    std::fill(header.begin() + 952 + songLength, header.begin() + 1080, 0);
    return header;
}

unsigned highestOrder(const std::array<std::uint8_t, 1084>& header) {
    return *std::max_element(header.begin() + 952, header.begin() + 952 + header[950]);
}

// Byte offset of each sample's data in module.sampleData.
std::array<std::size_t, 31> sampleOffsets(const ProTrackerModule& module) {
    std::array<std::size_t, 31> offsets{};
    std::size_t at = 0;
    for (int i = 0; i < 31; ++i) {
        offsets[i] = at;
        at += module.sampleWords(i) * 2u;
    }
    return offsets;
}

unsigned fuchsLengthBytes(const ProTrackerModule& module, int sample) {
    return std::min(module.sampleWords(sample) * 2u, 0xFFFEu);
}

// Fuchs Tracker loop start in bytes: 0 unless the sample loops from a point inside it.
unsigned fuchsLoopStart(const ProTrackerModule& module, int sample) {
    const std::uint8_t* record = &module.header[20 + 30 * sample + 22];
    const unsigned start = get16(record + 4) * 2u;
    return get16(record + 6) > 1 && start < fuchsLengthBytes(module, sample) ? start : 0;
}
} // namespace

Bytes packStim(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    Bytes out(kStimHeader);
    std::memcpy(out.data(), "STIM", 4);
    put32(out, 8, 12);
    put16(out, 16, 31);
    put16(out, 18, module.songLength());
    put16(out, 20, patterns);
    std::copy_n(module.header.begin() + 952, module.songLength(), out.begin() + 22);
    for (unsigned p = 0; p < patterns; ++p) {
        const std::size_t start = out.size();
        put32(out, 150 + 4 * p, unsigned(start - 12));
        out.resize(start + 8);
        for (int channel = 0; channel < 4; ++channel) {
            put16(out, start + 2 * channel, unsigned(out.size() - start));
            appendStimChannel(out, module.patterns[p], channel);
        }
    }
    const std::size_t table = out.size();
    put32(out, 4, unsigned(table));
    out.resize(table + 4 * 31);
    const auto offsets = sampleOffsets(module);
    for (int i = 0; i < 31; ++i) {
        put32(out, table + 4 * i, unsigned(out.size() - table));
        const auto record = module.header.begin() + 20 + 30 * i + 22;
        out.insert(out.end(), record, record + 8);
        const auto data = module.sampleData.begin() + std::ptrdiff_t(offsets[i]);
        out.insert(out.end(), data, data + module.sampleWords(i) * 2);
    }
    return out;
}

Bytes expectedFromStim(const ProTrackerModule& module) {
    const auto header = songHeader(module, module.songLength());
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + highestOrder(header) + 1);
    for (Pattern& pattern : patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                Cell cell = readCell(pattern, row, channel);
                cell.period = periodOfNote(noteOf(cell.period));
                writeCell(pattern, row, channel, cell);
            }
    return assemble(header, patterns, module.sampleData, " STIM (Slamtilt)  ");
}

Bytes packFuchsTracker(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    const unsigned songLength = std::min(module.songLength(), kFuchsOrders);
    Bytes out(200);
    std::copy_n(module.header.begin(), 10, out.begin());
    unsigned sampleBytes = 0;
    for (unsigned i = 0; i < kFuchsSamples; ++i) {
        const unsigned length = fuchsLengthBytes(module, int(i));
        put16(out, 14 + 2 * i, length);
        put16(out, 46 + 2 * i, module.header[20 + 30 * i + 25]);
        put16(out, 78 + 2 * i, fuchsLoopStart(module, int(i)));
        sampleBytes += length;
    }
    put32(out, 10, sampleBytes);
    put16(out, 110, songLength);
    for (unsigned i = 0; i < songLength; ++i)
        put16(out, 112 + 2 * i, module.order(int(i)));
    std::memcpy(out.data() + 192, "SONG", 4);
    put32(out, 196, patterns * 1024);
    for (unsigned p = 0; p < patterns; ++p)
        out.insert(out.end(), module.patterns[p].begin(), module.patterns[p].end());
    out.insert(out.end(), {'I', 'N', 'S', 'T'});
    const auto offsets = sampleOffsets(module);
    for (unsigned i = 0; i < kFuchsSamples; ++i) {
        const auto data = module.sampleData.begin() + std::ptrdiff_t(offsets[i]);
        out.insert(out.end(), data, data + fuchsLengthBytes(module, int(i)));
    }
    return out;
}

Bytes expectedFromFuchsTracker(const ProTrackerModule& module) {
    auto header = songHeader(module, std::min(module.songLength(), kFuchsOrders));
    const auto offsets = sampleOffsets(module);
    Bytes samples;
    for (unsigned i = 0; i < 31; ++i) {
        Bytes record(8);
        if (i < kFuchsSamples) {
            const unsigned length = fuchsLengthBytes(module, int(i));
            const unsigned loopStart = fuchsLoopStart(module, int(i));
            put16(record, 0, length / 2);
            record[3] = module.header[20 + 30 * i + 25];
            put16(record, 4, loopStart / 2);
            put16(record, 6, loopStart > 0 ? (length - loopStart) / 2 : 1);
            const auto data = module.sampleData.begin() + std::ptrdiff_t(offsets[i]);
            samples.insert(samples.end(), data, data + length);
        } else {
            put16(record, 6, 1);
        }
        std::copy(record.begin(), record.end(), header.begin() + 20 + 30 * i + 22);
    }
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + highestOrder(header) + 1);
    return assemble(header, patterns, samples, "  Fuchs Tracker   ");
}

namespace {
constexpr unsigned kSoundFxSamples = 15;
constexpr std::size_t kSoundFxPatterns = 664;

// A ProTracker cell as Sound FX 1.3 stores it (4 bytes), and the cell it comes back as.
struct SoundFxCell {
    std::array<std::uint8_t, 4> packed{};
    Cell back;
};

SoundFxCell soundFxCell(const ProTrackerModule& module, const Cell& cell) {
    SoundFxCell out;
    out.back = {cell.sample, cell.period, 0, 0};
    const auto store = [&](unsigned effect, unsigned parameter) {
        out.packed = {static_cast<std::uint8_t>((cell.sample & 0xF0) | cell.period >> 8),
                      static_cast<std::uint8_t>(cell.period),
                      static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | effect),
                      static_cast<std::uint8_t>(parameter)};
    };
    const bool knownSample = cell.sample >= 1 && cell.sample <= kSoundFxSamples;
    const unsigned p = cell.parameter;
    if (cell.effect == 0) {
        store(p != 0 ? 1 : 0, p);
        out.back.parameter = p;
    } else if ((cell.effect == 1 || cell.effect == 2) && p >= 1 && p <= 15) {
        store(2, cell.effect == 1 ? p << 4 : p);
        out.back.effect = cell.effect;
        out.back.parameter = p;
    } else if (cell.effect == 0xE && p <= 1) {
        store(3 + p, 0);
        out.back.effect = 0xE;
        out.back.parameter = p;
    } else if (cell.effect == 0xC && knownSample) {
        const unsigned volume = module.header[20 + 30 * (cell.sample - 1) + 25];
        store(p >= volume ? 5 : 6, p >= volume ? p - volume : volume - p);
        out.back.effect = 0xC;
        out.back.parameter = std::min(p, 64u);
    } else if (cell.effect == 0xD && cell.sample == 0 && cell.period == 0) {
        out.packed = {0xFF, 0xFD, 0, 0};
        out.back.effect = 0xD;
    } else {
        // Volume steps without a sample and effects Sound FX cannot hold are dropped.
        store(cell.effect == 0xC ? 5 : 7, p);
    }
    return out;
}
} // namespace

Bytes packSoundFx13(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    Bytes out(kSoundFxPatterns);
    const auto offsets = sampleOffsets(module);
    Bytes samples;
    for (unsigned i = 0; i < kSoundFxSamples; ++i) {
        const std::uint8_t* record = &module.header[20 + 30 * i + 22];
        const unsigned words = get16(record);
        put32(out, 4 * i, words * 2);
        put16(out, 80 + 30 * i + 22, words);
        put16(out, 80 + 30 * i + 24, record[3]);
        put16(out, 80 + 30 * i + 26, get16(record + 4) * 2);
        put16(out, 80 + 30 * i + 28, get16(record + 6));
        const auto data = module.sampleData.begin() + std::ptrdiff_t(offsets[i]);
        samples.insert(samples.end(), data, data + words * 2);
    }
    std::memcpy(out.data() + 60, "SONG", 4);
    put16(out, 64, 14187);
    out[530] = static_cast<std::uint8_t>(module.songLength());
    std::copy_n(module.header.begin() + 952, module.songLength(), out.begin() + 532);
    for (unsigned p = 0; p < patterns; ++p)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const auto cell = soundFxCell(module, readCell(module.patterns[p], row, channel));
                out.insert(out.end(), cell.packed.begin(), cell.packed.end());
            }
    out.insert(out.end(), samples.begin(), samples.end());
    return out;
}

Bytes expectedFromSoundFx13(const ProTrackerModule& module) {
    auto header = songHeader(module, module.songLength());
    Bytes samples;
    const auto offsets = sampleOffsets(module);
    for (unsigned i = 0; i < 31; ++i) {
        std::uint8_t* record = &header[20 + 30 * i + 22];
        if (i < kSoundFxSamples) {
            record[2] = 0;
            if (get16(record + 6) == 0)
                record[7] = 1;
            const auto data = module.sampleData.begin() + std::ptrdiff_t(offsets[i]);
            samples.insert(samples.end(), data, data + get16(record) * 2);
        } else {
            std::fill_n(record, 8, 0);
            record[7] = 1;
        }
    }
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + highestOrder(header) + 1);
    for (Pattern& pattern : patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                writeCell(pattern, row, channel,
                          soundFxCell(module, readCell(pattern, row, channel)).back);
    return assemble(header, patterns, samples, "     Sound FX     ");
}
