#pragma once
// A structural check of a VGM file's command stream before libgme plays it: libgme follows the
// commands without bounds checks, so a stream that runs off its end, jumps into the middle of
// a command or loops without time passing would make it read wild memory or spin.
//
// Threading: pure function, callable from any thread.

#include <cstdint>
#include <span>

namespace game_codec {

// True when the whole (decompressed) VGM file `data` has a header whose offsets lie inside the
// file and whose chip clocks are those of real chips (1..8 MHz, YM2612 up to 16 MHz), a command
// stream made only of commands whose sizes are known and that write only the chips (SN76489,
// YM2413, YM2612) the header gives a clock for, ending with the end command (0x66) inside the
// file and before the GD3 tag, and, when it loops, a loop point on a command boundary followed by
// at least one wait before the end; YM2612 DAC reads and seeks stay inside the PCM data blocks
// before them.
bool isPlayableVgm(std::span<const uint8_t> data);

} // namespace game_codec
