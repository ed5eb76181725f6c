// SoundEngine: queueing a loaded song on the mixer timeline after the current one.
#include "SoundEngine.h"

bool SoundEngine::queueSlotAfter(int slot, int currentSlot) {
    slot = slot == 1 ? 1 : 0;
    audio::Channel& channel = slot == 1 ? channelA : channelB;
    if (system == nullptr || sounds[slot] == nullptr) {
        return false;
    }
    // loadSong left a paused channel at the start; the queued one replaces it.
    channel.stop();
    lastResult = system->playSoundAfter(sounds[slot], getChannel(currentSlot), &channel);
    checkResult(lastResult, "");
    return lastResult == audio::Result::Ok;
}
