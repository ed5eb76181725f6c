#pragma once
// The state behind a System: plug-ins, the output, the mixer with its channel pool, the DSP
// units and the sounds not yet released.
//
// Threading: GUI thread only, except createSound and forgetSound, which one loader thread may
// also call while the GUI thread uses the System (the set of sounds is guarded by a mutex; the
// plug-in registry is made at construction and only read while sounds are created). init and
// close must not run while a createSound is under way. The mixer and output it owns run their
// own threads.

#include "Audio.h"
#include "ChannelPool.h"
#include "Mixer.h"
#include "Output.h"

#include <memory>
#include <mutex>
#include <set>
#include <vector>

namespace audio::detail {

class SystemCore {
public:
    SystemCore();
    ~SystemCore();

    Result init(int maxChannels, const OutputSpec& outputSpec);
    Result close();
    bool initialised() const { return mixer_ != nullptr; }
    bool offline() const { return offline_; }

    // Wraps an opened decoder in a Sound (Sample mode decodes it whole).
    Result createSound(std::unique_ptr<Decoder> decoder, Mode mode, Sound** sound);
    Result playSound(Sound* sound, bool paused, Channel* channel);
    Result playSoundAfter(Sound* next, const Channel& current, Channel* channel);
    // Stops the sound's channels and drops it from the list released by close.
    void forgetSound(Sound* sound);
    // Whether `sound` was made by this System and is not yet released.
    bool owns(Sound* sound);

    PluginRegistry& plugins();
    Mixer* mixer() { return mixer_.get(); }
    ChannelPool* pool() { return pool_.get(); }
    const OutputInfo& outputInfo() const { return info_; }
    std::vector<std::unique_ptr<Dsp>>& dsps() { return dsps_; }
    ChannelGroup& master() { return master_; }

private:
    // The channel a new one is queued after.
    struct Queue {
        ChannelSlot* slot;
        uint32_t index;
        uint32_t generation;
    };
    Result openOutput(const OutputSpec& outputSpec);
    // Binds a free slot to the sound and starts it (paused or not), or queues it `after`.
    Result startChannel(Sound* sound, bool paused, const Queue* after, Channel* channel);

    std::unique_ptr<PluginRegistry> plugins_;
    OutputInfo info_;
    bool offline_ = false;
    std::unique_ptr<Mixer> mixer_;
    std::shared_ptr<ChannelPool> pool_;
    std::unique_ptr<Output> output_;
    std::vector<std::unique_ptr<Dsp>> dsps_;
    std::mutex soundsMutex_; // guards sounds_
    std::set<Sound*> sounds_;
    ChannelGroup master_;
};

} // namespace audio::detail
