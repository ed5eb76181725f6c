// SoundEngine: queueing an installed song on the mixer timeline after the current one.
#include "SoundEngine.h"

bool SoundEngine::queueSlotAfter(int slot, int currentSlot) {
    slot = slot == 1 ? 1 : 0;
    audio::Channel& channel = slot == 1 ? channelA : channelB;
    if (system == nullptr || sounds[slot] == nullptr) {
        return false;
    }
    // installSong left a paused channel at the start; the queued one replaces it. Should the
    // queueing fail (the current song has just ended), the slot gets its paused channel back,
    // so the song change starts it the ordinary way.
    channel.stop();
    lastResult = system->playSoundAfter(sounds[slot], getChannel(currentSlot), &channel);
    if (lastResult == audio::Result::Ok) {
        return true;
    }
    replaySlotPaused(slot);
    return false;
}

bool SoundEngine::replaySlotPaused(int slot) {
    slot = slot == 1 ? 1 : 0;
    audio::Channel& channel = slot == 1 ? channelA : channelB;
    if (system == nullptr || sounds[slot] == nullptr) {
        return false;
    }
    channel.stop();
    lastResult = system->playSound(sounds[slot], true, &channel);
    return lastResult == audio::Result::Ok;
}
