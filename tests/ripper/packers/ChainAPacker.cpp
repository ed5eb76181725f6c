#include "ChainAPacker.h"

#include <algorithm>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kNameBytes = 22;
constexpr std::size_t kOrderList = 952;

const std::uint8_t* recordOf(const ProTrackerModule& module, int sample) {
    return module.header.data() + kRecords + kRecordBytes * std::size_t(sample) + kNameBytes;
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

// The module the converters write: restart 0x7F, no order entries behind the song and only the
// patterns the song plays, their periods snapped where the format stores note numbers.
Bytes expectedSong(const ProTrackerModule& module, bool snap, const char* bannerName) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + kOrderList + module.songLength(), header.begin() + 1080, 0);
    std::vector<Pattern> patterns(module.patterns.begin(),
                                  module.patterns.begin() + songPatternCount(module));
    if (snap)
        std::transform(patterns.begin(), patterns.end(), patterns.begin(), snapped);
    return assemble(header, patterns, module.sampleData, bannerName);
}

void append(Bytes& out, const Bytes& more) {
    out.insert(out.end(), more.begin(), more.end());
}

Bytes diPattern(const Pattern& pattern) {
    Bytes stream;
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel) {
            const Cell cell = readCell(pattern, row, channel);
            const unsigned note = noteOf(cell.period);
            if (cell.sample == 0 && note == 0 && cell.effect == 0 && cell.parameter == 0) {
                stream.push_back(0xFF);
                continue;
            }
            const auto first =
                std::uint8_t((cell.parameter ? 0x80 : 0) | cell.sample << 2 | note >> 4);
            stream.insert(stream.end(), {first, std::uint8_t((note & 0x0F) << 4 | cell.effect)});
            if (cell.parameter)
                stream.push_back(std::uint8_t(cell.parameter));
        }
    // The empty cells at the end are left out; one byte stays so every pattern has an address
    // of its own.
    while (stream.size() > 1 && stream.back() == 0xFF)
        stream.pop_back();
    return stream;
}
} // namespace

Bytes packDigitalIllusion(const ProTrackerModule& module) {
    const unsigned patterns = songPatternCount(module);
    const std::size_t addresses = 14 + 8 * 31;
    const std::size_t orders = addresses + 2 * patterns;
    const std::size_t patternData = orders + module.songLength() + 1;
    Bytes out(patternData);
    put16(out, 0, 31);
    put32(out, 2, unsigned(orders));
    put32(out, 6, unsigned(patternData));
    for (int i = 0; i < 31; ++i)
        std::copy_n(recordOf(module, i), 8, out.begin() + 14 + 8 * i);
    std::copy_n(module.header.begin() + kOrderList, module.songLength(), out.begin() + orders);
    out[patternData - 1] = 0xFF;
    for (unsigned p = 0; p < patterns; ++p) {
        put16(out, addresses + 2 * p, unsigned(out.size()));
        append(out, diPattern(module.patterns[p]));
    }
    put32(out, 10, unsigned(out.size()));
    append(out, module.sampleData);
    return out;
}

Bytes expectedFromDigitalIllusion(const ProTrackerModule& module) {
    return expectedSong(module, true, " Digital Illusion ");
}
