#include "UnicPacker.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr std::size_t kRecords = 20;
constexpr std::size_t kRecordBytes = 30;
constexpr std::size_t kOrderList = 952;

unsigned finetuneOf(const ProTrackerModule& module, int sample) {
    return module.header[kRecords + kRecordBytes * std::size_t(sample) + 24] & 0x0Fu;
}

// The ProTracker cells of a pattern as UNIC's three bytes: note number with the sample's bit 4
// in bit 6, sample low nibble and effect, parameter.
void appendPattern(Bytes& out, const Pattern& pattern) {
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel) {
            const Cell cell = readCell(pattern, row, channel);
            out.insert(out.end(), {std::uint8_t(noteOf(cell.period) | (cell.sample & 0x10) << 2),
                                   std::uint8_t((cell.sample & 0x0F) << 4 | cell.effect),
                                   std::uint8_t(cell.parameter)});
        }
}

// `tag`: the 4 bytes at 1080, or nullptr for v2, which has none.
Bytes pack(const ProTrackerModule& module, const char* tag) {
    Bytes out(module.header.begin(), module.header.begin() + 1080);
    for (int i = 0; i < 31; ++i) {
        const std::size_t record = kRecords + kRecordBytes * std::size_t(i);
        const int finetune = int(finetuneOf(module, i) ^ 8) - 8; // the signed nibble
        put16(out, record + 20, unsigned(-finetune) & 0xFFFF);
        out[record + 24] = 0;
    }
    out[951] = 0;
    if (tag)
        out.insert(out.end(), tag, tag + 4);
    for (const Pattern& pattern : module.patterns)
        appendPattern(out, pattern);
    out.insert(out.end(), module.sampleData.begin(), module.sampleData.end());
    return out;
}

Bytes expected(const ProTrackerModule& module, const char* bannerName) {
    std::array<std::uint8_t, 1084> header = module.header;
    header[951] = 0x7F;
    std::fill(header.begin() + kOrderList + std::min(module.songLength(), 128u),
              header.begin() + 1080, 0);
    for (int i = 0; i < 31; ++i)
        header[kRecords + kRecordBytes * std::size_t(i) + 24] = std::uint8_t(finetuneOf(module, i));
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

Bytes packUnicV1(const ProTrackerModule& module) {
    return pack(module, "\0\0\0\0");
}
Bytes packUnicV1MK(const ProTrackerModule& module) {
    return pack(module, "M.K.");
}
Bytes packUnicV1Tag(const ProTrackerModule& module) {
    return pack(module, "UNIC");
}
Bytes packUnicV2(const ProTrackerModule& module) {
    return pack(module, nullptr);
}

Bytes expectedFromUnicV1(const ProTrackerModule& module) {
    return expected(module, "   UNIC Tracker   ");
}
Bytes expectedFromUnicV2(const ProTrackerModule& module) {
    return expected(module, "  UNIC Tracker 2  ");
}
