#include "Ym2149.h"

#include <algorithm>
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

// Steps until a counter that is at `counter` of `period` fires (at least 1: a period lowered
// below the count fires on the next step).
uint32_t stepsUntil(uint32_t counter, uint32_t period) {
    return counter < period ? period - counter : 1;
}

// Moves a counter on by `steps` and returns how often it fired: it fires and restarts at 0
// on reaching `period`, or on the first step when a lowered period left it above.
uint32_t advance(uint32_t& counter, uint32_t period, uint32_t steps) {
    uint32_t fired = 0;
    if (counter >= period && steps > 0) {
        counter = 0;
        fired = 1;
        --steps;
    }
    counter += steps;
    fired += counter / period;
    counter %= period;
    return fired;
}

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

float Ym2149::level() const {
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

float Ym2149::run(uint32_t steps) {
    // Counters whose flips cannot be heard (their channels are off or silent) are moved on
    // in whole stretches; between two audible events the output holds still and is added up
    // at once.
    const uint8_t mixer = registers_[7];
    std::array<bool, 3> toneHeard{};
    bool noiseHeard = false;
    bool envelopeHeard = false;
    for (size_t channel = 0; channel < 3; ++channel) {
        const uint8_t amplitude = registers_[8 + channel];
        const bool sounds = amplitude != 0;
        toneHeard[channel] = sounds && (mixer & (1u << channel)) == 0;
        noiseHeard = noiseHeard || (sounds && (mixer & (8u << channel)) == 0);
        envelopeHeard = envelopeHeard || (amplitude & 0x10) != 0;
    }
    const uint32_t noisePeriod = 2 * (registers_[6] == 0 ? 1u : registers_[6]);
    float sum = 0;
    while (steps > 0) {
        uint32_t stretch = steps;
        for (size_t channel = 0; channel < 3; ++channel) {
            if (toneHeard[channel]) {
                stretch =
                    std::min(stretch, stepsUntil(toneCounter_[channel], tonePeriod_[channel]));
            }
        }
        if (noiseHeard) {
            stretch = std::min(stretch, stepsUntil(noiseCounter_, noisePeriod));
        }
        if (envelopeHeard && !envelopeHolding_) {
            stretch = std::min(stretch, stepsUntil(envelopeCounter_, envelopePeriod_));
        }
        sum += level() * static_cast<float>(stretch);
        steps -= stretch;
        for (size_t channel = 0; channel < 3; ++channel) {
            const uint32_t flips = advance(toneCounter_[channel], tonePeriod_[channel], stretch);
            toneHigh_[channel] = toneHigh_[channel] != ((flips & 1) != 0);
        }
        for (uint32_t shifts = advance(noiseCounter_, noisePeriod, stretch); shifts > 0; --shifts) {
            // 17-bit shift register with taps at bits 0 and 3.
            const uint32_t feedback = (noiseShift_ ^ (noiseShift_ >> 3)) & 1;
            noiseShift_ = (noiseShift_ >> 1) | (feedback << 16);
        }
        if (!envelopeHolding_) {
            for (uint32_t moves = advance(envelopeCounter_, envelopePeriod_, stretch);
                 moves > 0 && !envelopeHolding_; --moves) {
                stepEnvelope();
            }
        }
    }
    return sum;
}

} // namespace ym
