#pragma once
// PreparedSong: a song opened, unpacked, ripped and measured, but not yet put into a play slot.
// SoundEngine::prepareSong makes one (on any thread), SoundEngine::installSong puts it into a
// slot (GUI thread). It carries everything the preparation found, so nothing of the engine is
// written while it is made, and it owns its sound: one that is never installed is released
// when the PreparedSong goes.
//
// Threading: owned by one thread at a time; it may be moved from the loader thread to the GUI
// thread. It must be destroyed (or installed) before the engine's System is shut down, which
// would release its sound under it.

#include "Audio.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

// Part of a source that plays as a song of its own (a CUE sheet's track): milliseconds from the
// source's start; endMs 0 means to the source's end, otherwise endMs > startMs. The default is
// the whole source. Position 0, the length and the silence measurement are the range's.
struct SongRange {
    uint32_t startMs = 0;
    uint32_t endMs = 0;
    bool operator==(const SongRange&) const = default;
};

// How a song is prepared. Two preparations with equal options (cancel aside) give the same song.
struct SongOptions {
    bool accurate = false; // exact length and seeking (scans VBR files at open)
    bool trim = false;     // measure the leading and trailing silence and start after the first
    int cutoff = 0;        // silence threshold: a left/right pair above it counts as sound
    SongRange range;       // the part of the source that is the song
    // Set: turning it true makes the preparation give up soon (a stream connect, the ripper, a
    // gzip unpack), with `cancelled` set and nothing more logged. Null: never cancelled.
    std::shared_ptr<std::atomic<bool>> cancel;

    bool sameSong(const SongOptions& other) const {
        return accurate == other.accurate && trim == other.trim && cutoff == other.cutoff &&
               range == other.range;
    }
};

// Releases a sound through the library when its owner goes.
struct SoundReleaser {
    void operator()(audio::Sound* sound) const { sound->release(); }
};
using SoundHandle = std::unique_ptr<audio::Sound, SoundReleaser>;

struct PreparedSong {
    std::string path;    // as requested: file path or URL
    SongOptions options; // what it was prepared with
    // Ok when the sound was created; else the library's refusal, NotReady without a System,
    // or the result of the last step that ran (a gzip file refused before any open).
    audio::Result result = audio::Result::NotReady;
    bool cancelled = false; // given up because its cancel flag turned true
    bool opened = false;    // the library was asked to create the sound (so result is its answer)
    SoundHandle sound;      // null unless result is Ok
    std::string typeName;   // the type's display text, "" when not loaded
    int startMs = 0;        // where playback starts: the measured leading silence with trim, else 0
    int endMs = 0;          // trim: the measured end; else the full length; -1 when unknown

    bool loaded() const { return result == audio::Result::Ok && sound != nullptr && !cancelled; }
};
