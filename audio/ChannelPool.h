#pragma once
// The fixed set of channel slots made at init: each slot pairs a mixer Voice with its Feeder
// and tracks, on the GUI thread, which Channel handle (index + generation) owns it. A slot
// whose channel stopped or finished is "retired": its handle is stale at once, and the slot is
// reused only after the mixer has let go of the voice and the worker thread has ended.
// A slot may be queued after another (System::playSoundAfter): the two are linked until the
// queued one starts or either ends.
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
    int successor = -1;   // slot queued after this one, while linked
    int predecessor = -1; // slot this one is queued after, while linked
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
    // Links `next` (prepared, its voice Queued) to start right after `current`'s last frame.
    void link(ChannelSlot& current, uint32_t currentIndex, ChannelSlot& next, uint32_t nextIndex);
    // True when a channel still waits, queued after the one in `slot`.
    bool hasQueuedSuccessor(const ChannelSlot& slot) const;
    // Ends the channel in the slot: its handle goes stale and its worker is told to stop. A
    // channel still queued after it ends too; one that already started plays on.
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
    // Drops the links from and to the slot (the mixer no longer hands over to or from it).
    void unlink(ChannelSlot& slot);

    std::vector<ChannelSlot> slots_;
    bool realtime_;
};

} // namespace audio::detail
