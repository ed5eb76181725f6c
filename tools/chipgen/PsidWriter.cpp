#include "PsidWriter.h"

#include <algorithm>
#include <cmath>

namespace chipgen {

namespace {

// Memory map of the generated tune: code, then the per-subsong frequency tables, then the
// play counter. Each table has room for the 256 subsongs a header can name.
constexpr uint16_t LoadAddress = 0x1000;
constexpr uint16_t FrequencyLowTable = 0x1040;
constexpr uint16_t FrequencyHighTable = 0x1140;
constexpr uint16_t PlayCounter = 0x1240;
constexpr uint16_t CodeEnd = 0x1241;

constexpr uint16_t SidBase = 0xD400;

// A few 6502 instructions, assembled into `code` at consecutive addresses from LoadAddress.
class Assembler {
public:
    uint16_t here() const { return static_cast<uint16_t>(LoadAddress + code_.size()); }
    void ldaImmediate(uint8_t value) { emit({0xA9, value}); }
    void ldaAbsoluteX(uint16_t address) { emitAbsolute(0xBD, address); }
    void sta(uint16_t address) { emitAbsolute(0x8D, address); }
    void inc(uint16_t address) { emitAbsolute(0xEE, address); }
    void jmp(uint16_t address) { emitAbsolute(0x4C, address); }
    void jmpToSelf() { jmp(here()); }
    void tax() { emit({0xAA}); }
    void rts() { emit({0x60}); }
    void setSid(uint8_t reg, uint8_t value) {
        ldaImmediate(value);
        sta(static_cast<uint16_t>(SidBase + reg));
    }
    // Fills up to `address` with zeros (tables and counter start out zero).
    void padTo(uint16_t address) { code_.resize(address - LoadAddress, 0); }
    void poke(uint16_t address, uint8_t value) { code_.at(address - LoadAddress) = value; }
    const std::vector<uint8_t>& bytes() const { return code_; }

private:
    void emit(std::initializer_list<uint8_t> bytes) { code_.insert(code_.end(), bytes); }
    void emitAbsolute(uint8_t opcode, uint16_t address) {
        emit({opcode, static_cast<uint8_t>(address & 0xFF), static_cast<uint8_t>(address >> 8)});
    }
    std::vector<uint8_t> code_;
};

struct Routines {
    std::vector<uint8_t> code;
    uint16_t init = 0;
    uint16_t play = 0;
};

Routines assemble(const PsidDescription& description) {
    Assembler a;
    Routines routines;
    routines.init = a.here();
    if (description.loop == PsidLoop::InitAtOnce) {
        a.jmpToSelf();
    }
    a.tax();              // A holds the 0-based subsong number
    a.setSid(0x18, 0x0F); // volume 15, no filter
    a.setSid(0x05, 0x00); // attack 2 ms, decay 6 ms
    a.setSid(0x06, 0xF0); // sustain 15, release 6 ms
    a.setSid(0x02, 0x00); // pulse width 0x800: a square wave
    a.setSid(0x03, 0x08);
    a.ldaAbsoluteX(FrequencyLowTable);
    a.sta(SidBase + 0x00);
    a.ldaAbsoluteX(FrequencyHighTable);
    a.sta(SidBase + 0x01);
    a.setSid(0x04, 0x41); // pulse waveform, gate on
    if (description.loop == PsidLoop::InitAfterSound) {
        a.jmpToSelf();
    } else {
        a.rts();
    }
    routines.play = a.here();
    if (description.loop == PsidLoop::Play) {
        a.jmpToSelf();
    } else {
        a.inc(PlayCounter);
        a.rts();
    }
    a.padTo(CodeEnd);
    for (size_t song = 0; song < description.frequencies.size() && song < 256; ++song) {
        const uint16_t value = description.frequencies[song];
        a.poke(static_cast<uint16_t>(FrequencyLowTable + song), static_cast<uint8_t>(value & 0xFF));
        a.poke(static_cast<uint16_t>(FrequencyHighTable + song), static_cast<uint8_t>(value >> 8));
    }
    routines.code = a.bytes();
    return routines;
}

void putBig16(std::vector<uint8_t>& out, size_t offset, unsigned value) {
    out[offset] = static_cast<uint8_t>(value >> 8);
    out[offset + 1] = static_cast<uint8_t>(value);
}

void putText(std::vector<uint8_t>& out, size_t offset, const std::string& text) {
    std::copy_n(text.begin(), std::min<size_t>(text.size(), 32), out.begin() + offset);
}

} // namespace

double psidFrequencyHz(uint16_t registerValue) {
    return registerValue * PalClockHz / 16777216.0;
}

uint16_t psidRegisterFor(double hz) {
    const double value = std::round(hz * 16777216.0 / PalClockHz);
    return static_cast<uint16_t>(std::clamp(value, 1.0, 65535.0));
}

std::vector<uint8_t> writePsid(const PsidDescription& description) {
    const int version = description.rsid ? std::max(description.version, 2) : description.version;
    const size_t headerSize = version == 1 ? 0x76 : 0x7C;
    const Routines routines = assemble(description);
    const auto songs =
        static_cast<unsigned>(std::clamp<size_t>(description.frequencies.size(), 1, 256));

    std::vector<uint8_t> file(headerSize, 0);
    std::copy_n(description.rsid ? "RSID" : "PSID", 4, file.begin());
    putBig16(file, 0x04, static_cast<unsigned>(version));
    putBig16(file, 0x06, static_cast<unsigned>(headerSize));
    // An RSID names its load address in the data's first two bytes, never in the header.
    putBig16(file, 0x08, description.rsid ? 0 : LoadAddress);
    putBig16(file, 0x0A, routines.init);
    putBig16(file, 0x0C, description.rsid ? 0 : routines.play);
    putBig16(file, 0x0E, songs);
    putBig16(file, 0x10, static_cast<unsigned>(description.startSong));
    // Speed 0 (bytes 0x12..0x15): every subsong's play runs at the 50 Hz vertical blank.
    putText(file, 0x16, description.title);
    putText(file, 0x36, description.author);
    putText(file, 0x56, description.released);
    if (headerSize == 0x7C) {
        putBig16(file, 0x76, 0x14); // PAL clock, 6581 SID
        file[0x7A] = static_cast<uint8_t>(description.secondSidAddress >> 4);
    }
    if (description.rsid) {
        file.push_back(LoadAddress & 0xFF);
        file.push_back(LoadAddress >> 8);
    }
    file.insert(file.end(), routines.code.begin(), routines.code.end());
    return file;
}

} // namespace chipgen
