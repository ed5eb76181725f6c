#pragma once
// Command line of tamberlo-render.
//
// Threading: plain functions; main thread.

#include "PlaybackSequencer.h"

#include <string>
#include <vector>

struct RenderOptions {
    std::string out;            // -o: the WAV to write
    int rate = 44100;           // --rate: output rate in Hz, 8000..192000
    SequencerOptions sequencer; // --gapless, --sample-exact, --cutoff, --accurate,
                                // --unknown-limit
    bool reverb = false;        // --reverb
    bool normalize = false;     // --normalize
    std::string logPath;        // --log: HTML log of the engine ("" = none)
    int repeat = 1;             // --repeat: plays of the list, 1..100
    int maxSeconds = 3600;      // --max-seconds: output cap, 1..86400
    std::vector<std::string> files;
};

// Fills `options` from the arguments; false for an unknown option, a bad number, no -o or no
// files.
bool parseRenderOptions(int argc, char** argv, RenderOptions* options);
const char* renderUsage();
