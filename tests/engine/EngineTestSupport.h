#pragma once
// Helpers for the engine tests: an offline engine with a captured HTML log, a scratch folder
// that becomes the current directory, and 16-bit PCM WAV files written by the test.
//
// Threading: test thread only.

#include "LogFile.h"
#include "PlaybackSequencer.h"
#include "SoundEngine.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace enginetest {

struct LogEntry {
    int level; // 0 black, 1 blue, 2 red
    std::string text;
};

// A fresh folder under the test temp dir that is the current directory while the object lives.
class ScratchDir {
public:
    explicit ScratchDir(const std::string& name);
    ~ScratchDir();
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
    std::string previous_;
};

// Installs a LogFile as theLogFile for the object's life and reads its lines back.
class CapturedLog {
public:
    explicit CapturedLog(const std::string& path);
    ~CapturedLog();
    std::vector<LogEntry> entries() const;
    bool contains(const std::string& text) const;

private:
    std::string path_;
    std::unique_ptr<LogFile> log_;
};

// An engine initialised on the offline output (no sound card, no thread).
std::unique_ptr<SoundEngine> offlineEngine();

// Writes a 16-bit stereo WAV of `frames` frames; sample(frame, side) gives each value.
void writeWav(const std::string& path, int rate, uint32_t frames,
              const std::function<int16_t(uint32_t frame, int side)>& sample);

void writeBytes(const std::string& path, const std::vector<uint8_t>& bytes);
std::vector<uint8_t> readBytes(const std::string& path);

// What loadSong reported; `type` starts as "stale" so a failed load must clear it.
struct Loaded {
    bool ok = false;
    int end = 0;
    std::string type = "stale";
};
Loaded load(SoundEngine& engine, const std::string& path, int slot, bool accurate = false,
            bool trim = false, int cutoff = 0);

bool channelPlays(const SoundEngine& engine, int slot);
unsigned positionMs(const SoundEngine& engine, int slot);

// Renders `ms` milliseconds of the offline engine's output (the player's ticks do the same) and
// returns the peak magnitude of what was rendered.
float mixMs(SoundEngine& engine, unsigned ms);

// Ticks (20 ms of mixing, then the check) until the song ends; returns the tick count, or -1.
int ticksUntilEnd(SoundEngine& engine, PlaybackSequencer& sequencer, int limit = 10000);

} // namespace enginetest
