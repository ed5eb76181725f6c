#pragma once
// A real-time output: something that calls Mixer::renderTimed at the pace of a sound device.
// The offline output has no object: the caller renders through System::mix.
//
// Threading: open/close on the GUI thread; the output's own thread runs the mixer.

#include "Audio.h"
#include "Mixer.h"

#include <memory>
#include <string>

namespace audio::detail {

class Output {
public:
    virtual ~Output() = default;
    // Stops the output thread; after return the mixer is no longer called.
    virtual void close() = 0;
};

// Opens the SDL2 audio device at the mixer's rate, stereo float, `bufferFrames` per callback.
// Returns Ok or OutputInitFailed with `*error` from SDL.
Result openSdlOutput(Mixer& mixer, int bufferFrames, std::unique_ptr<Output>* out,
                     std::string* error);
// A thread that renders `bufferFrames` at real-time pace. With `wavPath` non-empty it writes
// what it renders there (OutputInitFailed when the file cannot be created).
Result openPacedOutput(Mixer& mixer, int bufferFrames, const std::string& wavPath,
                       std::unique_ptr<Output>* out);

} // namespace audio::detail
