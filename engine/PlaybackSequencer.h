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
// Sample-exact mode (options.sampleExact): nothing is measured or trimmed; queueNext loads the
// next entry into the other slot and queues it on the mixer timeline, so it starts on the
// sample after the current song's last one. A song of known length then ends only when its
// channel does (a position in ms can read as the length a few ms early), and the tick reports
// the change to the queued song as `advanced` instead of `ended`.
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
};

struct SequencerOptions {
    bool accurate = false;            // exact length and seeking for VBR files
    bool gapless = false;             // measure silence; move on at the audible end
    int cutoff = 0;                   // silence threshold for the measurement (see SoundEngine)
    bool unknownLimit = false;        // give songs of unknown length a length of ...
    uint32_t unknownLimitSeconds = 0; // ... this many seconds (stored in the entry)
    bool sampleExact = false;         // join songs sample to sample (overrides gapless)
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
    // The end length (ms) of the current song: what the tick compares the position with (in
    // sample-exact mode only for songs of unknown length); UnknownLengthMs if none.
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
    // Sample-exact mode, after start() or an advance: loads `entry` into the other slot and
    // queues it to follow the current song, filling in the entry as start() does (start offset
    // 0). Returns loaded false when sample-exact is off, nothing plays, a song is already
    // queued, or the entry cannot be loaded or queued; the current song then ends as usual.
    StartResult queueNext(SequencedEntry& entry);
    // True while a queued song waits for the current one to end.
    bool hasQueued() const { return queued_; }

    struct Tick {
        bool ended = false;    // the current song ended and nothing follows it: start the next
        bool advanced = false; // the queued song has taken over; it is now the current one
        unsigned positionMs = 0;
    };
    // One timer tick: reads the current channel's position and state, and logs what a stream
    // did since the last tick (StreamLog.h). Nothing happens (ended false) when not active; the
    // window also skips ticks while paused.
    Tick tick();

    // Stops both slots (SoundEngine::stopAll) and becomes inactive.
    void stop();

private:
    // Fills in a freshly loaded entry (length, format name, start offset) and returns the end
    // length for the ticks; sets result->seekable, and *byChannel when only the channel's own
    // end counts (sample-exact, known length).
    uint32_t adoptLoaded(SequencedEntry& entry, int slot, int end, const std::string& typeName,
                         StartResult* result, bool* byChannel);

    SoundEngine& engine_;
    SequencerOptions options_;
    int slot_ = 0;
    uint32_t endMs_ = UnknownLengthMs;
    bool endByChannel_ = false; // the position does not end the song, only the channel's end
    bool active_ = false;
    std::string path_; // of the current song, for the stream log
    StreamLog streamLog_;
    bool queued_ = false; // a song waits in the other slot, queued after the current one
    uint32_t queuedEndMs_ = UnknownLengthMs;
    bool queuedEndByChannel_ = false;
    std::string queuedPath_;
};
