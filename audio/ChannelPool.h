#pragma once
// The fixed set of channel slots made at init: each slot pairs a mixer Voice with its Feeder
// and tracks, on the GUI thread, which Channel handle (index + generation) owns it. A slot
// whose channel stopped or finished is "retired": its handle is stale at once, and the slot is
// reused only after the mixer has let go of the voice and the worker thread has ended.
//
// Threading: GUI thread only (the voices it holds are shared with the mixer through their
// atomics, see Voice.h).

#include "Feeder.h"
#include "Voice.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace audio {
class Sound;
}

namespace audio::detail {

struct ChannelSlot {
    std::unique_ptr<Voice> voice;
    std::unique_ptr<Feeder> feeder;
    uint32_t generation = 1; // handles carry this; bumped when the channel ends
    bool inUse = false;      // a channel or its remains occupy the slot
    bool retired = false;    // the channel has ended; waiting to be reclaimed
    Sound* sound = nullptr;  // what plays, while not retired
    uint32_t epoch = 0;      // last seek generation sent to the voice and feeder
    int sourceRate = 44100;
};

class ChannelPool {
public:
    // realtime: a separate thread runs the mixer (stops must wait for its acknowledgement).
    ChannelPool(std::vector<std::unique_ptr<Voice>> voices, bool realtime);
    ~ChannelPool();

    std::vector<Voice*> voices() const;
    // The slot owned by the handle, or nullptr when the handle is stale (retiring it if its
    // voice finished by itself).
    ChannelSlot* live(uint32_t index, uint32_t generation);
    // A free slot (reclaiming what it can first, waiting up to 200 ms for channels that are
    // still winding down), or nullptr.
    ChannelSlot* acquire(uint32_t* index);
    // Ends the channel in the slot: its handle goes stale and its worker is told to stop.
    void retire(ChannelSlot& slot);
    // Like retire, and waits for the worker (the source may be reused at once afterwards).
    void retireAndJoin(ChannelSlot& slot);
    // Frees retired slots whose voice and worker are done.
    void reclaim();
    // No mixer runs any more (output closed): voices may be marked done by the GUI thread.
    void setRealtime(bool realtime) { realtime_ = realtime; }
    // Stops everything and waits for every worker.
    void shutdown();

private:
    std::vector<ChannelSlot> slots_;
    bool realtime_;
};

} // namespace audio::detail
