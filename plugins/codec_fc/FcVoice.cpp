#include "FcVoice.h"

#include "FcTables.h"

#include <algorithm>

namespace fc {

namespace {

constexpr int MaxCommandsPerTick = 32;
constexpr int VolumeDataStart = 5;
// Bounds of the period after vibrato, bends and slides, and of the slides themselves.
constexpr int MinPeriod = 28;
constexpr int MaxPeriod = 8192;
constexpr int MaxPeriodOffset = 4096;

} // namespace

void Voice::trigger(const Module& module, int note, int instrument) {
    note_ = note;
    if (instrument < 0 || instrument >= module.volumeMacroCount()) {
        active_ = false;
        channel_.stop();
        return;
    }
    active_ = true;
    instrument_ = instrument;
    volumeSpeed_ = std::max<int>(1, module.volumeMacro(instrument, 0));
    frequencyMacro_ = module.volumeMacro(instrument, 1);
    vibratoSpeed_ = module.volumeMacro(instrument, 2);
    vibratoDepth_ = module.volumeMacro(instrument, 3);
    vibratoDelay_ = module.volumeMacro(instrument, 4);
    vibrato_ = 0;
    vibratoDirection_ = 1;
    volume_ = 0;
    volumePosition_ = VolumeDataStart;
    volumeCountdown_ = 1; // the first step plays on this tick
    volumePause_ = 0;
    volumeSlideTicks_ = 0;
    frequencyPosition_ = 0;
    frequencyPause_ = 0;
    transpose_ = 0;
    fixedNote_ = false;
    bendTicks_ = 0;
    bend_ = 0;
    portamento_ = 0;
}

void Voice::setSound(const Module& module, int index, bool now) {
    const Sound* sound = module.sound(index);
    if (sound == nullptr) {
        if (now) {
            channel_.stop();
        }
        return;
    }
    if (now) {
        channel_.start(*sound);
    } else {
        channel_.queue(*sound);
    }
}

void Voice::frequencyTick(const Module& module) {
    if (frequencyPause_ > 0) {
        --frequencyPause_;
        return;
    }
    const auto at = [&](int offset) {
        return module.frequencyMacro(frequencyMacro_, frequencyPosition_ + offset);
    };
    for (int command = 0; command < MaxCommandsPerTick; ++command) {
        const uint8_t code = at(0);
        switch (code) {
        case 0xE0:
            frequencyPosition_ = at(1) & 0x3F;
            continue;
        case 0xE1:
            return;
        case 0xE2:
        case 0xE4:
            setSound(module, at(1), code == 0xE2);
            frequencyPosition_ += 2;
            continue;
        case 0xE3:
            vibratoSpeed_ = at(1);
            vibratoDepth_ = at(2);
            frequencyPosition_ += 3;
            continue;
        case 0xE7:
            frequencyMacro_ = at(1);
            frequencyPosition_ = 0;
            continue;
        case 0xE8:
            frequencyPause_ = at(1);
            frequencyPosition_ += 2;
            return;
        case 0xE9:
            frequencyPosition_ += 3;
            continue;
        case 0xEA:
            bendSpeed_ = static_cast<int8_t>(at(1));
            bendTicks_ = at(2);
            frequencyPosition_ += 3;
            continue;
        default:
            if (code >= 0xE0) {
                ++frequencyPosition_;
                continue;
            }
            fixedNote_ = (code & 0x80) != 0;
            transpose_ = code & 0x7F;
            ++frequencyPosition_;
            return;
        }
    }
}

void Voice::volumeTick(const Module& module) {
    if (volumeSlideTicks_ > 0) {
        volume_ = std::clamp(volume_ + volumeSlideSpeed_, 0, 64);
        --volumeSlideTicks_;
    }
    if (volumePause_ > 0) {
        --volumePause_;
        return;
    }
    if (--volumeCountdown_ > 0) {
        return;
    }
    volumeCountdown_ = volumeSpeed_;
    const auto at = [&](int offset) {
        return module.volumeMacro(instrument_, volumePosition_ + offset);
    };
    for (int command = 0; command < MaxCommandsPerTick; ++command) {
        const uint8_t code = at(0);
        switch (code) {
        case 0xE0:
            volumePosition_ = std::max(VolumeDataStart, at(1) & 0x3F);
            continue;
        case 0xE1:
            return;
        case 0xE8:
            volumePause_ = at(1);
            volumePosition_ += 2;
            return;
        case 0xEA:
            volumeSlideSpeed_ = static_cast<int8_t>(at(1));
            volumeSlideTicks_ = at(2);
            volumePosition_ += 3;
            continue;
        default:
            if (code >= 0xE0) {
                ++volumePosition_;
                continue;
            }
            volume_ = std::min<int>(code, 64);
            ++volumePosition_;
            return;
        }
    }
}

int Voice::period() {
    const int base = periodForNote(fixedNote_ ? transpose_ : note_ + transpose_);
    if (vibratoDelay_ > 0) {
        --vibratoDelay_;
    } else if (vibratoDepth_ > 0) {
        vibrato_ += vibratoDirection_ * vibratoSpeed_;
        if (vibrato_ >= vibratoDepth_ || vibrato_ <= -vibratoDepth_) {
            vibrato_ = std::clamp(vibrato_, -vibratoDepth_, vibratoDepth_);
            vibratoDirection_ = -vibratoDirection_;
        }
    }
    if (bendTicks_ > 0) {
        bend_ = std::clamp(bend_ - bendSpeed_, -MaxPeriodOffset, MaxPeriodOffset);
        --bendTicks_;
    }
    portamento_ = std::clamp(portamento_ + portamentoSpeed_, -MaxPeriodOffset, MaxPeriodOffset);
    const int shifted = base + vibrato_ * base / 1024 + bend_ + portamento_;
    return std::clamp(shifted, MinPeriod, MaxPeriod);
}

void Voice::tick(const Module& module) {
    if (!active_) {
        return;
    }
    frequencyTick(module);
    volumeTick(module);
    channel_.setPeriod(period());
    channel_.setVolume(volume_);
}

} // namespace fc
