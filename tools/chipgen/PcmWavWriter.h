#pragma once
// Writes RIFF WAV files in memory: 16-bit PCM or 32-bit IEEE float, interleaved, with the plain
// 44-byte header. For test media and fuzz seeds that must hold exact sample values (the player's
// own writer, audio/output/WavWriter.h, takes float and writes files).
//
// Threading: pure functions, callable from any thread.

#include <cstdint>
#include <vector>

namespace chipgen {

// `samples` interleaved over `channels` channels at `rate` Hz.
std::vector<uint8_t> pcmWav(int rate, int channels, const std::vector<int16_t>& samples);
// The same as 32-bit float (format 3), whatever the values: NaN and infinities stay as they are.
std::vector<uint8_t> floatWav(int rate, int channels, const std::vector<float>& samples);

} // namespace chipgen
