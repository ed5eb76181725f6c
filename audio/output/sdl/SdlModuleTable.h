#pragma once
// The table the SDL module (libtamberlo-sdl) hands to the sound library: the sound device
// through SDL2, which the programs do not link (see ProgramModule.h). Plain C types only.
//
// Threading: open and close on one thread (the one that opens the output); `render` runs on
// SDL's audio thread and must not lock, allocate, log or do I/O.

#include <cstddef>
#include <cstdint>

namespace audio::sdl {

inline constexpr uint32_t ModuleTableVersion = 1;
inline constexpr const char* ModuleName = "sdl";
inline constexpr const char* ModuleEntryName = "tamberlo_sdl_module";

// Fills `frames` interleaved stereo float frames at `out`.
using RenderCallback = void (*)(void* context, float* out, size_t frames);

struct ModuleTable {
    uint32_t version; // ModuleTableVersion
    // Opens the default device at `sampleRate` Hz, stereo float, `bufferFrames` per callback,
    // and starts calling `render(context, ...)`. Returns the device, or null with the reason in
    // `error` (NUL-terminated, cut to `errorBytes`).
    void* (*open)(int sampleRate, int bufferFrames, RenderCallback render, void* context,
                  char* error, size_t errorBytes);
    // Stops the device (waits for a running callback) and frees it; null is ignored.
    void (*close)(void* device);
};

} // namespace audio::sdl
