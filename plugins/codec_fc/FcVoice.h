#pragma once
// One voice's instrument: the volume macro (envelope, vibrato settings, which frequency macro)
// and the frequency macro (sounds, transposes, pitch bends), advanced once per 50 Hz tick, and
// the pitch and volume they give the voice's channel.
//
// Macro commands as this replay reads them (positions count from the macro's first byte):
//   frequency macro: E0 p loop to p; E1 end; E2 s start sound s; E3 sp dp new vibrato;
//     E4 s change to sound s when the current pass ends; E7 m continue in macro m;
//     E8 t pause t ticks; E9 a b sample pack (not supported: skipped); EA sp t pitch bend of
//     signed sp per tick for t ticks; other E5..EF skipped; below E0 a transpose, one a tick:
//     bit 7 set plays note (value & 7F) whatever the pattern's note.
//   volume macro: byte 0 ticks per step, 1 frequency macro, 2..4 vibrato speed, depth, delay,
//     then from byte 5: volumes 0..64 (larger ones play 64); E0 p loop to p (at least 5);
//     E1 end; E8 t pause t ticks; EA sp t volume slide of signed sp per tick for t ticks; other
//     commands skipped.
// Decisions: a tick runs at most MaxCommandsPerTick commands per macro, so a macro that jumps
// to itself holds still instead of hanging. Vibrato is a triangle that moves `speed` a tick
// between -depth and +depth and shifts the period by value * period / 1024. Sound numbers
// 0..9 are the sample slots, 10 on the waveforms. A new note restarts both macros but keeps
// the channel's sound until the frequency macro starts another (as Amiga hardware would).

#include "FcChannel.h"
#include "FcModule.h"

namespace fc {

class Voice {
public:
    // Starts instrument `instrument` (a volume macro) on note index `note`. An instrument that
    // does not exist silences the voice.
    void trigger(const Module& module, int note, int instrument);
    // A slide: `speed` period units a tick (positive = lower pitch), 0 to stop.
    void setPortamento(int speed) { portamentoSpeed_ = speed; }
    // Changes the note without restarting the instrument.
    void setNote(int note) { note_ = note; }

    // Runs one tick of the macros and sets the channel's period and volume.
    void tick(const Module& module);

    Channel& channel() { return channel_; }

private:
    void frequencyTick(const Module& module);
    void volumeTick(const Module& module);
    void setSound(const Module& module, int index, bool now);
    int period();

    Channel channel_;
    bool active_ = false;
    int note_ = 0;
    int instrument_ = 0;

    int volume_ = 0;
    int volumePosition_ = 0;
    int volumeSpeed_ = 1;
    int volumeCountdown_ = 0;
    int volumePause_ = 0;
    int volumeSlideSpeed_ = 0;
    int volumeSlideTicks_ = 0;

    int frequencyMacro_ = 0;
    int frequencyPosition_ = 0;
    int frequencyPause_ = 0;
    int transpose_ = 0;
    bool fixedNote_ = false;

    int vibratoSpeed_ = 0;
    int vibratoDepth_ = 0;
    int vibratoDelay_ = 0;
    int vibrato_ = 0;
    int vibratoDirection_ = 1;

    int bendSpeed_ = 0;
    int bendTicks_ = 0;
    int bend_ = 0;
    int portamentoSpeed_ = 0;
    int portamento_ = 0;
};

} // namespace fc
