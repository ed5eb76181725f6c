#pragma once
// Writes YM register dumps of the YM2149 (test media for the ym plug-in): YM5/YM6 with their
// header, or the older YM3/YM3b (14 interleaved registers, 2 MHz, 50 Hz), from a list of
// frames described by tone periods, volumes and mixer settings.
//
// Threading: pure functions, callable from any thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace chipgen {

struct YmFrame {
    std::array<uint16_t, 3> tonePeriods{}; // 12 bits: f = clock / (16 * period)
    std::array<uint8_t, 3> volumes{};      // 0..15, or 16 for the envelope
    uint8_t mixer = 0x38;                  // register 7: bits 0-2 tone off, 3-5 noise off
    uint8_t noisePeriod = 0;               // 5 bits
    uint16_t envelopePeriod = 0;           // f = clock / (256 * period)
    uint8_t envelopeShape = 0xFF;          // 0..15 restarts the envelope; 0xFF leaves it
    uint8_t register14 = 0;                // YM5/YM6 effect timer counts
    uint8_t register15 = 0;
    std::array<uint8_t, 16> extraBits{}; // ORed into the registers: YM5/YM6 effect fields
};

struct YmDescription {
    std::vector<YmFrame> frames;
    uint32_t clockHz = 2000000;
    uint16_t frameRate = 50;
    uint32_t loopFrame = 0;
    bool interleaved = true; // YM5/YM6 only; YM3 dumps always are
    std::string name = "Test song";
    std::string author = "Tamberlo";
    std::string comment;
    std::vector<std::vector<uint8_t>> drums; // YM5/YM6 digidrums, 8-bit unsigned
};

enum class YmFormat { Ym3, Ym3b, Ym5, Ym6 };

// The 16 registers of `frame`.
std::array<uint8_t, 16> ymRegisters(const YmFrame& frame);

// The whole dump in `format` (YM3 and YM3b keep only registers 0..13, 2 MHz and 50 Hz).
std::vector<uint8_t> writeYm(const YmDescription& song, YmFormat format);

// `count` frames that play `period` on channel A at `volume` (tone only).
std::vector<YmFrame> ymToneFrames(uint16_t period, uint8_t volume, size_t count);

} // namespace chipgen
