#include "VgmWriter.h"

#include <algorithm>

namespace chipgen {

namespace {

constexpr size_t HeaderSize = 0x40;

void putLittle32(std::vector<uint8_t>& out, size_t offset, uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        out[offset + i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

void appendLittle32(std::vector<uint8_t>& out, uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

void snWrite(std::vector<uint8_t>& out, uint8_t value) {
    out.push_back(0x50);
    out.push_back(value);
}

// Channel 0 attenuation: 0 loudest, 15 silent.
void setAttenuation(std::vector<uint8_t>& out, int channel, uint8_t attenuation) {
    snWrite(out, static_cast<uint8_t>(0x90 | (channel << 5) | (attenuation & 0x0F)));
}

// Waits in the largest steps the format has: 0x61 nn nn for up to 65535 samples.
void wait(std::vector<uint8_t>& out, uint32_t samples) {
    while (samples > 0) {
        const uint32_t step = std::min<uint32_t>(samples, 0xFFFF);
        out.insert(out.end(), {0x61, static_cast<uint8_t>(step), static_cast<uint8_t>(step >> 8)});
        samples -= step;
    }
}

void putUtf16(std::vector<uint8_t>& out, const std::string& text) {
    for (const char c : text) {
        out.push_back(static_cast<uint8_t>(c));
        out.push_back(0);
    }
    out.push_back(0);
    out.push_back(0);
}

// GD3 tag: title and system (English), every other string empty.
std::vector<uint8_t> gd3(const std::string& title) {
    std::vector<uint8_t> strings;
    const std::string fields[11] = {title, "", "", "", "Sega Master System", "", "",
                                    "",    "", "", ""};
    for (const auto& field : fields) {
        putUtf16(strings, field);
    }
    std::vector<uint8_t> tag;
    tag.reserve(12 + strings.size());
    appendLittle32(tag, 0x20336447); // "Gd3 "
    appendLittle32(tag, 0x100);      // version 1.00
    appendLittle32(tag, static_cast<uint32_t>(strings.size()));
    tag.insert(tag.end(), strings.begin(), strings.end());
    return tag;
}

} // namespace

double vgmToneHz(uint16_t period) {
    return VgmSnClock / (32.0 * period);
}

std::vector<uint8_t> writeVgm(const VgmSong& song) {
    std::vector<uint8_t> out(HeaderSize, 0);
    for (int channel = 0; channel < 4; ++channel) {
        setAttenuation(out, channel, 15);
    }
    const size_t loopStart = out.size();
    uint32_t total = 0;
    for (const VgmNote& note : song.notes) {
        if (note.period == 0) {
            setAttenuation(out, 0, 15);
        } else {
            const uint16_t period = std::min<uint16_t>(note.period, 1023);
            snWrite(out, static_cast<uint8_t>(0x80 | (period & 0x0F))); // latch channel 0 tone
            snWrite(out, static_cast<uint8_t>(period >> 4));
            setAttenuation(out, 0, 2);
        }
        wait(out, note.samples);
        total += note.samples;
    }
    out.push_back(0x66);
    const size_t gd3Start = out.size();
    const auto tag = gd3(song.title);
    out.insert(out.end(), tag.begin(), tag.end());

    const uint8_t magic[] = {'V', 'g', 'm', ' '};
    std::copy(std::begin(magic), std::end(magic), out.begin());
    putLittle32(out, 0x04, static_cast<uint32_t>(out.size() - 0x04));
    putLittle32(out, 0x08, 0x151);
    putLittle32(out, 0x0C, VgmSnClock);
    putLittle32(out, 0x14, static_cast<uint32_t>(gd3Start - 0x14));
    putLittle32(out, 0x18, total);
    if (song.loop) {
        putLittle32(out, 0x1C, static_cast<uint32_t>(loopStart - 0x1C));
        putLittle32(out, 0x20, total);
    }
    putLittle32(out, 0x24, 60);
    out[0x28] = 0x09; // white-noise feedback pattern of the Master System's chip
    out[0x2A] = 16;   // shift register width
    putLittle32(out, 0x34, static_cast<uint32_t>(HeaderSize - 0x34));
    return out;
}

} // namespace chipgen
