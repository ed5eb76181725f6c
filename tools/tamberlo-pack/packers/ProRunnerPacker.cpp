#include "ProRunnerPacker.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr std::size_t kPatternData = 770; // ProRunner 2: start of the pattern data
constexpr std::uint8_t kEmptyCell = 0x80;
constexpr std::uint8_t kRepeatCell = 0xC0;

bool isEmpty(const Cell& cell) {
    return cell.sample == 0 && cell.period == 0 && cell.effect == 0 && cell.parameter == 0;
}

// The pattern's cells in ProRunner 2's stream: one byte for an empty cell or for one equal to
// the channel's last three-byte cell in this pattern, three bytes otherwise.
void appendProRunner2Pattern(Bytes& out, const Pattern& pattern) {
    std::array<Bytes, 4> last;
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel) {
            const Cell cell = readCell(pattern, row, channel);
            if (isEmpty(cell)) {
                out.push_back(kEmptyCell);
                continue;
            }
            const Bytes packed = {
                static_cast<std::uint8_t>(noteOf(cell.period) << 1 | (cell.sample & 1)),
                static_cast<std::uint8_t>((cell.sample >> 1) << 4 | cell.effect),
                static_cast<std::uint8_t>(cell.parameter)};
            if (packed == last[channel]) {
                out.push_back(kRepeatCell);
                continue;
            }
            out.insert(out.end(), packed.begin(), packed.end());
            last[channel] = packed;
        }
}

// What both formats give back: the song's patterns with periods on the finetune-0 table.
Bytes expectedFromProRunner(const ProTrackerModule& module, const char* bannerName) {
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
    return assemble(header, patterns, module.sampleData, bannerName);
}
} // namespace

Bytes packProRunner1(const ProTrackerModule& module) {
    Bytes out(module.header.begin(), module.header.end());
    std::memcpy(out.data() + 1080, "SNT.", 4);
    for (const Pattern& pattern : module.patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = readCell(pattern, row, channel);
                out.push_back(static_cast<std::uint8_t>(cell.sample));
                out.push_back(static_cast<std::uint8_t>(noteOf(cell.period)));
                out.push_back(static_cast<std::uint8_t>(cell.effect));
                out.push_back(static_cast<std::uint8_t>(cell.parameter));
            }
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes packProRunner2(const ProTrackerModule& module) {
    Bytes out(kPatternData);
    std::memcpy(out.data(), "SNT!", 4);
    for (int i = 0; i < 31; ++i)
        std::copy_n(module.header.begin() + 20 + 30 * i + 22, 8, out.begin() + 8 + 8 * i);
    out[256] = static_cast<std::uint8_t>(module.songLength());
    out[257] = 0x7F;
    std::copy_n(module.header.begin() + 952, module.songLength(), out.begin() + 258);
    for (unsigned p = 0; p < songPatternCount(module); ++p) {
        put16(out, 642 + 2 * p, unsigned(out.size() - kPatternData));
        appendProRunner2Pattern(out, module.patterns[p]);
    }
    put32(out, 4, unsigned(out.size()));
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expectedFromProRunner1(const ProTrackerModule& module) {
    return expectedFromProRunner(module, "   ProRunner v1   ");
}

Bytes expectedFromProRunner2(const ProTrackerModule& module) {
    return expectedFromProRunner(module, "   ProRunner v2   ");
}
