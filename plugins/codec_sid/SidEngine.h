#pragma once
// One SID tune in libsidplayfp's C64 emulation (reSIDfp chips, PAL unless the tune says NTSC),
// rendering 16-bit samples. Owns the tune, the chip builder and the engine (in the order the
// engine needs them to outlive it).
//
// There are no C64 ROM images here (they are not free to ship). The engine runs PSID tunes and
// RSID tunes without them, but an RSID that calls KERNAL routines may play wrongly (that cannot
// be told from the file); tunes that need the BASIC ROM are refused.
//
// Threading: one thread at a time per engine.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

class SidTune;
class ReSIDfpBuilder;
class sidplayfp;

namespace sid {

class SidEngine {
public:
    // The tune in `file` (copied) with subsong 0 loaded, rendering at `sampleRate` Hz; null when
    // the library refuses the file or cannot run it.
    static std::unique_ptr<SidEngine> open(std::span<const uint8_t> file, int sampleRate);
    ~SidEngine();
    SidEngine(const SidEngine&) = delete;
    SidEngine& operator=(const SidEngine&) = delete;

    // 1, or 2 for tunes with more than one SID chip (interleaved left, right).
    int channels() const { return channels_; }
    int subsongCount() const { return subsongs_; }

    // Loads subsong `index` (0-based) from its start: a fresh C64 running the tune's init.
    // False when out of range or the engine refuses (render() then gives nothing).
    bool start(int index);
    // Renders up to `frames` frames of interleaved int16 into `out`; fewer (maybe 0) when the
    // emulation stopped with an error or no subsong is loaded. The work is proportional to `frames`
    // whatever the tune's code does (the emulation runs by cycles, not until a routine returns).
    size_t render(int16_t* out, size_t frames);

private:
    SidEngine();

    std::vector<uint8_t> file_;
    std::unique_ptr<SidTune> tune_;
    std::unique_ptr<ReSIDfpBuilder> builder_;
    std::unique_ptr<sidplayfp> engine_;
    int channels_ = 1;
    int subsongs_ = 1;
    int sampleRate_ = 44100;
    bool ready_ = false; // the engine holds a loaded subsong
};

} // namespace sid
