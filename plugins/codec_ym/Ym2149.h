#pragma once
// The YM2149 programmable sound generator: three square-wave tone channels, a noise generator
// and a 32-step envelope, mixed to one channel (the Atari ST has a mono output).
//
// The chip is stepped at clock / 8: a tone channel flips every `period` steps (frequency
// clock / (16 * period)), the noise register shifts every 2 * period steps, and the
// envelope moves one of its 32 steps every `period` steps (a full ramp is
// clock / (256 * period)).
//
// Threading: one instance per decoder, used by one thread at a time.

#include <array>
#include <cstddef>
#include <cstdint>

namespace ym {

class Ym2149 {
public:
    Ym2149() { reset(); }

    // All registers 0, noise register seeded, envelope at its start.
    void reset();
    // Writes register 0..13 (higher registers are ignored); unused bits are masked off.
    // Writing register 13 restarts the envelope with that shape.
    void write(int reg, uint8_t value);
    uint8_t read(int reg) const { return registers_[static_cast<size_t>(reg & 15)]; }
    // Advances `steps` steps (of clock / 8) and returns the sum of the mixed output over them,
    // each 0..1. Work grows with the number of counter events, at most one per step.
    float run(uint32_t steps);

private:
    void stepEnvelope();
    float level() const; // the mixed output now, 0..1

    std::array<uint8_t, 16> registers_{};
    std::array<uint32_t, 3> toneCounter_{};
    std::array<uint32_t, 3> tonePeriod_{};
    std::array<bool, 3> toneHigh_{};
    uint32_t noiseCounter_ = 0;
    uint32_t noiseShift_ = 1;
    uint32_t envelopeCounter_ = 0;
    uint32_t envelopePeriod_ = 1;
    int envelopePosition_ = 0; // 0..31 within the current ramp
    int envelopeInvert_ = 0;   // 0 for a rising ramp, 31 for a falling one
    bool envelopeHolding_ = false;
    int envelopeHeldLevel_ = 0;
};

} // namespace ym
