#include "FcReplay.h"

#include <algorithm>

namespace fc {

namespace {

// Rows each pattern plays: up to its first end note, else all 32 (missing patterns read as
// empty, so they play all 32).
std::array<uint8_t, 256> patternRows(const Module& module) {
    std::array<uint8_t, 256> rows{};
    for (int pattern = 0; pattern < 256; ++pattern) {
        int row = 0;
        while (row < PatternRows && module.patternRow(pattern, row).first != PatternEndNote) {
            ++row;
        }
        rows[static_cast<size_t>(pattern)] = static_cast<uint8_t>(row);
    }
    return rows;
}

// Rows a step plays: the step ends at the first end note in any voice.
uint8_t rowsOf(const std::array<uint8_t, 256>& rowsOfPattern, const Step& step) {
    uint8_t rows = PatternRows;
    for (int v = 0; v < Voices; ++v) {
        rows = std::min(rows, rowsOfPattern[step.pattern[v]]);
    }
    return rows;
}

} // namespace

Replay::Replay(const Module& module) : module_(module) {
    const auto rows = patternRows(module);
    int speed = DefaultSpeed;
    stepRows_.reserve(module.steps().size());
    for (const Step& step : module.steps()) {
        stepRows_.push_back(rowsOf(rows, step));
        speed = step.speed != 0 ? step.speed : speed;
        songTicks_ += uint64_t{stepRows_.back()} * static_cast<uint64_t>(speed);
    }
    restart();
}

void Replay::restart() {
    voices_ = {};
    speed_ = DefaultSpeed;
    row_ = 0;
    rowCountdown_ = 0;
    ticksDone_ = 0;
    tickFramesLeft_ = 0;
    sequenceEnded_ = !enterStep(0);
}

bool Replay::enterStep(size_t step) {
    // Steps without rows still set the speed, as they do when the length is counted.
    for (; step < module_.steps().size(); ++step) {
        const uint8_t speed = module_.steps()[step].speed;
        speed_ = speed != 0 ? speed : speed_;
        if (stepRows_[step] > 0) {
            step_ = step;
            row_ = 0;
            return true;
        }
    }
    return false;
}

void Replay::playRow() {
    const Step& step = module_.steps()[step_];
    for (int v = 0; v < Voices; ++v) {
        const auto [note, info] = module_.patternRow(step.pattern[v], row_);
        Voice& voice = voices_[static_cast<size_t>(v)];
        const int pitch = note + step.noteTranspose[v];
        if ((info & 0x80) != 0) {
            const int speed = info & 0x1F;
            voice.setPortamento((info & 0x20) != 0 ? speed : -speed);
            if (note != 0) {
                voice.setNote(pitch);
            }
        } else if (note != 0) {
            voice.setPortamento(0);
            voice.trigger(module_, pitch, (info & 0x3F) + step.soundTranspose[v]);
        }
    }
    if (++row_ >= stepRows_[step_]) {
        sequenceEnded_ = !enterStep(step_ + 1);
    }
}

void Replay::tick() {
    if (--rowCountdown_ <= 0 && !sequenceEnded_) {
        // The row lasts the speed it started with, even when it ends a step that changes it.
        const int rowSpeed = speed_;
        playRow();
        rowCountdown_ = rowSpeed;
    }
    for (Voice& voice : voices_) {
        voice.tick(module_);
    }
    ++ticksDone_;
    tickFramesLeft_ = FramesPerTick;
}

bool Replay::nextTickReady() {
    if (tickFramesLeft_ == 0) {
        if (ticksDone_ >= songTicks_) {
            return false;
        }
        tick();
    }
    return true;
}

size_t Replay::render(float* out, size_t frames) {
    std::fill(out, out + 2 * frames, 0.0f);
    // Two channels share a side: half gain keeps the sum within -1..1.
    constexpr float Gain = 0.5f;
    constexpr int Side[Voices] = {0, 1, 1, 0};
    size_t done = 0;
    while (done < frames && nextTickReady()) {
        const size_t chunk = std::min(frames - done, static_cast<size_t>(tickFramesLeft_));
        for (int v = 0; v < Voices; ++v) {
            voices_[static_cast<size_t>(v)].channel().mix(out + 2 * done + Side[v], 2, chunk, Gain);
        }
        done += chunk;
        tickFramesLeft_ -= static_cast<int>(chunk);
    }
    return done;
}

void Replay::skipTo(uint64_t frame) {
    restart();
    uint64_t left = std::min(frame, songFrames());
    while (left > 0 && nextTickReady()) {
        const uint64_t chunk = std::min<uint64_t>(left, static_cast<uint64_t>(tickFramesLeft_));
        for (Voice& voice : voices_) {
            voice.channel().skip(chunk);
        }
        left -= chunk;
        tickFramesLeft_ -= static_cast<int>(chunk);
    }
}

} // namespace fc
