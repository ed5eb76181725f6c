#pragma once
// SoundEngine: the one object through which the player uses the sound library. It owns the
// System, the codec plug-ins and the effect chain (reverb, normalizer), and plays songs in two
// alternating slots (0 and 1) so that a new song never reuses the sound and channel of the song
// just before it. It measures the near-silence at a song's start and end for gapless playback.
//
// Every checked library call keeps its result in lastResult and goes through checkResult, which
// logs failures as "Audio error! (%d) %s %s" at level 2 and otherwise ignores them: the engine
// keeps going with whatever handles it has. Without a log (theLogFile null) nothing is written.
//
// Threading: GUI thread only, for every member but prepareSong, soundTypeName and the const
// measurement calls, which one loader thread may call at the same time (they read only the
// System and the ripper settings, which are set before loading begins, and write no member).
// prepareSong blocks its thread while it opens, measures and (for refused files) runs the
// module ripper as a child process; installSong is cheap. loadSong does both on the GUI thread.

#include "Audio.h"
#include "PreparedSong.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class SoundEngine {
public:
    // Silence measurement constants: bytes of decoded 16-bit stereo read per measurement, and
    // the zero-filled buffer they are read into (the scans walk over four times the read count).
    static constexpr unsigned MeasureReadBytes = 180000;
    static constexpr unsigned MeasureBufferBytes = 720000;

    SoundEngine() = default;
    // Releases the System if shutdown() was not called.
    ~SoundEngine();
    SoundEngine(const SoundEngine&) = delete;
    SoundEngine& operator=(const SoundEngine&) = delete;

    // Start-up: reverb parameter fields 0.71, 0.56, 0.15, 0.5, 1.0; slots empty; the System
    // created; the seven codec plug-ins tried from "plugin/" in the application folder (never
    // the current directory; ProgramModule.h); speaker
    // mode queried; init with 32 channels on `output` (default Auto: TAMBERLO_OUTPUT, else the
    // sound device); reverb and normalizer created, added and bypassed. Failures are logged.
    // Call once.
    void init(const audio::OutputSpec& output = {});
    // Releases the songs (a stream's network waits end at once), then closes and releases the
    // System (the player does this at exit). Safe to call twice.
    void shutdown();

    audio::System* getSystem() const { return system; }
    // channelA for slot 1, channelB for any other value. Channel handles are cheap copies that
    // go stale safely when the channel stops.
    audio::Channel getChannel(int slot) const { return slot == 1 ? channelA : channelB; }
    // The slot's sound (slot 1 or else 0), null when empty. Owned by the engine.
    audio::Sound* getSound(int slot) const { return sounds[slot == 1 ? 1 : 0]; }
    // The default playback frequency in Hz of the song in the slot (1 or else 0), truncated.
    int getBaseFrequency(int slot) const;
    bool isLoaded(int slot) const { return loaded[slot == 1 ? 1 : 0]; }
    audio::Result getLastResult() const { return lastResult; }

    // Effect parameters in the library's units (each 0..1 for the reverb; the normalizer's fade
    // time in ms, threshold 0..1, maximum amplification 1..100000). Each stores the value the
    // unit uses (clamped to its range; as given before init) and returns the library's result
    // (InvalidHandle before init). A value that is not finite is refused (InvalidParameter) and
    // changes nothing.
    audio::Result setReverbRoomSize(float value);
    audio::Result setReverbDamp(float value);
    audio::Result setReverbWetMix(float value);
    audio::Result setReverbDryMix(float value);
    audio::Result setReverbWidth(float value);
    audio::Result setNormalizerFadeTime(float value);
    audio::Result setNormalizerThreshold(float value);
    audio::Result setNormalizerMaxAmp(float value);
    // On un-bypasses the unit, off bypasses it; the flag is stored.
    audio::Result setReverbEnabled(bool on);
    audio::Result setNormalizerEnabled(bool on);
    bool isReverbEnabled() const { return reverbEnabled; }
    bool isNormalizerEnabled() const { return normalizerEnabled; }
    // Room size, damping, wet mix, dry mix, width; and fade time, threshold, maximum amplification.
    const std::array<float, 5>& getReverbParameters() const { return reverbParameters; }
    const std::array<float, 3>& getNormalizerParameters() const { return normalizerParameters; }
    // Master volume 0.0 (silent) .. 1.0 (full). Returns the setVolume result.
    audio::Result setMasterVolume(float volume);

    // Logs "Audio error! (%d) %s %s" at level 2 for any result but Ok; nothing for Ok.
    void checkResult(audio::Result result, const std::string& context) const;
    // The display text of the sound's type ("MP2/MP3 MPEG", "Protracker/Fasttracker", ...);
    // for a plug-in's sound the plug-in's name for the format when it gives one (at most
    // MaxFormatNameChars characters); "" for an unknown type or a null sound.
    std::string soundTypeName(audio::Sound* sound) const;
    static constexpr size_t MaxFormatNameChars = 49;
    static std::string soundTypeName(audio::SoundType type);

    // Prepares `path` (file path or http URL) without touching a slot: logs "Loading song: PATH",
    // unpacks gzip files in memory (at most 512 MiB), creates the sound (paths ending in ".fc"
    // decoded whole), sends files the library refuses through the module ripper, logs "Loaded
    // file: PATH" and the library's refusal, measures the silence when options.trim, and logs
    // "Found start at: MS of PATH". Any thread (see Threading); blocks for as long as that takes
    // (a stream's connect up to its timeout, the ripper up to its timeout) unless cancelled.
    PreparedSong prepareSong(const std::string& path, const SongOptions& options) const;
    // Puts a prepared song into `slot` (0 or 1): releases the slot's old sound, and for a loaded
    // song plays it paused at its start and takes its base frequency; lastStartMs becomes its
    // start. A song that did not load leaves the slot empty (and its channel still). Returns
    // whether the song's channel started (paused). GUI thread.
    bool installSong(PreparedSong&& song, int slot);

    // Loads `path` (file path or http URL) into `slot` (0 or 1) and leaves its channel paused at
    // the song's start: prepareSong, then installSong, on the calling (GUI) thread. accurate: exact
    // length and seeking (scans VBR files at open). trim: measure the leading and trailing silence
    // against `cutoff` and start after the leading one. *endOut: with trim, the measured end in ms
    // (-1 for a sound of unknown length); without, the full length in ms (-1 when unknown).
    // *typeNameOut: the type's display text or "". Paths ending in ".fc" are decoded whole; gzip
    // files are unpacked in memory (at most 512 MiB); files the library refuses go through the
    // module ripper. `range` restricts the song to part of the file (SongRange); the lengths
    // and positions above are then the range's. Returns true when the song was created and its
    // channel started (paused).
    bool loadSong(const std::string& path, int slot, bool accurate, bool trim, int cutoff,
                  int* endOut, std::string* typeNameOut, const SongRange& range = {});
    // Where the last successful loadSong left its channel: the measured leading silence in ms
    // with trim, else 0.
    int lastStartMs() const { return lastStart; }
    // Unpauses the slot's channel (slot 1: channelA, else channelB). Always returns true.
    bool startSlot(int slot);
    // Sample-exact playing: replaces the paused channel installSong left in `slot` by one
    // queued to start, from the song's start, on the output frame after the last one of
    // `currentSlot`'s channel (System::playSoundAfter). Returns true when queued; false when the
    // slot holds no sound, or the current channel has ended or no channel is free (then the
    // slot's channel is paused at the start again, as installSong left it).
    bool queueSlotAfter(int slot, int currentSlot);
    // Gives the slot's sound a new channel, paused at its beginning (a queued channel ends
    // unheard when the song before it is stopped). Returns whether it started.
    bool replaySlotPaused(int slot);
    // Stops both channels and releases both slots' sounds.
    void stopAll();
    // The gzip trailer's uncompressed size of the file, 0 if it cannot be opened.
    static uint32_t gzipUncompressedSize(const std::string& path);

    // Silence measurement on a private sound, which these release. Start: ms to skip, 0..1020
    // (a quarter of the time of the first loud 16-byte group, by design). End: ms at which the
    // trailing silence begins (at least 765 ms before the length), or -1 for unknown length.
    // threshold: a 32-bit left/right pair counts as sound when its magnitude is above it.
    // The const calls keep their results to themselves (they log failures), so the loader
    // thread may use them; the others also leave the last result in getLastResult.
    int findSoundStart(audio::Sound* sound, int threshold) const;
    int findSoundEnd(audio::Sound* sound, int threshold);
    // The openers: create the private sound (open-only stream) from a path (restricted to
    // `range`) or a memory block of info.length bytes (and info's range; with info.block set,
    // that block is shared instead of copying `data`), and measure it.
    int findSoundStartFromPath(const std::string& path, int threshold,
                               const SongRange& range = {}) const;
    int findSoundStartFromMemory(const void* data, const audio::CreateSoundInfo& info,
                                 int threshold) const;
    int findSoundEndFromPath(const std::string& path, int threshold,
                             const SongRange& range = {}) const;
    int findSoundEndFromMemory(const void* data, const audio::CreateSoundInfo& info,
                               int threshold) const;

    // The module ripper executable (default: "tamberlo-rip" beside the running program) and
    // how long it may run before it is killed (default 15 s). Set them before loading starts.
    void setRipperPath(const std::string& path) { ripperPath = path; }
    void setRipperTimeout(std::chrono::milliseconds timeout) { ripperTimeout = timeout; }

private:
    // The private open-only sound a measurement decodes (from the path, or from the song's
    // memory block: shared when info.block is set, else copied); the creation result goes to
    // *result and is logged; may be null.
    audio::Sound* openMeasureSound(const std::string& path, const SongRange& range,
                                   audio::Result* result) const;
    audio::Sound* openMeasureSound(const void* data, const audio::CreateSoundInfo& info,
                                   audio::Result* result) const;
    // findSoundEnd with the last read or seek result in *result.
    int measureEnd(audio::Sound* sound, int threshold, audio::Result* result) const;

    audio::Result releaseSlotSound(int slot);
    // Creates the song's sound from the file, or through the ripper when the library refuses it
    // (then *rippedBlock receives the module the sound was made from and shares).
    void createFromPathOrRip(PreparedSong& song,
                             std::shared_ptr<const std::vector<uint8_t>>* rippedBlock) const;
    // Measures from the path, or from `block` (shared, not copied) when it is set.
    void measure(PreparedSong& song,
                 const std::shared_ptr<const std::vector<uint8_t>>& block) const;

    std::array<audio::Sound*, 2> sounds{}; // index = slot
    std::array<bool, 2> loaded{};          // the slot's sound must be released before reuse
    std::array<float, 2> baseFrequency{};  // [0] belongs to slot 1, [1] to slot 0
    int lastStart = 0;                     // start position of the last loaded song, ms
    audio::System* system = nullptr;
    audio::Channel channelA; // slot 1
    audio::Channel channelB; // slot 0
    audio::Dsp* reverb = nullptr;
    audio::Dsp* normalizer = nullptr;
    audio::Result lastResult = audio::Result::Ok;
    bool reverbEnabled = false;
    std::array<float, 5> reverbParameters{};
    bool normalizerEnabled = false;
    std::array<float, 3> normalizerParameters{};

    std::string ripperPath;
    std::chrono::milliseconds ripperTimeout{15000};
};
