#include "Ym2149.h"

#include <cmath>

namespace ym {

namespace {

// Output of the 32 volume steps: 1.5 dB apart, silent at 0.
const std::array<float, 32> VolumeLevels = [] {
    std::array<float, 32> levels{};
    for (int i = 1; i < 32; ++i) {
        levels[static_cast<size_t>(i)] = static_cast<float>(std::pow(10.0, -1.5 * (31 - i) / 20));
    }
    return levels;
}();

constexpr uint8_t RegisterMasks[16] = {0xFF, 0x0F, 0xFF, 0x0F, 0xFF, 0x0F, 0x1F, 0xFF,
                                       0x1F, 0x1F, 0x1F, 0xFF, 0xFF, 0x0F, 0xFF, 0xFF};

} // namespace

void Ym2149::reset() {
    registers_.fill(0);
    registers_[7] = 0xFF; // everything off
    toneCounter_.fill(0);
    tonePeriod_.fill(1);
    toneHigh_.fill(false);
    noiseCounter_ = 0;
    noiseShift_ = 1;
    envelopeCounter_ = 0;
    envelopePeriod_ = 1;
    envelopePosition_ = 0;
    envelopeInvert_ = 31;
    envelopeHolding_ = true;
    envelopeHeldLevel_ = 0;
}

void Ym2149::write(int reg, uint8_t value) {
    if (reg < 0 || reg > 13) {
        return;
    }
    registers_[static_cast<size_t>(reg)] = value & RegisterMasks[reg];
    if (reg < 6) {
        const size_t channel = static_cast<size_t>(reg / 2);
        const uint32_t period = registers_[2 * channel] | (registers_[2 * channel + 1] << 8);
        tonePeriod_[channel] = period == 0 ? 1 : period;
    } else if (reg == 11 || reg == 12) {
        const uint32_t period = registers_[11] | (registers_[12] << 8);
        envelopePeriod_ = period == 0 ? 1 : period;
    } else if (reg == 13) {
        envelopePosition_ = 0;
        envelopeCounter_ = 0;
        envelopeInvert_ = (value & 4) != 0 ? 0 : 31;
        envelopeHolding_ = false;
    }
}

void Ym2149::stepEnvelope() {
    if (envelopeHolding_ || ++envelopePosition_ < 32) {
        return;
    }
    const uint8_t shape = registers_[13];
    const bool continues = (shape & 8) != 0;
    const bool alternates = (shape & 2) != 0;
    const bool holds = (shape & 1) != 0;
    const int lastLevel = 31 ^ envelopeInvert_;
    if (!continues) {
        envelopeHolding_ = true;
        envelopeHeldLevel_ = 0;
    } else if (holds) {
        envelopeHolding_ = true;
        envelopeHeldLevel_ = alternates ? 31 - lastLevel : lastLevel;
    } else {
        if (alternates) {
            envelopeInvert_ ^= 31;
        }
        envelopePosition_ = 0;
    }
}

float Ym2149::step() {
    for (size_t channel = 0; channel < 3; ++channel) {
        if (++toneCounter_[channel] >= tonePeriod_[channel]) {
            toneCounter_[channel] = 0;
            toneHigh_[channel] = !toneHigh_[channel];
        }
    }
    const uint32_t noisePeriod = registers_[6] == 0 ? 1 : registers_[6];
    if (++noiseCounter_ >= 2 * noisePeriod) {
        noiseCounter_ = 0;
        // 17-bit shift register with taps at bits 0 and 3.
        const uint32_t feedback = (noiseShift_ ^ (noiseShift_ >> 3)) & 1;
        noiseShift_ = (noiseShift_ >> 1) | (feedback << 16);
    }
    if (++envelopeCounter_ >= envelopePeriod_) {
        envelopeCounter_ = 0;
        stepEnvelope();
    }
    const int envelopeLevel =
        envelopeHolding_ ? envelopeHeldLevel_ : (envelopePosition_ ^ envelopeInvert_);
    const bool noiseHigh = (noiseShift_ & 1) != 0;
    const uint8_t mixer = registers_[7];
    float sum = 0;
    for (size_t channel = 0; channel < 3; ++channel) {
        const bool toneOn = toneHigh_[channel] || (mixer & (1u << channel)) != 0;
        const bool noiseOn = noiseHigh || (mixer & (8u << channel)) != 0;
        if (!toneOn || !noiseOn) {
            continue;
        }
        const uint8_t amplitude = registers_[8 + channel];
        const int level = (amplitude & 0x10) != 0   ? envelopeLevel
                          : (amplitude & 0x0F) == 0 ? 0
                                                    : 2 * (amplitude & 0x0F) + 1;
        sum += VolumeLevels[static_cast<size_t>(level)];
    }
    return sum / 3;
}

} // namespace ym
