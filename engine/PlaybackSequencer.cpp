#include "PlaybackSequencer.h"

PlaybackSequencer::StartResult PlaybackSequencer::start(SequencedEntry& entry, bool paused) {
    StartResult result;
    active_ = true;
    engine_.getChannel(slot_).stop();
    slot_ = (slot_ + 1) % 2;
    path_ = entry.path;
    streamLog_.reset();

    int end = 0;
    std::string typeName;
    result.loaded = engine_.loadSong(entry.path, slot_, options_.accurate, options_.gapless,
                                     options_.cutoff, &end, &typeName, entry.range);
    if (!result.loaded) {
        return result;
    }
    if (entry.lengthMs == 0) {
        entry.lengthMs = static_cast<uint32_t>(end); // -1 becomes UnknownLengthMs
    }
    entry.formatName = typeName;
    // The entry starts where the engine found its sound (after the leading silence with
    // gapless on), so the seek below does not undo that measurement.
    entry.startOffsetMs = static_cast<uint32_t>(engine_.lastStartMs());
    // The ticks use the length as it is now; what follows only changes the stored entry.
    endMs_ = entry.lengthMs;

    unsigned length = UnknownLengthMs;
    if (audio::Sound* sound = engine_.getSound(slot_)) {
        sound->getLength(&length, audio::TimeUnit::Ms);
    }
    // A sound of unknown length keeps the limit on every later play, not only on the second
    // (the stored limit is itself a known length, which would otherwise be replaced again).
    if (options_.unknownLimit && (entry.lengthMs == UnknownLengthMs || length == UnknownLengthMs)) {
        entry.lengthMs = options_.unknownLimitSeconds * 1000u;
    } else {
        entry.lengthMs = length;
        result.seekable = length != UnknownLengthMs;
    }

    if (!paused) {
        engine_.getChannel(slot_).setPosition(entry.startOffsetMs, audio::TimeUnit::Ms);
        engine_.startSlot(slot_);
    }
    return result;
}

PlaybackSequencer::Tick PlaybackSequencer::tick() {
    Tick tick;
    if (!active_) {
        return tick;
    }
    // First, so that a stream lost after its last reconnect try is logged before it ends.
    if (audio::Sound* sound = engine_.getSound(slot_)) {
        audio::StreamStatus status;
        if (sound->getStreamStatus(&status) == audio::Result::Ok) {
            streamLog_.update(status, path_);
        }
    }
    const audio::Channel channel = engine_.getChannel(slot_);
    bool playing = false;
    channel.getPosition(&tick.positionMs, audio::TimeUnit::Ms);
    channel.isPlaying(&playing);
    tick.ended = !playing || tick.positionMs >= endMs_;
    return tick;
}

void PlaybackSequencer::stop() {
    engine_.stopAll();
    active_ = false;
}
