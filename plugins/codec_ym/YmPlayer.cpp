#include "YmPlayer.h"

#include <algorithm>
#include <cmath>

namespace ym {

namespace {

// The Atari ST's MFP timers that drive the effects count at 2.4576 MHz / predivisor.
constexpr double TimerClockHz = 2457600;
constexpr int TimerPredivisors[8] = {0, 4, 10, 16, 50, 64, 100, 200};
constexpr float OutputGain = 2.0f;
constexpr float DcPole = 0.995f; // about 35 Hz

} // namespace

YmPlayer::YmPlayer(YmSong song) : song_(std::move(song)) {
    const uint64_t frames = song_.frames.size();
    length_ = (frames * SampleRate + song_.frameRate - 1) / song_.frameRate;
    stepsPerSample_ = song_.clockHz / 8.0 / SampleRate;
    seek(0);
}

uint64_t YmPlayer::frameAt(uint64_t sample) const {
    return sample * song_.frameRate / SampleRate;
}

void YmPlayer::setEffect(EffectSlot& slot, Effect effect, int voice, int predivisor, int count,
                         uint8_t value) {
    if (effect == Effect::None || voice == 0 || predivisor == 0 || count == 0) {
        if (slot.effect == Effect::Drum) {
            return; // a started drum plays to its end
        }
        slot.effect = Effect::None;
        return;
    }
    if (effect == Effect::Drum && (value >= song_.drums.size() || song_.drums[value].empty())) {
        return; // no such drum: whatever plays goes on
    }
    const double frequency = TimerClockHz / (TimerPredivisors[predivisor] * count);
    slot.step = frequency / (song_.clockHz / 8.0);
    if (effect == Effect::Drum) {
        slot.drumPosition = 0;
        slot.phase = 0;
    } else if (slot.effect != effect || slot.voice != voice - 1) {
        slot.phase = 0;
        slot.high = true;
    }
    slot.effect = effect;
    slot.voice = voice - 1;
    slot.value = value;
}

void YmPlayer::applyFrame(size_t index) {
    const YmRegisters& r = song_.frames[index];
    for (int reg = 0; reg < 13; ++reg) {
        chip_.write(reg, r[static_cast<size_t>(reg)]);
    }
    if (r[13] != 0xFF) {
        chip_.write(13, r[13]);
    }
    if (song_.version != YmVersion::Ym5 && song_.version != YmVersion::Ym6) {
        return;
    }
    // Effect 1: voice in register 1 bits 4-5, timer in register 6 bits 5-7 and register 14.
    // Effect 2: voice in register 3 bits 4-5, timer in register 8 bits 5-7 and register 15.
    // YM5 has a SID voice and a digidrum; YM6 names each effect in bits 6-7 of 1 and 3.
    const int voices[2] = {(r[1] >> 4) & 3, (r[3] >> 4) & 3};
    const int predivisors[2] = {(r[6] >> 5) & 7, (r[8] >> 5) & 7};
    const int counts[2] = {r[14], r[15]};
    for (size_t e = 0; e < 2; ++e) {
        Effect effect = e == 0 ? Effect::Sid : Effect::Drum;
        if (song_.version == YmVersion::Ym6) {
            static constexpr Effect Types[4] = {Effect::Sid, Effect::Drum, Effect::None,
                                                Effect::Buzzer};
            effect = Types[((e == 0 ? r[1] : r[3]) >> 6) & 3];
        }
        const int voice = voices[e];
        const uint8_t data = voice == 0 ? 0 : r[static_cast<size_t>(7 + voice)];
        const uint8_t value = static_cast<uint8_t>(effect == Effect::Drum ? data & 31 : data & 15);
        setEffect(effects_[e], effect, voice, predivisors[e], counts[e], value);
    }
}

uint32_t YmPlayer::stepsToNextEffect(uint32_t limit) const {
    for (const auto& slot : effects_) {
        if (slot.effect != Effect::None) {
            const double steps = std::ceil((1 - slot.phase) / slot.step);
            limit = static_cast<uint32_t>(std::clamp(steps, 1.0, static_cast<double>(limit)));
        }
    }
    return limit;
}

void YmPlayer::runEffects(uint32_t steps) {
    for (auto& slot : effects_) {
        if (slot.effect == Effect::None) {
            continue;
        }
        slot.phase += slot.step * steps;
        if (slot.phase < 1) {
            continue;
        }
        const auto events = static_cast<uint64_t>(slot.phase);
        slot.phase -= static_cast<double>(events);
        const int volumeRegister = 8 + slot.voice;
        switch (slot.effect) {
        case Effect::Sid:
            slot.high = slot.high != ((events & 1) != 0);
            chip_.write(volumeRegister, slot.high ? slot.value : 0);
            break;
        case Effect::Drum: {
            const auto& drum = song_.drums[slot.value];
            slot.drumPosition += events;
            const size_t frame = std::min<size_t>(appliedFrame_, song_.frames.size() - 1);
            if (slot.drumPosition >= drum.size()) {
                // Back to what the frame itself says for the voice.
                slot.effect = Effect::None;
                chip_.write(volumeRegister,
                            song_.frames[frame][static_cast<size_t>(volumeRegister)]);
                chip_.write(7, song_.frames[frame][7]);
                break;
            }
            const uint8_t sample = drum[slot.drumPosition];
            chip_.write(volumeRegister,
                        static_cast<uint8_t>(song_.drums4Bit ? sample & 15 : sample >> 4));
            // The drum replaces the voice: its tone and noise are switched off.
            chip_.write(7, static_cast<uint8_t>(song_.frames[frame][7] | (9u << slot.voice)));
            break;
        }
        case Effect::Buzzer:
            chip_.write(13, slot.value);
            break;
        case Effect::None:
            break;
        }
    }
}

float YmPlayer::nextSample() {
    stepBudget_ += stepsPerSample_;
    auto steps = static_cast<uint32_t>(stepBudget_);
    stepBudget_ -= steps;
    if (steps > 0) {
        float sum = 0;
        for (uint32_t left = steps; left > 0;) {
            const uint32_t stretch = stepsToNextEffect(left);
            sum += chip_.run(stretch);
            runEffects(stretch);
            left -= stretch;
        }
        lastLevel_ = sum / static_cast<float>(steps);
    }
    // A one-pole high-pass takes out the chip's DC offset.
    dcOutput_ = lastLevel_ - dcInput_ + DcPole * dcOutput_;
    dcInput_ = lastLevel_;
    return std::clamp(OutputGain * dcOutput_, -1.0f, 1.0f);
}

size_t YmPlayer::render(float* out, size_t count) {
    size_t written = 0;
    while (written < count && position_ < length_) {
        const uint64_t frame = frameAt(position_);
        if (frame != appliedFrame_) {
            appliedFrame_ = frame;
            applyFrame(static_cast<size_t>(frame));
        }
        out[written++] = nextSample();
        ++position_;
    }
    return written;
}

bool YmPlayer::seek(uint64_t sample) {
    if (sample > length_) {
        return false;
    }
    chip_.reset();
    effects_ = {};
    stepBudget_ = 0;
    lastLevel_ = dcInput_ = dcOutput_ = 0;
    const uint64_t frame = std::min<uint64_t>(frameAt(sample), song_.frames.size() - 1);
    // The envelope shape last written before this frame, so envelope voices keep sounding.
    for (uint64_t back = frame + 1; back-- > 0;) {
        const uint8_t shape = song_.frames[static_cast<size_t>(back)][13];
        if (shape != 0xFF) {
            chip_.write(13, shape);
            break;
        }
    }
    appliedFrame_ = frame;
    applyFrame(static_cast<size_t>(frame));
    position_ = (frame * SampleRate + song_.frameRate - 1) / song_.frameRate;
    while (position_ < sample) {
        nextSample();
        ++position_;
    }
    return true;
}

} // namespace ym
