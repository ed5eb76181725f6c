#include "TaggedDPacker.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kNameBytes = 22;
constexpr std::size_t kOrderList = 952;

// The record of sample `i` without its name: length, finetune, volume, loop start, loop length.
const std::uint8_t* recordOf(const ProTrackerModule& module, int i) {
    return module.header.data() + kRecords + kRecordBytes * std::size_t(i) + kNameBytes;
}

std::vector<Pattern> songPatterns(const ProTrackerModule& module) {
    return {module.patterns.begin(), module.patterns.begin() + songPatternCount(module)};
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

std::vector<Pattern> snappedSongPatterns(const ProTrackerModule& module) {
    std::vector<Pattern> patterns = songPatterns(module);
    std::transform(patterns.begin(), patterns.end(), patterns.begin(), snapped);
    return patterns;
}

// The header the ripper writes back before its patterns: restart 0x7F, no orders behind the song.
std::array<std::uint8_t, 1084> songHeader(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + kOrderList + std::min(module.songLength(), 128u),
              header.begin() + 1080, 0);
    return header;
}

void emptyRecord(std::array<std::uint8_t, 1084>& header, int i) {
    const std::size_t at = kRecords + kRecordBytes * std::size_t(i) + kNameBytes;
    std::fill(header.begin() + std::ptrdiff_t(at), header.begin() + std::ptrdiff_t(at) + 8, 0);
    header[at + 7] = 1;
}

Bytes packPolkaTagged(const ProTrackerModule& module, const char* tag) {
    Bytes out(module.header.begin(), module.header.end());
    std::memcpy(out.data() + 1080, tag, 4);
    for (const Pattern& pattern : songPatterns(module))
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(pattern, row, channel);
                out.insert(out.end(),
                           {std::uint8_t(cell.sample), std::uint8_t(noteOf(cell.period) * 2),
                            std::uint8_t(cell.effect), std::uint8_t(cell.parameter)});
            }
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

using Track = std::array<std::uint8_t, 256>;

Track trackOf(const Pattern& pattern, int channel) {
    Track track{};
    for (int row = 0; row < 64; ++row)
        std::memcpy(&track[4 * std::size_t(row)], &pattern[16 * std::size_t(row) + 4 * channel], 4);
    return track;
}

Bytes packIceTrackerTagged(const ProTrackerModule& module, const char* tag) {
    Bytes out(1468, 0);
    std::copy(module.header.begin(), module.header.begin() + 951, out.begin());
    std::memcpy(out.data() + 1464, tag, 4);
    std::map<Track, unsigned> numbers;
    Bytes tracks;
    for (unsigned i = 0; i < module.songLength(); ++i)
        for (int channel = 0; channel < 4; ++channel) {
            const Track track = trackOf(module.patterns[module.order(int(i))], channel);
            auto [it, added] = numbers.emplace(track, unsigned(numbers.size()));
            if (added)
                tracks.insert(tracks.end(), track.begin(), track.end());
            out[kOrderList + 4 * i + std::size_t(channel)] = std::uint8_t(it->second);
        }
    if (numbers.size() > 255)
        throw std::length_error("more tracks than SoundTracker 2.6 stores");
    out[951] = std::uint8_t(numbers.size());
    out.insert(out.end(), tracks.begin(), tracks.end());
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

// Number of records TMK stores: up to the last sample with data.
int tmkSampleCount(const ProTrackerModule& module) {
    int count = 1;
    for (int i = 0; i < 31; ++i)
        if (module.sampleWords(i) != 0)
            count = i + 1;
    return count;
}

Bytes packTmkCoded(const ProTrackerModule& module, bool delta) {
    const int samples = tmkSampleCount(module);
    const std::vector<Pattern> patterns = songPatterns(module);
    Bytes out = {'T', 'M', 'K', 1};
    out.insert(out.end(), {std::uint8_t(module.songLength()), std::uint8_t(samples),
                           std::uint8_t(delta ? 1 : 0), std::uint8_t(patterns.size())});
    for (int i = 0; i < samples; ++i)
        out.insert(out.end(), recordOf(module, i), recordOf(module, i) + 8);
    out.insert(out.end(), module.header.begin() + kOrderList,
               module.header.begin() + kOrderList + module.songLength());
    if (module.songLength() % 2 != 0)
        out.push_back(0);
    for (const Pattern& pattern : patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(pattern, row, channel);
                out.insert(out.end(),
                           {std::uint8_t((cell.sample & 0x10) << 2 | noteOf(cell.period)),
                            std::uint8_t((cell.sample & 0x0F) << 4 | cell.effect),
                            std::uint8_t(cell.parameter)});
            }
    std::size_t at = 0;
    for (int i = 0; i < 31; ++i) {
        std::uint8_t previous = 0;
        for (std::size_t end = at + module.sampleWords(i) * 2u; at < end; ++at) {
            const std::uint8_t value = module.sampleData[at];
            out.push_back(delta ? std::uint8_t(value - previous) : value);
            previous = value;
        }
    }
    return out;
}

Bytes expectedTmk(const ProTrackerModule& module, bool delta) {
    std::array<std::uint8_t, 1084> header = songHeader(module);
    for (int i = tmkSampleCount(module); i < 31; ++i)
        emptyRecord(header, i);
    Bytes out =
        assemble(header, snappedSongPatterns(module), module.sampleData, "        TMK       ");
    if (delta)
        std::memcpy(out.data() + 770, "[! smp were DELTA  ]", 20);
    return out;
}

void putBytes(Bytes& out, std::size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), out.begin() + std::ptrdiff_t(at));
}
} // namespace

Bytes packPolka(const ProTrackerModule& module) {
    return packPolkaTagged(module, "PWR.");
}

Bytes packPolkaPsux(const ProTrackerModule& module) {
    return packPolkaTagged(module, "PSUX");
}

Bytes packSoundTracker26(const ProTrackerModule& module) {
    return packIceTrackerTagged(module, "MTN\0");
}

Bytes packIceTracker(const ProTrackerModule& module) {
    return packIceTrackerTagged(module, "IT10");
}

Bytes packTmk(const ProTrackerModule& module) {
    return packTmkCoded(module, false);
}

Bytes packTmkDelta(const ProTrackerModule& module) {
    return packTmkCoded(module, true);
}

Bytes packQuadraComposer(const ProTrackerModule& module) {
    std::vector<int> samples;
    for (int i = 0; i < 31; ++i)
        if (module.sampleWords(i) != 0)
            samples.push_back(i);
    const std::vector<Pattern> patterns = songPatterns(module);
    const std::size_t patternTable = 64 + 34 * samples.size();
    const std::size_t positions = patternTable + 2 + 26 * patterns.size();
    const std::size_t headerEnd = positions + 1 + module.songLength();
    const std::size_t patternChunk = headerEnd + headerEnd % 2;
    const std::size_t sampleChunk = patternChunk + 8 + 1024 * patterns.size();

    Bytes out(sampleChunk + 8);
    std::memcpy(out.data(), "FORM\0\0\0\0EMODEMIC", 16); // the FORM size is written last
    put32(out, 16, unsigned(headerEnd - 20));
    put16(out, 20, 1);
    std::copy(module.header.begin(), module.header.begin() + 20, out.begin() + 22);
    out[62] = 125;
    out[63] = std::uint8_t(samples.size());
    std::size_t sampleAddress = sampleChunk + 8;
    for (std::size_t k = 0; k < samples.size(); ++k) {
        const int i = samples[k];
        const std::uint8_t* record = recordOf(module, i);
        const std::size_t at = 64 + 34 * k;
        const unsigned loopWords = get16(record + 6);
        out[at] = std::uint8_t(i + 1);
        out[at + 1] = record[3];
        putBytes(out, at + 2, {record[0], record[1]});
        out[at + 24] = loopWords > 1 ? 1 : 0;
        out[at + 25] = record[2];
        putBytes(out, at + 26, {record[4], record[5], record[6], record[7]});
        put32(out, at + 30, unsigned(sampleAddress));
        sampleAddress += module.sampleWords(i) * 2u;
    }
    put16(out, patternTable, unsigned(patterns.size()));
    for (std::size_t p = 0; p < patterns.size(); ++p) {
        const std::size_t at = patternTable + 2 + 26 * p;
        out[at] = std::uint8_t(p);
        out[at + 1] = 63;
        put32(out, at + 22, unsigned(patternChunk + 8 + 1024 * p));
    }
    out[positions] = std::uint8_t(module.songLength());
    std::copy(module.header.begin() + kOrderList,
              module.header.begin() + kOrderList + module.songLength(),
              out.begin() + std::ptrdiff_t(positions + 1));

    std::memcpy(out.data() + patternChunk, "PATT", 4);
    put32(out, patternChunk + 4, unsigned(1024 * patterns.size()));
    for (std::size_t p = 0; p < patterns.size(); ++p)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(patterns[p], row, channel);
                putBytes(out, patternChunk + 8 + 1024 * p + 16 * std::size_t(row) + 4 * channel,
                         {std::uint8_t(cell.sample), std::uint8_t(noteOf(cell.period)),
                          std::uint8_t(cell.effect), std::uint8_t(cell.parameter)});
            }
    std::memcpy(out.data() + sampleChunk, "SMPL", 4);
    put32(out, sampleChunk + 4, unsigned(module.sampleData.size()));
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    put32(out, 4, unsigned(out.size() - 8));
    return out;
}

Bytes expectedFromPolka(const ProTrackerModule& module) {
    return assemble(songHeader(module), snappedSongPatterns(module), module.sampleData,
                    "   Polka Packer   ");
}

Bytes expectedFromIceTracker(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = songHeader(module);
    std::vector<Pattern> patterns;
    for (unsigned i = 0; i < module.songLength(); ++i) {
        const Pattern& pattern = module.patterns[module.order(int(i))];
        const auto known = std::find(patterns.begin(), patterns.end(), pattern);
        header[kOrderList + i] = std::uint8_t(known - patterns.begin());
        if (known == patterns.end())
            patterns.push_back(pattern);
    }
    return assemble(header, patterns, module.sampleData, " SoundTracker 2.6 ");
}

Bytes expectedFromTmk(const ProTrackerModule& module) {
    return expectedTmk(module, false);
}

Bytes expectedFromTmkDelta(const ProTrackerModule& module) {
    return expectedTmk(module, true);
}

Bytes expectedFromQuadraComposer(const ProTrackerModule& module) {
    std::array<std::uint8_t, 1084> header = songHeader(module);
    for (int i = 0; i < 31; ++i) {
        const std::size_t at = kRecords + kRecordBytes * std::size_t(i) + kNameBytes;
        if (module.sampleWords(i) == 0)
            emptyRecord(header, i);
        else if (get16(&header[at + 6]) <= 1)
            std::memcpy(&header[at + 4], "\0\0\0\1", 4);
    }
    return assemble(header, snappedSongPatterns(module), module.sampleData, " Quadra Composer  ");
}
