#pragma once
// PlaybackSequencer: the player's song-change logic without a window. It keeps the current
// slot, starts an entry in the other slot (stop the old channel, load, fix the entry's length,
// seek to its start offset, unpause), and on each tick of the player's 20 ms timer says whether
// the current song has ended. The player window and tools/tamberlo-render both use it, so the
// tool renders exactly what the player plays.
//
// Starting is two-phase when a SongLoader is given: begin() stops the old channel, switches the
// slot and asks the loader for the song; collect(), called when the loader says a preparation is
// ready, installs it and does the rest. Without a loader (or through start()) the song is
// prepared on the calling thread and the start completes at once.
//
// Preloading: preloadNext() prepares the next entry ahead on the loader once the current song
// has started; at most one prepared song is held. begin() of that entry then installs it at
// once. installNextPaused() goes one step further and puts it into the other slot, paused at its
// start, so a mixer can queue its channel; begin() of that entry then adopts the slot as it is.
// A held song that the next begin() does not ask for (another path or other options) is
// released.
//
// Sample-exact mode (options.sampleExact): nothing is measured or trimmed, and queueNext()
// installs the next song ahead with its channel queued on the mixer timeline, so it starts on
// the sample after the current song's last one; the song change then adopts that channel. A
// song of known length ends only when its channel does (a position in ms reads as the length
// a few ms before the last sample has played).
//
// End rule, as the player has always had it: a song has ended when its channel no longer plays
// or its position (ms) has reached the end length taken when the entry was started. On an
// entry's first play (stored length 0) that is the engine's end: with gapless on, the measured
// audible end; for a stream, unknown (never reached). On later plays it is the length stored in
// the entry by the previous start: the full length, or the unknown-length limit for streams.
// While a load is pending the tick says "loading", never "ended".
//
// Threading: GUI thread only (it drives the SoundEngine and the loader's owner side).

#include "SongLoader.h"
#include "SoundEngine.h"
#include "StreamLog.h"

#include <cstdint>
#include <optional>
#include <string>

// The parts of a playlist entry that starting a song reads and fills in.
struct SequencedEntry {
    std::string path;           // file path or URL
    uint32_t startOffsetMs = 0; // where playback begins, ms: the leading silence; set by start()
    uint32_t lengthMs = 0;      // 0 = not yet played; UnknownLengthMs = unknown; set by start()
    std::string formatName;     // the sound type's display text; set by start()
    SongRange range;            // the part of the file that is the song (a CUE track); default all
    std::string file;           // opened instead of `path` when set (a CUE track's audio file);
                                // `path` still names the entry (preloads are matched by it)
};

struct SequencerOptions {
    bool accurate = false;            // exact length and seeking for VBR files
    bool gapless = false;             // measure silence; move on at the audible end
    int cutoff = 0;                   // silence threshold for the measurement (see SoundEngine)
    bool unknownLimit = false;        // give songs of unknown length a length of ...
    uint32_t unknownLimitSeconds = 0; // ... this many seconds (stored in the entry)
    bool sampleExact = false;         // join songs sample to sample (no trimming, see above)
};

class PlaybackSequencer {
public:
    static constexpr uint32_t UnknownLengthMs = 0xFFFFFFFFu;

    // The engine (and the loader, when given) must outlive the sequencer, and the engine be
    // initialised before a start.
    explicit PlaybackSequencer(SoundEngine& engine, SongLoader* loader = nullptr)
        : engine_(engine), loader_(loader) {}
    // Releases a held prepared song.
    ~PlaybackSequencer();
    PlaybackSequencer(const PlaybackSequencer&) = delete;
    PlaybackSequencer& operator=(const PlaybackSequencer&) = delete;

    void setOptions(const SequencerOptions& options) { options_ = options; }
    const SequencerOptions& options() const { return options_; }

    // The slot of the current song, 0 or 1 (0 before the first start).
    int slot() const { return slot_; }
    // The end length (ms) of the current song, which the tick compares the position with
    // (sample-exact: only for songs of unknown length); UnknownLengthMs if none.
    uint32_t endMs() const { return endMs_; }
    // True between a start() and stop().
    bool active() const { return active_; }
    // True between a begin() that asked the loader and the collect() that completes it.
    bool loading() const { return loadTicket_ != 0; }

    struct StartResult {
        bool loaded = false;    // false: the song could not be loaded (mark it failed)
        bool seekable = false;  // the entry's length is known and not imposed by the limit
        bool preloaded = false; // it was prepared ahead: starting skipped the loading step
    };
    struct Started {
        SequencedEntry entry; // the entry given to begin(), filled in as start() describes
        StartResult result;
    };

    // Stops the current slot's channel, switches to the other slot and loads the entry there.
    // On success: a first-played entry takes the engine's end as its length; every entry takes
    // the format name and the start offset the engine found (the leading silence, gapless on);
    // the end length for the ticks is taken from the entry; then the entry's length becomes the
    // unknown-length limit (when on and unknown) or the sound's full length. Unless `paused`,
    // the channel is positioned at the entry's start offset and unpaused. After a failed load the
    // next tick reports the end (the channel does not play), so the caller moves on.
    // With a loader this waits for it (tools); the window uses begin() and collect().
    StartResult start(SequencedEntry& entry, bool paused = false);

    // The first half of start(): returns the started entry at once when the song is ready (held
    // prepared, installed ahead, or prepared here because there is no loader); otherwise the
    // loader works on it and collect() completes it. A begin() supersedes an earlier pending one.
    std::optional<Started> begin(const SequencedEntry& entry, bool paused);
    // Takes what the loader finished: the pending begin()'s song is installed and its start
    // completed with `paused` as it is now; a preloaded next song is held. Returns the completed
    // start, or nothing (not ready yet, or the preparation was for the next entry).
    std::optional<Started> collect(bool paused);

    // Prepares `path` ahead with the current options, unless it is already held or under way.
    // Ignored without a loader or while a begin() is pending. Replaces a different held song.
    void preloadNext(const SequencedEntry& entry);
    void preloadNext(const std::string& path) { preloadNext(entryFor(path)); }
    // Releases the held next song (and stops a preload under way).
    void dropPreloaded();
    // True when the next song for `path` (with the current options) is held or installed ahead.
    bool isPreloaded(const std::string& path) const;
    // Puts the held next song into the other slot, paused at its start, and returns its channel
    // (a stale handle when nothing is held or it failed to load). begin() of that path adopts it.
    audio::Channel installNextPaused();
    // Sample-exact mode: queues the next song for `path` to start right after the current
    // one's last sample. Without a loader it is prepared here first; with one it must be held
    // already (preloadNext, then call again once the loader has it). Returns true when it is
    // queued (now or before); false when sample-exact is off, nothing plays, a load is pending,
    // the song is not ready or failed, or the current song has already ended.
    bool queueNext(const SequencedEntry& entry);
    bool queueNext(const std::string& path) { return queueNext(entryFor(path)); }

    struct Tick {
        bool ended = false;
        bool loading = false; // a begin() waits for its song: nothing plays, nothing ends
        unsigned positionMs = 0;
    };
    // One timer tick: reads the current channel's position and state, and logs what a stream
    // did since the last tick (StreamLog.h). Nothing happens (ended false) when not active; the
    // window also skips ticks while paused.
    Tick tick();

    // Stops both slots (SoundEngine::stopAll), drops a pending load and a held next song, and
    // becomes inactive.
    void stop();

private:
    // What start() needs of a song after it is in its slot.
    struct SongFacts {
        bool loaded = false;
        std::string typeName;
        int startMs = 0;
        int endMs = 0;
    };
    static SongFacts factsOf(const PreparedSong& song);
    // The options for preparing `entry` (its range included); songOptions() for a whole file.
    SongOptions songOptions(const SequencedEntry& entry = {}) const;
    static SequencedEntry entryFor(const std::string& path) {
        SequencedEntry entry;
        entry.path = path;
        return entry;
    }
    static const std::string& fileOf(const SequencedEntry& entry) {
        return entry.file.empty() ? entry.path : entry.file;
    }
    bool holds(const std::string& path) const;
    // Installs the song in the current slot and completes the start.
    Started install(PreparedSong&& song, bool paused, bool preloaded);
    // adopted: the song was installed ahead and its channel may already play.
    Started complete(const SongFacts& facts, bool paused, bool preloaded, bool adopted);

    SoundEngine& engine_;
    SongLoader* loader_;
    SequencerOptions options_;
    int slot_ = 0;
    uint32_t endMs_ = UnknownLengthMs;
    bool endByChannel_ = false; // only the channel's own end ends the song, not the position
    bool active_ = false;
    std::string path_; // of the current song, for the stream log
    StreamLog streamLog_;

    SequencedEntry pendingEntry_; // what the pending begin() asked for
    SongLoader::Ticket loadTicket_ = 0;

    // The next song: under way on the loader, held prepared, or installed in the other slot.
    SongLoader::Ticket preloadTicket_ = 0;
    std::string preloadPath_;
    SongOptions preloadOptions_;
    std::optional<PreparedSong> nextSong_;
    std::optional<SongFacts> nextInstalled_; // set: nextSong_ sits in slot 1 - slot_
};
