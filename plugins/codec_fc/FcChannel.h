#pragma once
// One Amiga sound channel: plays a sound's bytes once, then its loop part over and over, at a
// step set from the Amiga period, with linear interpolation between samples.
//
// Positions are 32.32 fixed point so that skipping n frames at once lands exactly where n
// single steps would: seeking replays ticks without mixing and must match playback.

#include "FcModule.h"

#include <cstdint>

namespace fc {

inline constexpr int OutputRate = 44100;
inline constexpr uint32_t PaulaClockHz = 3546895;

class Channel {
public:
    // Starts `sound` from its first byte.
    void start(const Sound& sound);
    // Plays `sound`'s loop part (or the whole of it) once the current pass ends; starts it now
    // when the channel is silent.
    void queue(const Sound& sound);
    void stop() { data_ = nullptr; }

    // Amiga period (clock ticks per sample, > 0) and volume 0..64.
    void setPeriod(int period);
    void setVolume(int volume) { volume_ = volume; }

    // Adds `frames` samples, each scaled by `gain` * volume / 64, to out[0], out[stride], ...
    void mix(float* out, size_t stride, size_t frames, float gain);
    // Moves on `frames` samples without producing them.
    void skip(uint64_t frames);

private:
    // Past the end of the current pass: continue in the loop part or fall silent.
    void wrap();

    const int8_t* data_ = nullptr; // current pass, null when silent
    uint32_t length_ = 0;
    const int8_t* loopData_ = nullptr; // what plays after it, null for nothing
    uint32_t loopLength_ = 0;
    uint64_t position_ = 0; // bytes, 32.32 fixed point
    uint64_t step_ = 0;
    int volume_ = 0;
};

} // namespace fc
