#include "AdlibDumpWriter.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>
#include <utility>

namespace chipgen {

namespace {

constexpr int ImfTickHz = 560;

// One register write followed by a wait.
struct Write {
    uint8_t reg = 0;
    uint8_t value = 0;
    uint32_t delayMs = 0;
};

// The register writes of `song` on channel 0 (modulator operator 0, carrier operator 3).
std::vector<Write> songWrites(const AdlibSong& song) {
    std::vector<Write> writes = {
        {0x01, 0x20, 0}, // enable waveform select
        {0x20, 0x21, 0}, // modulator: sustained envelope, multiple 1
        {0x40, 0x3F, 0}, // modulator silent: the carrier alone gives a pure sine
        {0x60, 0xF0, 0}, // fast attack, no decay
        {0x80, 0x0F, 0}, // full sustain, fast release
        {0xE0, 0x00, 0}, // sine
        {0x23, 0x21, 0}, // carrier: sustained envelope (held while keyed), multiple 1
        {0x43, 0x00, 0}, // carrier loudest
        {0x63, 0xF0, 0}, {0x83, 0x0F, 0},
        {0xE3, 0x00, 0}, {0xC0, 0x01, 0}, // additive connection: both operators sound, no feedback
    };
    for (const AdlibNote& note : song.notes) {
        const uint8_t high = static_cast<uint8_t>(((note.block & 7) << 2) | ((note.fnum >> 8) & 3));
        writes.push_back({0xA0, static_cast<uint8_t>(note.fnum & 0xFF), 0});
        writes.push_back({0xB0, static_cast<uint8_t>(0x20 | high), note.durationMs});
        writes.push_back({0xB0, high, song.gapMs});
    }
    // A last write ends the final wait: players stop at the last record, not after its delay.
    writes.push_back({0xB0, 0x00, 0});
    return writes;
}

void putLittle(std::vector<uint8_t>& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

} // namespace

double adlibNoteHz(const AdlibNote& note) {
    return note.fnum * 49716.0 / std::pow(2.0, 20 - note.block);
}

uint32_t adlibSongMs(const AdlibSong& song) {
    uint32_t total = 0;
    for (const AdlibNote& note : song.notes) {
        total += note.durationMs + song.gapMs;
    }
    return total;
}

std::vector<uint8_t> writeImf(const AdlibSong& song) {
    std::vector<uint8_t> records;
    // Rounding the running time, not each delay, keeps the total within one tick.
    uint64_t elapsedMs = 0;
    uint64_t elapsedTicks = 0;
    for (const Write& write : songWrites(song)) {
        elapsedMs += write.delayMs;
        const uint64_t targetTicks = (elapsedMs * ImfTickHz + 500) / 1000;
        uint64_t delay = targetTicks - elapsedTicks;
        elapsedTicks = targetTicks;
        // A delay longer than one word is spread over repeated harmless writes.
        while (delay > 0xFFFF) {
            records.insert(records.end(), {write.reg, write.value, 0xFF, 0xFF});
            delay -= 0xFFFF;
        }
        records.push_back(write.reg);
        records.push_back(write.value);
        putLittle(records, static_cast<uint32_t>(delay), 2);
    }
    std::vector<uint8_t> file;
    putLittle(file, static_cast<uint32_t>(records.size()), 2);
    file.insert(file.end(), records.begin(), records.end());
    // The footer: an end-of-text mark, then title, composer and remarks, NUL-terminated.
    // libadplug reads a type 1 file only when something follows the records.
    file.push_back(0x1A);
    for (const char c : std::string_view("Tamberlo test\0\0\0", 16)) {
        file.push_back(static_cast<uint8_t>(c));
    }
    return file;
}

std::vector<uint8_t> writeDro(const AdlibSong& song) {
    constexpr uint8_t ShortDelay = 0x7E;
    constexpr uint8_t LongDelay = 0x7F;
    const std::vector<Write> writes = songWrites(song);
    std::map<uint8_t, uint8_t> codeOf;
    std::vector<uint8_t> codemap;
    for (const Write& write : writes) {
        if (codeOf.emplace(write.reg, static_cast<uint8_t>(codemap.size())).second) {
            codemap.push_back(write.reg);
        }
    }
    std::vector<uint8_t> pairs;
    for (const Write& write : writes) {
        pairs.push_back(codeOf[write.reg]);
        pairs.push_back(write.value);
        uint32_t delay = write.delayMs;
        while (delay >= 256) {
            const uint32_t steps = std::min<uint32_t>(delay / 256, 256);
            pairs.push_back(LongDelay);
            pairs.push_back(static_cast<uint8_t>(steps - 1));
            delay -= steps * 256;
        }
        while (delay > 0) {
            const uint32_t step = std::min<uint32_t>(delay, 256);
            pairs.push_back(ShortDelay);
            pairs.push_back(static_cast<uint8_t>(step - 1));
            delay -= step;
        }
    }
    std::vector<uint8_t> file = {'D', 'B', 'R', 'A', 'W', 'O', 'P', 'L'};
    putLittle(file, 2, 2); // version 2.0
    putLittle(file, 0, 2);
    putLittle(file, static_cast<uint32_t>(pairs.size() / 2), 4);
    putLittle(file, adlibSongMs(song), 4);
    file.insert(file.end(), {0 /* OPL2 */, 0 /* interleaved */, 0 /* uncompressed */, ShortDelay,
                             LongDelay, static_cast<uint8_t>(codemap.size())});
    file.insert(file.end(), codemap.begin(), codemap.end());
    file.insert(file.end(), pairs.begin(), pairs.end());
    return file;
}

} // namespace chipgen
