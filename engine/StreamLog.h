#pragma once
// Writes what a playing stream does to the player's log, from the status the sound library
// reports: each new title once ("Stream title: ...", level 0), each reconnect try after a drop
// (level 1), a reconnect that worked (level 0), and a stream lost after its last try (level 2).
// The PlaybackSequencer feeds it on every 20 ms tick; tries that happened between two ticks
// (the GUI thread was busy) are still written, one line each.
//
// Threading: GUI thread only (like the sequencer that owns it).

#include "StreamStatus.h"

#include <string>

class StreamLog {
public:
    // A new song: nothing of it has been seen yet.
    void reset() { seen_ = {}; }
    // Logs what changed in `now` since the last call; `url` names the stream in the lines.
    void update(const audio::StreamStatus& now, const std::string& url);

private:
    audio::StreamStatus seen_;
};
