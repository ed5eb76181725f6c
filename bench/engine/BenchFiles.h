#pragma once
// Shared by the engine benchmarks: generated media in a scratch folder and 16-bit WAV access.
//
// Threading: main thread only.

#include <cstdint>
#include <string>
#include <vector>

namespace enginebench {

// A fresh scratch folder under /tmp for this run.
std::string scratchDir(const std::string& name);
// Runs a shell command; exits the program with a message when it fails.
void mustRun(const std::string& command);
// Interleaved 16-bit stereo frames of a WAV (walks the chunks to "data"); empty on error.
std::vector<int16_t> readWavFrames(const std::string& path, int* rate);
void writeWav(const std::string& path, int rate, const int16_t* samples, size_t frames);

} // namespace enginebench
