#include "ModulePacker.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>

constexpr unsigned kPeriods[37] = {0,   856, 808, 762, 720, 678, 640, 604, 570, 538, 508, 480, 453,
                                   428, 404, 381, 360, 339, 320, 302, 285, 269, 254, 240, 226, 214,
                                   202, 190, 180, 170, 160, 151, 143, 135, 127, 120, 113};

unsigned periodOfNote(unsigned note) {
    return note < 37 ? kPeriods[note] : 0;
}

void put16(Bytes& out, std::size_t at, unsigned value) {
    out[at] = static_cast<std::uint8_t>(value >> 8);
    out[at + 1] = static_cast<std::uint8_t>(value);
}
void put32(Bytes& out, std::size_t at, unsigned value) {
    put16(out, at, value >> 16);
    put16(out, at + 2, value & 0xFFFF);
}
unsigned get16(const std::uint8_t* at) {
    return at[0] << 8 | at[1];
}

unsigned noteOf(unsigned period) {
    if (period == 0)
        return 0;
    unsigned best = 1;
    for (unsigned i = 1; i < 37; ++i)
        if (std::abs(int(kPeriods[i]) - int(period)) < std::abs(int(kPeriods[best]) - int(period)))
            best = i;
    return best;
}

namespace {
// A volume-slide style parameter as NoisePacker v2 stores it: up-slides as the nibble, down
// slides negated. nullopt when both nibbles are set and the value is 0x80 or more.
std::optional<unsigned> packSlide(unsigned value) {
    if (value == 0)
        return 0u;
    if ((value & 0x0F) == 0)
        return value >> 4;
    if (value < 0x80)
        return (256 - value) & 0xFF;
    return std::nullopt;
}

struct PackedEffect {
    unsigned effect, parameter;
};

// How NoisePacker v2 stores a ProTracker effect; nullopt when it cannot.
std::optional<PackedEffect> packNoisePackerEffect(unsigned effect, unsigned value) {
    switch (effect) {
    case 0x0:
        return value == 0 ? PackedEffect{0, 0} : PackedEffect{8, value}; // arpeggio
    case 0x7: // tremolo: 7 is the packed volume slide
    case 0x8:
        return std::nullopt;
    case 0xA:
    case 0x5:
    case 0x6:
        if (auto slide = packSlide(value))
            return PackedEffect{effect == 0xA ? 7u : effect, *slide};
        return std::nullopt;
    case 0xE:
        return PackedEffect{0xE, (value + 1) & 0xFF};
    case 0xB:
        if (value > 127)
            return std::nullopt;
        return PackedEffect{0xB, (2 * value - 4) & 0xFF};
    default:
        return PackedEffect{effect, value};
    }
}

// The cell as the ripper gives it back from NoisePacker v2.
Cell noisePackerRoundTrip(Cell cell) {
    cell.period = kPeriods[noteOf(cell.period)];
    if (!packNoisePackerEffect(cell.effect, cell.parameter))
        cell.effect = cell.parameter = 0;
    return cell;
}

Cell ac1dRoundTrip(Cell cell) {
    cell.period = kPeriods[noteOf(cell.period)];
    if (cell.effect == 7) // stored without its parameter, read back as effect 0
        cell.effect = cell.parameter = 0;
    return cell;
}
} // namespace

unsigned songPatternCount(const ProTrackerModule& module) {
    unsigned highest = 0;
    for (unsigned i = 0; i < module.songLength(); ++i)
        highest = std::max(highest, module.order(int(i)));
    return highest + 1;
}

Bytes assemble(std::array<std::uint8_t, 1084> header, const std::vector<Pattern>& patterns,
               const Bytes& samples, const char* bannerName) {
    std::fill(header.begin(), header.begin() + 20, 0);
    for (int i = 0; i < 31; ++i)
        std::fill(header.begin() + 20 + 30 * i, header.begin() + 42 + 30 * i, 0);
    std::memcpy(header.data() + 1080, "M.K.", 4);
    const char banner[5][24] = {"[  Converted with  ]", "[ Nograsti ]", "[ written by Quib! ]",
                                "[ Original Format: ]", ""};
    const int offsets[4] = {560, 590, 620, 680};
    for (int i = 0; i < 4; ++i)
        std::memcpy(header.data() + offsets[i], banner[i], std::strlen(banner[i]));
    header[710] = '[';
    std::memcpy(header.data() + 711, bannerName, 18);
    header[729] = ']';
    Bytes out(header.begin(), header.end());
    for (const Pattern& pattern : patterns)
        out.insert(out.end(), pattern.begin(), pattern.end());
    out.insert(out.end(), samples.begin(), samples.end());
    return out;
}

namespace {
// Highest sample slot (1-31) with data or used by a note of the first `patterns` patterns.
unsigned noisePackerSampleCount(const ProTrackerModule& module, unsigned patterns) {
    unsigned count = 1;
    for (int i = 0; i < 31; ++i)
        if (module.sampleWords(i) > 0)
            count = std::max(count, unsigned(i + 1));
    for (unsigned p = 0; p < patterns; ++p)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                count = std::max(count, readCell(module.patterns[p], row, channel).sample);
    return count;
}
} // namespace

Cell readCell(const Pattern& pattern, int row, int channel) {
    const std::uint8_t* at = &pattern[row * 16 + channel * 4];
    return {unsigned((at[0] & 0xF0) | at[2] >> 4), unsigned((at[0] & 0x0F) << 8 | at[1]),
            unsigned(at[2] & 0x0F), at[3]};
}

void writeCell(Pattern& pattern, int row, int channel, const Cell& cell) {
    std::uint8_t* at = &pattern[row * 16 + channel * 4];
    at[0] = static_cast<std::uint8_t>((cell.sample & 0xF0) | cell.period >> 8);
    at[1] = static_cast<std::uint8_t>(cell.period & 0xFF);
    at[2] = static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | cell.effect);
    at[3] = static_cast<std::uint8_t>(cell.parameter);
}

std::optional<ProTrackerModule> ProTrackerModule::parse(const Bytes& file) {
    ProTrackerModule module;
    if (file.size() < 1084 || std::memcmp(file.data() + 1080, "M.K.", 4) != 0)
        return std::nullopt;
    std::copy_n(file.begin(), 1084, module.header.begin());
    unsigned highest = 0;
    for (int i = 0; i < 128; ++i)
        highest = std::max(highest, module.order(i));
    std::size_t at = 1084;
    for (unsigned p = 0; p <= highest; ++p, at += 1024) {
        if (at + 1024 > file.size())
            return std::nullopt;
        Pattern pattern;
        std::copy_n(file.begin() + std::ptrdiff_t(at), 1024, pattern.begin());
        module.patterns.push_back(pattern);
    }
    std::size_t sampleBytes = 0;
    for (int i = 0; i < 31; ++i)
        sampleBytes += module.sampleWords(i) * 2;
    module.sampleData.assign(sampleBytes, 0);
    if (at < file.size())
        std::copy_n(file.begin() + std::ptrdiff_t(at), std::min(sampleBytes, file.size() - at),
                    module.sampleData.begin());
    return module;
}

ProTrackerModule ProTrackerModule::blank(int patternCount) {
    ProTrackerModule module;
    module.header[950] = 1;
    module.header[951] = 0x7F;
    std::memcpy(module.header.data() + 1080, "M.K.", 4);
    module.patterns.assign(std::size_t(patternCount), Pattern{});
    return module;
}

unsigned ProTrackerModule::sampleWords(int sample) const {
    return get16(&header[20 + 30 * sample + 22]);
}

void ProTrackerModule::setSample(int sample, unsigned words, unsigned finetune, unsigned volume,
                                 unsigned loopStartWords, unsigned loopWords) {
    Bytes record(8);
    put16(record, 0, words);
    record[2] = static_cast<std::uint8_t>(finetune);
    record[3] = static_cast<std::uint8_t>(volume);
    put16(record, 4, loopStartWords);
    put16(record, 6, loopWords);
    std::copy(record.begin(), record.end(), header.begin() + 20 + 30 * sample + 22);
    std::size_t bytes = 0;
    for (int i = 0; i < 31; ++i)
        bytes += sampleWords(i) * 2;
    sampleData.resize(bytes);
    for (std::size_t i = 0; i < bytes; ++i)
        sampleData[i] = static_cast<std::uint8_t>(i * 7);
}

Bytes ProTrackerModule::bytes() const {
    Bytes out(header.begin(), header.end());
    for (const Pattern& pattern : patterns)
        out.insert(out.end(), pattern.begin(), pattern.end());
    out.insert(out.end(), sampleData.begin(), sampleData.end());
    return out;
}

Bytes packNoisePackerV2(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    const unsigned n = noisePackerSampleCount(module, patterns);
    const unsigned songLength = module.songLength();
    // Tracks, shared between patterns when equal; the table lists channel 4 first.
    std::map<Bytes, unsigned> trackAddress;
    Bytes tracks, table(patterns * 8);
    for (unsigned p = 0; p < patterns; ++p) {
        for (int channel = 0; channel < 4; ++channel) {
            Bytes track(192);
            for (int row = 0; row < 64; ++row) {
                const Cell cell = readCell(module.patterns[p], row, channel);
                const auto effect =
                    packNoisePackerEffect(cell.effect, cell.parameter).value_or(PackedEffect{0, 0});
                track[3 * row] =
                    static_cast<std::uint8_t>(noteOf(cell.period) << 1 | cell.sample >> 4);
                track[3 * row + 1] =
                    static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | effect.effect);
                track[3 * row + 2] = static_cast<std::uint8_t>(effect.parameter);
            }
            auto [it, added] = trackAddress.emplace(track, unsigned(tracks.size()));
            if (added)
                tracks.insert(tracks.end(), track.begin(), track.end());
            put16(table, p * 8 + 2 * (3 - channel), it->second);
        }
    }
    Bytes out(8 + 16 * n + 4 + 2 * songLength);
    out[0] = static_cast<std::uint8_t>(n >> 4);
    out[1] = static_cast<std::uint8_t>((n & 0x0F) << 4 | 0x0C);
    put16(out, 2, 2 * songLength);
    put16(out, 6, unsigned(tracks.size()));
    for (unsigned i = 0; i < n; ++i) {
        const std::uint8_t* record = &module.header[20 + 30 * i + 22];
        const std::size_t at = 8 + 16 * i;
        put16(out, at + 4, get16(record));
        out[at + 6] = record[2];
        out[at + 7] = record[3];
        put16(out, at + 12, get16(record + 6));
        put16(out, at + 14, get16(record + 4));
    }
    for (unsigned i = 0; i < songLength; ++i)
        put16(out, 12 + 16 * n + 2 * i, module.order(int(i)) * 8);
    out.insert(out.end(), table.begin(), table.end());
    out.insert(out.end(), tracks.begin(), tracks.end());
    std::size_t sampleBytes = 0;
    for (unsigned i = 0; i < n; ++i)
        sampleBytes += module.sampleWords(int(i)) * 2;
    out.insert(out.end(), module.sampleData.begin(),
               module.sampleData.begin() + std::ptrdiff_t(sampleBytes));
    return out;
}

Bytes packAc1d(const ProTrackerModule& module) {
    Bytes out(896);
    out[0] = module.header[950];
    out[1] = module.header[951];
    out[2] = 0xAC;
    out[3] = 0x1D;
    for (int i = 0; i < 31; ++i)
        std::copy_n(module.header.begin() + 20 + 30 * i + 22, 8, out.begin() + 8 + 8 * i);
    std::copy_n(module.header.begin() + 952, 128, out.begin() + 768);
    for (std::size_t p = 0; p < module.patterns.size(); ++p) {
        put32(out, 256 + 4 * p, unsigned(out.size() - 12));
        for (int channel = 0; channel < 4; ++channel) {
            int emptyRun = 0;
            for (int row = 0; row <= 64; ++row) {
                const Cell cell = row < 64 ? readCell(module.patterns[p], row, channel) : Cell{};
                const bool empty = row < 64 && cell.sample == 0 && cell.period == 0 &&
                                   cell.effect == 0 && cell.parameter == 0;
                if (empty) {
                    ++emptyRun;
                    continue;
                }
                if (emptyRun > 0)
                    out.push_back(static_cast<std::uint8_t>(0x80 | emptyRun));
                emptyRun = 0;
                if (row == 64)
                    break;
                const unsigned note = cell.period == 0 ? 0x3F : noteOf(cell.period) + 11;
                out.push_back(static_cast<std::uint8_t>((cell.sample >> 4 & 1) << 6 | note));
                out.push_back(static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | cell.effect));
                if (cell.effect != 7)
                    out.push_back(static_cast<std::uint8_t>(cell.parameter));
            }
        }
    }
    put32(out, 256 + 4 * unsigned(module.patterns.size()), unsigned(out.size() - 12));
    put32(out, 4, unsigned(out.size()));
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromNoisePackerV2(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    const unsigned n = noisePackerSampleCount(module, patterns);
    std::array<std::uint8_t, 1084> header = module.header;
    for (unsigned i = n; i < 31; ++i) {
        std::fill_n(header.begin() + 20 + 30 * i, 30, 0);
        header[20 + 30 * i + 29] = 1;
    }
    header[951] = 0x7F;
    for (unsigned i = module.songLength(); i < 128; ++i)
        header[952 + i] = i == 29 ? 1 : 0; // the empty record's loop length 1, left behind
    std::vector<Pattern> out(module.patterns.begin(), module.patterns.begin() + patterns);
    for (Pattern& pattern : out)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                writeCell(pattern, row, channel,
                          noisePackerRoundTrip(readCell(pattern, row, channel)));
    std::size_t sampleBytes = 0;
    for (unsigned i = 0; i < n; ++i)
        sampleBytes += module.sampleWords(int(i)) * 2;
    const Bytes samples(module.sampleData.begin(),
                        module.sampleData.begin() + std::ptrdiff_t(sampleBytes));
    return assemble(header, out, samples, "  NoisePacker v2  ");
}

Bytes expectedFromAc1d(const ProTrackerModule& module) {
    std::vector<Pattern> out = module.patterns;
    for (Pattern& pattern : out)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                writeCell(pattern, row, channel, ac1dRoundTrip(readCell(pattern, row, channel)));
    return assemble(module.header, out, module.sampleData, "   AC1D Packer    ");
}
