#include "PlaybackSequencer.h"

PlaybackSequencer::StartResult PlaybackSequencer::start(SequencedEntry& entry, bool paused) {
    StartResult result;
    active_ = true;
    // Stopping the current channel also stops a song still queued after it.
    engine_.getChannel(slot_).stop();
    queued_ = false;
    slot_ = (slot_ + 1) % 2;
    path_ = entry.path;
    streamLog_.reset();

    int end = 0;
    std::string typeName;
    const bool trim = options_.gapless && !options_.sampleExact;
    result.loaded = engine_.loadSong(entry.path, slot_, options_.accurate, trim, options_.cutoff,
                                     &end, &typeName);
    if (!result.loaded) {
        return result;
    }
    endMs_ = adoptLoaded(entry, slot_, end, typeName, &result, &endByChannel_);
    if (!paused) {
        engine_.getChannel(slot_).setPosition(entry.startOffsetMs, audio::TimeUnit::Ms);
        engine_.startSlot(slot_);
    }
    return result;
}

PlaybackSequencer::StartResult PlaybackSequencer::queueNext(SequencedEntry& entry) {
    StartResult result;
    if (!options_.sampleExact || !active_ || queued_) {
        return result;
    }
    const int next = (slot_ + 1) % 2;
    int end = 0;
    std::string typeName;
    if (!engine_.loadSong(entry.path, next, options_.accurate, false, options_.cutoff, &end,
                          &typeName) ||
        !engine_.queueSlotAfter(next, slot_)) {
        return result;
    }
    result.loaded = true;
    queuedEndMs_ = adoptLoaded(entry, next, end, typeName, &result, &queuedEndByChannel_);
    queuedPath_ = entry.path;
    queued_ = true;
    return result;
}

uint32_t PlaybackSequencer::adoptLoaded(SequencedEntry& entry, int slot, int end,
                                        const std::string& typeName, StartResult* result,
                                        bool* byChannel) {
    if (entry.lengthMs == 0) {
        entry.lengthMs = static_cast<uint32_t>(end); // -1 becomes UnknownLengthMs
    }
    entry.formatName = typeName;
    // The entry starts where the engine found its sound (after the leading silence with
    // gapless on), so the seek below does not undo that measurement.
    entry.startOffsetMs = static_cast<uint32_t>(engine_.lastStartMs());
    // The ticks use the length as it is now; what follows only changes the stored entry.
    const uint32_t endMs = entry.lengthMs;

    unsigned length = UnknownLengthMs;
    if (audio::Sound* sound = engine_.getSound(slot)) {
        sound->getLength(&length, audio::TimeUnit::Ms);
    }
    // A sound of unknown length keeps the limit on every later play, not only on the second
    // (the stored limit is itself a known length, which would otherwise be replaced again).
    if (options_.unknownLimit && (entry.lengthMs == UnknownLengthMs || length == UnknownLengthMs)) {
        entry.lengthMs = options_.unknownLimitSeconds * 1000u;
    } else {
        entry.lengthMs = length;
        result->seekable = length != UnknownLengthMs;
    }
    // A position in ms reads as the length a little before the last sample has played.
    *byChannel = options_.sampleExact && length != UnknownLengthMs;
    return endMs;
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
    audio::Channel channel = engine_.getChannel(slot_);
    bool playing = false;
    channel.getPosition(&tick.positionMs, audio::TimeUnit::Ms);
    channel.isPlaying(&playing);
    if (!playing && queued_) {
        queued_ = false;
        const int next = (slot_ + 1) % 2;
        bool nextPlaying = false;
        engine_.getChannel(next).isPlaying(&nextPlaying);
        if (nextPlaying) {
            slot_ = next;
            endMs_ = queuedEndMs_;
            endByChannel_ = queuedEndByChannel_;
            path_ = queuedPath_;
            streamLog_.reset();
            tick.advanced = true;
            engine_.getChannel(slot_).getPosition(&tick.positionMs, audio::TimeUnit::Ms);
            return tick;
        }
    }
    tick.ended = !playing || (!endByChannel_ && tick.positionMs >= endMs_);
    return tick;
}

void PlaybackSequencer::stop() {
    engine_.stopAll();
    active_ = false;
    endByChannel_ = false;
    queued_ = false;
}
