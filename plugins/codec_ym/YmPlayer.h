#pragma once
// Plays a parsed YM song through the YM2149 emulation at 44100 Hz mono: applies one register
// frame per 1/frameRate s, runs the YM5/YM6 timer effects (SID voice, digidrum, sync buzzer)
// and averages the chip's steps down to the output rate, minus the DC offset.
//
// Threading: one instance per decoder, used by one thread at a time.

#include "Ym2149.h"
#include "YmFile.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace ym {

class YmPlayer {
public:
    static constexpr int SampleRate = 44100;

    explicit YmPlayer(YmSong song);

    const YmSong& song() const { return song_; }
    // Samples of one pass through all frames (the song is played once, not looped).
    uint64_t lengthSamples() const { return length_; }
    // Renders up to `count` mono samples (about -1..1) from the position; 0 at the end.
    size_t render(float* out, size_t count);
    // Moves to `sample` (0..lengthSamples()): the chip state is rebuilt from that frame's
    // registers (the envelope restarts) and the samples before it in the frame are played
    // and dropped, at most one frame's worth. False past the end.
    bool seek(uint64_t sample);

private:
    enum class Effect { None, Sid, Drum, Buzzer };
    struct EffectSlot {
        Effect effect = Effect::None;
        int voice = 0;
        double phase = 0;  // timer position, one event per whole unit
        double step = 0;   // timer events per chip step
        uint8_t value = 0; // SID volume, drum number or buzzer shape
        bool high = false; // SID: the voice is on
        size_t drumPosition = 0;
    };

    void applyFrame(size_t index);
    void setEffect(EffectSlot& slot, Effect effect, int voice, int predivisor, int count,
                   uint8_t value);
    // Steps (1..limit) until the next effect timer event; `limit` when none runs.
    uint32_t stepsToNextEffect(uint32_t limit) const;
    void runEffects(uint32_t steps);
    float nextSample();
    uint64_t frameAt(uint64_t sample) const;

    YmSong song_;
    Ym2149 chip_;
    uint64_t length_ = 0;
    uint64_t position_ = 0;
    uint64_t appliedFrame_ = ~uint64_t{0};
    double stepsPerSample_ = 0;
    double stepBudget_ = 0;
    float lastLevel_ = 0;
    float dcInput_ = 0;
    float dcOutput_ = 0;
    std::array<EffectSlot, 2> effects_{};
};

} // namespace ym
