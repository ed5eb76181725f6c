#include "AmosBankPacker.h"

#include <string>

namespace {
void append16(Bytes& out, unsigned value) {
    out.insert(out.end(), {std::uint8_t(value >> 8), std::uint8_t(value)});
}
void append32(Bytes& out, unsigned value) {
    append16(out, value >> 16);
    append16(out, value & 0xFFFF);
}
void appendText(Bytes& out, const char* text, std::size_t size) {
    const std::string padded = std::string(text).append(size, ' ').substr(0, size);
    out.insert(out.end(), padded.begin(), padded.end());
}

// Two instruments: as stored in the bank, and the loop start and loop length (in words) the
// output records must give.
struct Instrument {
    const char* name;
    unsigned sampleAddress, loopAddress, loopWords, volume, words, outLoopStart, outLoopWords;
};
const Instrument kInstruments[] = {{"Bass drum", 0x100, 0x140, 0x20, 40, 0x80, 0x20, 0x20},
                                   {"Lead", 0x200, 0x200, 2, 64, 0x10, 0, 1}};

} // namespace

// A music bank with `songs` songs named "Tune", the instruments above and no pattern data.
Bytes packAmosMusicBank(unsigned songs) {
    Bytes music;
    append32(music, 12);               // instruments
    append32(music, 14 + 2 * 32);      // songs
    append32(music, 14 + 2 * 32 + 34); // patterns, not read
    append16(music, 2);
    for (const Instrument& i : kInstruments) {
        append32(music, i.sampleAddress);
        append32(music, i.loopAddress);
        for (unsigned word : {0u, i.loopWords, i.volume, i.words})
            append16(music, word);
        appendText(music, i.name, 16);
    }
    append16(music, songs);
    append32(music, 6); // every song is the same one
    music.resize(music.size() + 12);
    appendText(music, "Tune", 16);

    Bytes bank = {'A', 'm', 'B', 'k', 0, 3, 0, 1};
    append32(bank, 0x80000000u | unsigned(8 + music.size()));
    appendText(bank, "Music", 8);
    bank.insert(bank.end(), music.begin(), music.end());
    return bank;
}

// The unfinished output: the title and 31 sample records, nothing else.
Bytes expectedFromAmosMusicBank() {
    Bytes out;
    appendText(out, "Tune", 16);
    out.resize(20);
    for (const Instrument& i : kInstruments) {
        appendText(out, i.name, 16);
        out.resize(out.size() + 6);
        for (unsigned word : {i.words, i.volume, i.outLoopStart, i.outLoopWords})
            append16(out, word);
    }
    for (int empty = 2; empty < 31; ++empty) {
        out.resize(out.size() + 29);
        out.push_back(1);
    }
    return out;
}
