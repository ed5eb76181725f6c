#pragma once
// What a network stream is doing: the title the server announces and whether the stream is
// reconnecting after a drop. The counts only grow, so a caller that looks now and then can
// still tell every try that was made since its last look. Files and memory blocks have an
// empty status.
//
// Threading: a plain value, copied out of the decoder under its lock (Sound::getStreamStatus).

#include <cstdint>
#include <string>

namespace audio {

struct StreamStatus {
    std::string title;         // the latest StreamTitle the server sent (UTF-8); empty when none
    std::string station;       // the server's icy-name (UTF-8); empty when none
    uint32_t drops = 0;        // times the stream dropped or stalled while playing
    int reconnectTries = 0;    // tries allowed after a drop (0: a drop ends the stream)
    int triesAfterDrop = 0;    // tries made after the latest drop (0..reconnectTries), kept
    bool reconnecting = false; // a reconnect after the latest drop is under way
    bool lost = false;         // every try after a drop failed: the stream's data has ended
};

} // namespace audio
