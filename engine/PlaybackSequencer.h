#pragma once
// PlaybackSequencer: the player's song-change logic without a window. It keeps the current
// slot, starts an entry in the other slot (stop the old channel, load, fix the entry's length,
// seek to its start offset, unpause), and on each tick of the player's 20 ms timer says whether
// the current song has ended. The player window and tools/tamberlo-render both use it, so the
// tool renders exactly what the player plays.
//
// End rule, as the player has always had it: a song has ended when its channel no longer plays
// or its position (ms) has reached the end length taken when the entry was started. On an
// entry's first play (stored length 0) that is the engine's end: with gapless on, the measured
// audible end; for a stream, unknown (never reached). On later plays it is the length stored in
// the entry by the previous start: the full length, or the unknown-length limit for streams.
//
// Threading: GUI thread only (it drives the SoundEngine).

#include "SoundEngine.h"
#include "StreamLog.h"

#include <cstdint>
#include <string>

// The parts of a playlist entry that starting a song reads and fills in.
struct SequencedEntry {
    std::string path;           // file path or URL
    uint32_t startOffsetMs = 0; // where playback begins, ms: the leading silence; set by start()
    uint32_t lengthMs = 0;      // 0 = not yet played; UnknownLengthMs = unknown; set by start()
    std::string formatName;     // the sound type's display text; set by start()
    SongRange range;            // the part of `path` that is the song (a CUE track); default all
};

struct SequencerOptions {
    bool accurate = false;            // exact length and seeking for VBR files
    bool gapless = false;             // measure silence; move on at the audible end
    int cutoff = 0;                   // silence threshold for the measurement (see SoundEngine)
    bool unknownLimit = false;        // give songs of unknown length a length of ...
    uint32_t unknownLimitSeconds = 0; // ... this many seconds (stored in the entry)
};

class PlaybackSequencer {
public:
    static constexpr uint32_t UnknownLengthMs = 0xFFFFFFFFu;

    // The engine must outlive the sequencer and be initialised before start().
    explicit PlaybackSequencer(SoundEngine& engine) : engine_(engine) {}

    void setOptions(const SequencerOptions& options) { options_ = options; }
    const SequencerOptions& options() const { return options_; }

    // The slot of the current song, 0 or 1 (0 before the first start).
    int slot() const { return slot_; }
    // The end length (ms) the tick compares the position with; UnknownLengthMs if none.
    uint32_t endMs() const { return endMs_; }
    // True between a start() and stop().
    bool active() const { return active_; }

    struct StartResult {
        bool loaded = false;   // false: the song could not be loaded (mark it failed)
        bool seekable = false; // the entry's length is known and not imposed by the limit
    };
    // Stops the current slot's channel, switches to the other slot and loads the entry there.
    // On success: a first-played entry takes the engine's end as its length; every entry takes
    // the format name and the start offset the engine found (the leading silence, gapless on);
    // the end length for the ticks is taken from the entry; then the entry's length becomes the
    // unknown-length limit (when on and unknown) or the sound's full length. Unless `paused`,
    // the channel is positioned at the entry's start offset and unpaused. After a failed load the
    // next tick reports the end (the channel does not play), so the caller moves on.
    StartResult start(SequencedEntry& entry, bool paused = false);

    struct Tick {
        bool ended = false;
        unsigned positionMs = 0;
    };
    // One timer tick: reads the current channel's position and state, and logs what a stream
    // did since the last tick (StreamLog.h). Nothing happens (ended false) when not active; the
    // window also skips ticks while paused.
    Tick tick();

    // Stops both slots (SoundEngine::stopAll) and becomes inactive.
    void stop();

private:
    SoundEngine& engine_;
    SequencerOptions options_;
    int slot_ = 0;
    uint32_t endMs_ = UnknownLengthMs;
    bool active_ = false;
    std::string path_; // of the current song, for the stream log
    StreamLog streamLog_;
};
