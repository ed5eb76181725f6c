// SoundEngine: putting a prepared song into a slot, loading in one go, starting a slot and
// stopping everything.
#include "SoundEngine.h"

#include "GzipSong.h"

uint32_t SoundEngine::gzipUncompressedSize(const std::string& path) {
    return engine_detail::gzipTrailerSize(path);
}

audio::Result SoundEngine::releaseSlotSound(int slot) {
    audio::Sound*& sound = sounds[slot];
    // A slot whose creation failed is still marked loaded; releasing it is refused as an
    // invalid handle and logged, which is harmless.
    const audio::Result result = sound != nullptr ? sound->release() : audio::Result::InvalidHandle;
    sound = nullptr;
    return result;
}

bool SoundEngine::installSong(PreparedSong&& song, int slot) {
    slot = slot == 1 ? 1 : 0;
    if (loaded[slot]) {
        lastResult = releaseSlotSound(slot);
        loaded[slot] = false;
        checkResult(lastResult, "");
    }
    PreparedSong taken = std::move(song);
    if (system == nullptr || taken.cancelled) {
        return false;
    }
    // A song refused before any open (a gzip file that is too large or damaged) leaves the slot
    // free; one the library refused keeps it marked, as a failed load always has.
    if (!taken.loaded()) {
        loaded[slot] = taken.opened;
        lastResult = taken.opened ? taken.result : lastResult;
        return false;
    }
    sounds[slot] = taken.sound.release();
    loaded[slot] = true;
    lastStart = taken.startMs;

    // The channel exists only once the sound plays, so it is started and paused at once; it
    // waits at the start position until startSlot.
    audio::Channel& channel = slot == 1 ? channelA : channelB;
    channel.stop();
    lastResult = system->playSound(sounds[slot], false, &channel);
    channel.setPaused(true);
    channel.setPosition(static_cast<unsigned>(taken.startMs), audio::TimeUnit::Ms);
    channel.getFrequency(&baseFrequency[slot == 1 ? 0 : 1]);
    return lastResult == audio::Result::Ok;
}

bool SoundEngine::loadSong(const std::string& path, int slot, bool accurate, bool trim, int cutoff,
                           int* endOut, std::string* typeNameOut, const SongRange& range) {
    SongOptions options;
    options.range = range;
    options.accurate = accurate;
    options.trim = trim;
    options.cutoff = cutoff;
    PreparedSong song = prepareSong(path, options);
    if (endOut != nullptr && song.loaded()) {
        *endOut = song.endMs;
    }
    if (typeNameOut != nullptr) {
        *typeNameOut = song.typeName;
    }
    return installSong(std::move(song), slot);
}

bool SoundEngine::startSlot(int slot) {
    (slot == 1 ? channelA : channelB).setPaused(false);
    return true;
}

void SoundEngine::stopAll() {
    for (audio::Channel* channel : {&channelA, &channelB}) {
        bool playing = false;
        channel->isPlaying(&playing);
        if (playing) {
            lastResult = channel->stop();
            checkResult(lastResult, "");
        }
    }
    for (int slot = 0; slot < 2; ++slot) {
        if (loaded[slot]) {
            lastResult = releaseSlotSound(slot);
            checkResult(lastResult, "");
            loaded[slot] = false;
        }
    }
}
