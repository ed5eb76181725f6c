#include "AdlibDumpTrackerWriter.h"

#include <cmath>
#include <string_view>

namespace chipgen {

namespace {

void putWord(std::vector<uint8_t>& out, uint32_t value) {
    out.push_back(static_cast<uint8_t>(value));
    out.push_back(static_cast<uint8_t>(value >> 8));
}

void putWordAt(std::vector<uint8_t>& out, size_t at, uint32_t value) {
    out[at] = static_cast<uint8_t>(value);
    out[at + 1] = static_cast<uint8_t>(value >> 8);
}

// A MIDI variable-length number.
void putNumber(std::vector<uint8_t>& out, uint32_t value) {
    uint8_t groups[4];
    int count = 0;
    do {
        groups[count++] = static_cast<uint8_t>(value & 0x7F);
        value >>= 7;
    } while (value != 0 && count < 4);
    while (count > 1) {
        out.push_back(static_cast<uint8_t>(groups[--count] | 0x80));
    }
    out.push_back(groups[0]);
}

} // namespace

std::vector<uint8_t> writeHsc(const std::vector<HscNote>& notes) {
    constexpr size_t Instruments = 128;
    constexpr size_t OrderBytes = 51;
    constexpr size_t Channels = 9;
    // Registers 0x20, 0x23, 0x40, 0x43, 0x60, 0x63, 0x80, 0x83, 0xC0, 0xE0, 0xE3 and a fine
    // tune byte: sustained envelopes at multiple 1, modulator silent, carrier loudest, fast
    // attack, full sustain, FM connection without feedback, sines.
    constexpr uint8_t Sine[12] = {0x21, 0x21, 0x00, 0x00, 0xF0, 0xF0,
                                  0x0F, 0x0F, 0x01, 0x00, 0x00, 0x00};
    std::vector<uint8_t> file;
    for (size_t i = 0; i < Instruments; ++i) {
        file.insert(file.end(), std::begin(Sine), std::end(Sine));
    }
    std::vector<uint8_t> orders(OrderBytes, 0xFF);
    orders[0] = 0;
    file.insert(file.end(), orders.begin(), orders.end());
    const size_t pattern = file.size();
    file.resize(pattern + 64 * Channels * 2, 0);
    // Row 0, channel 0: select instrument 0 (note byte with bit 7, the number in the effect).
    file[pattern] = 0x80;
    file[pattern + 1] = 0;
    for (const HscNote& note : notes) {
        file[pattern + (note.row % 64) * Channels * 2] = note.note;
    }
    return file;
}

std::vector<uint8_t> writeCmf(const std::vector<CmfNote>& notes, uint16_t ticksPerSecond) {
    constexpr size_t HeaderBytes = 40;
    constexpr uint8_t Sine[16] = {0x21, 0x21, 0x3F, 0x00, 0xF0, 0xF0, 0x0F, 0x0F,
                                  0x00, 0x00, 0x00, 0,    0,    0,    0,    0};
    std::vector<uint8_t> file = {'C', 'T', 'M', 'F'};
    putWord(file, 0x0101);
    file.resize(HeaderBytes, 0);
    putWordAt(file, 10, 48); // ticks per quarter note
    putWordAt(file, 12, ticksPerSecond);
    file[20] = 1; // channel 0 in use
    putWordAt(file, 36, 1);
    putWordAt(file, 38, 120);

    putWordAt(file, 14, static_cast<uint32_t>(file.size()));
    for (const char c : std::string_view("Tamberlo test\0", 14)) {
        file.push_back(static_cast<uint8_t>(c));
    }
    putWordAt(file, 6, static_cast<uint32_t>(file.size()));
    file.insert(file.end(), std::begin(Sine), std::end(Sine));

    putWordAt(file, 8, static_cast<uint32_t>(file.size()));
    file.insert(file.end(), {0, 0xC0, 0});
    uint32_t wait = 0;
    for (const CmfNote& note : notes) {
        putNumber(file, wait);
        file.insert(file.end(), {0x90, note.key, 127});
        putNumber(file, note.durationTicks);
        file.insert(file.end(), {0x90, note.key, 0}); // note on at velocity 0: off
        wait = note.gapTicks;
    }
    putNumber(file, wait);
    file.insert(file.end(), {0xFF, 0x2F, 0});
    return file;
}

double midiKeyHz(int key) {
    return 440.0 * std::pow(2.0, (key - 69) / 12.0);
}

} // namespace chipgen
