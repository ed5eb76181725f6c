#include "ChannelPool.h"

#include <chrono>
#include <thread>

namespace audio::detail {

ChannelPool::ChannelPool(std::vector<std::unique_ptr<Voice>> voices, bool realtime)
    : slots_(voices.size()), realtime_(realtime) {
    for (size_t i = 0; i < voices.size(); ++i) {
        slots_[i].voice = std::move(voices[i]);
        slots_[i].feeder = std::make_unique<Feeder>(slots_[i].voice->ring());
    }
}

ChannelPool::~ChannelPool() {
    shutdown();
}

std::vector<Voice*> ChannelPool::voices() const {
    std::vector<Voice*> result;
    for (const ChannelSlot& slot : slots_) {
        result.push_back(slot.voice.get());
    }
    return result;
}

ChannelSlot* ChannelPool::live(uint32_t index, uint32_t generation) {
    if (index >= slots_.size()) {
        return nullptr;
    }
    ChannelSlot& slot = slots_[index];
    if (!slot.inUse || slot.retired || slot.generation != generation) {
        return nullptr;
    }
    if (slot.voice->state() == VoiceState::Done) { // its data ended
        retire(slot);
        return nullptr;
    }
    return &slot;
}

ChannelSlot* ChannelPool::acquire(uint32_t* index) {
    using namespace std::chrono_literals;
    // A channel stopped a moment ago frees its slot at the mixer's next callback and when its
    // worker has noticed; wait that long (bounded) rather than report no free channel.
    const auto giveUp = std::chrono::steady_clock::now() + 200ms;
    for (;;) {
        reclaim();
        bool retiring = false;
        for (size_t i = 0; i < slots_.size(); ++i) {
            if (!slots_[i].inUse) {
                *index = static_cast<uint32_t>(i);
                slots_[i].inUse = true;
                slots_[i].retired = false;
                slots_[i].successor = -1;
                slots_[i].predecessor = -1;
                return &slots_[i];
            }
            retiring = retiring || slots_[i].retired;
        }
        if (!retiring || std::chrono::steady_clock::now() > giveUp) {
            return nullptr;
        }
        std::this_thread::sleep_for(1ms);
    }
}

void ChannelPool::link(ChannelSlot& current, uint32_t currentIndex, ChannelSlot& next,
                       uint32_t nextIndex) {
    current.successor = static_cast<int>(nextIndex);
    next.predecessor = static_cast<int>(currentIndex);
    current.voice->setSuccessor(next.voice.get());
}

bool ChannelPool::hasQueuedSuccessor(const ChannelSlot& slot) const {
    return slot.successor >= 0 &&
           slots_[static_cast<size_t>(slot.successor)].voice->state() == VoiceState::Queued;
}

void ChannelPool::unlink(ChannelSlot& slot) {
    if (slot.predecessor >= 0) {
        ChannelSlot& before = slots_[static_cast<size_t>(slot.predecessor)];
        before.voice->setSuccessor(nullptr);
        before.successor = -1;
        slot.predecessor = -1;
    }
    if (slot.successor >= 0) {
        slot.voice->setSuccessor(nullptr);
        slots_[static_cast<size_t>(slot.successor)].predecessor = -1;
        slot.successor = -1;
    }
}

void ChannelPool::retire(ChannelSlot& slot) {
    if (!slot.inUse || slot.retired) {
        return;
    }
    // The mixer starts a successor before its predecessor reads as Done, so a successor still
    // Queued here was not started and never will be: it ends with this channel.
    ChannelSlot* waiting =
        hasQueuedSuccessor(slot) ? &slots_[static_cast<size_t>(slot.successor)] : nullptr;
    // Unlinked before the stop request, so the mixer, once it sees the request, no longer
    // finds this voice behind any predecessor.
    unlink(slot);
    slot.retired = true;
    slot.sound = nullptr;
    ++slot.generation;
    if (realtime_) {
        slot.voice->requestStop();
    } else {
        slot.voice->markDone();
    }
    slot.feeder->stop();
    if (waiting != nullptr) {
        retire(*waiting);
    }
}

void ChannelPool::retireAndJoin(ChannelSlot& slot) {
    retire(slot);
    slot.feeder->join();
}

void ChannelPool::reclaim() {
    for (ChannelSlot& slot : slots_) {
        if (slot.inUse && !slot.retired && slot.voice->state() == VoiceState::Done) {
            retire(slot);
        }
        if (!slot.inUse || !slot.retired) {
            continue;
        }
        if (!realtime_) {
            slot.voice->markDone();
        }
        if (slot.voice->state() == VoiceState::Done && slot.feeder->exited()) {
            slot.feeder->join();
            slot.voice->markIdle();
            slot.inUse = false;
            slot.retired = false;
        }
    }
}

void ChannelPool::shutdown() {
    realtime_ = false;
    for (ChannelSlot& slot : slots_) {
        retire(slot);
    }
    for (ChannelSlot& slot : slots_) {
        slot.feeder->join();
    }
    reclaim();
}

} // namespace audio::detail
