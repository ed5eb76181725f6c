#include "PlaybackSequencer.h"

PlaybackSequencer::~PlaybackSequencer() {
    dropPreloaded();
}

SongOptions PlaybackSequencer::songOptions(const SequencedEntry& entry) const {
    SongOptions options;
    options.range = entry.range;
    options.accurate = options_.accurate;
    options.trim = options_.gapless && !options_.sampleExact;
    options.cutoff = options_.cutoff;
    return options;
}

PlaybackSequencer::SongFacts PlaybackSequencer::factsOf(const PreparedSong& song) {
    return {song.loaded(), song.typeName, song.startMs, song.endMs};
}

bool PlaybackSequencer::holds(const std::string& path) const {
    // The range belongs to the entry named by the path, so only the global options compare.
    SongOptions current = songOptions();
    current.range = preloadOptions_.range;
    return preloadPath_ == path && preloadOptions_.sameSong(current) &&
           (preloadTicket_ != 0 || nextSong_ || nextInstalled_);
}

bool PlaybackSequencer::isPreloaded(const std::string& path) const {
    return holds(path) && preloadTicket_ == 0;
}

PlaybackSequencer::StartResult PlaybackSequencer::start(SequencedEntry& entry, bool paused) {
    std::optional<Started> started = begin(entry, paused);
    if (!started && loader_ != nullptr) {
        // Waits for the loader as the window's event loop would; a preload held meanwhile is
        // kept by collect() (it is not this ticket).
        std::optional<SongLoader::Finished> finished = loader_->waitFor(loadTicket_);
        loadTicket_ = 0;
        started = install(finished ? std::move(finished->song) : PreparedSong{}, paused, false);
    }
    entry = started->entry;
    return started->result;
}

std::optional<PlaybackSequencer::Started> PlaybackSequencer::begin(const SequencedEntry& entry,
                                                                   bool paused) {
    active_ = true;
    engine_.getChannel(slot_).stop();
    slot_ = (slot_ + 1) % 2;
    path_ = entry.path;
    streamLog_.reset();
    pendingEntry_ = entry;
    loadTicket_ = 0;

    if (holds(entry.path) && nextInstalled_) {
        // Already in this slot (installNextPaused), perhaps even queued to play: adopt it. A
        // queued channel ends unheard when the song before it is stopped early, as just now.
        bool present = false;
        engine_.getChannel(slot_).isPlaying(&present);
        if (!present) {
            engine_.replaySlotPaused(slot_);
        }
        const SongFacts facts = *nextInstalled_;
        nextInstalled_.reset();
        preloadPath_.clear();
        return complete(facts, paused, true, true);
    }
    if (nextInstalled_) {
        // Installed ahead for another entry: that channel must not play.
        engine_.getChannel(slot_).stop();
        nextInstalled_.reset();
    }
    if (holds(entry.path) && nextSong_) {
        PreparedSong song = std::move(*nextSong_);
        nextSong_.reset();
        preloadPath_.clear();
        return install(std::move(song), paused, true);
    }
    if (holds(entry.path) && preloadTicket_ != 0) {
        // The preload under way is this very song: its preparation becomes the start's.
        loadTicket_ = preloadTicket_;
        preloadTicket_ = 0;
        preloadPath_.clear();
        return std::nullopt;
    }
    dropPreloaded();
    if (loader_ == nullptr) {
        return install(engine_.prepareSong(fileOf(entry), songOptions(entry)), paused, false);
    }
    loadTicket_ = loader_->request(fileOf(entry), songOptions(entry));
    return std::nullopt;
}

std::optional<PlaybackSequencer::Started> PlaybackSequencer::collect(bool paused) {
    if (loader_ == nullptr) {
        return std::nullopt;
    }
    std::optional<SongLoader::Finished> finished = loader_->take();
    if (!finished) {
        return std::nullopt;
    }
    if (finished->ticket == loadTicket_) {
        loadTicket_ = 0;
        return install(std::move(finished->song), paused, false);
    }
    if (finished->ticket == preloadTicket_) {
        preloadTicket_ = 0;
        nextSong_ = std::move(finished->song);
    }
    return std::nullopt;
}

PlaybackSequencer::Started PlaybackSequencer::install(PreparedSong&& song, bool paused,
                                                      bool preloaded) {
    SongFacts facts = factsOf(song);
    facts.loaded = engine_.installSong(std::move(song), slot_);
    return complete(facts, paused, preloaded, false);
}

PlaybackSequencer::Started PlaybackSequencer::complete(const SongFacts& facts, bool paused,
                                                       bool preloaded, bool adopted) {
    Started started{pendingEntry_, {}};
    SequencedEntry& entry = started.entry;
    StartResult& result = started.result;
    result.loaded = facts.loaded;
    result.preloaded = preloaded;
    if (!result.loaded) {
        return started;
    }
    if (entry.lengthMs == 0) {
        entry.lengthMs = static_cast<uint32_t>(facts.endMs); // -1 becomes UnknownLengthMs
    }
    entry.formatName = facts.typeName;
    // The entry starts where the engine found its sound (after the leading silence with
    // gapless on), so the seek below does not undo that measurement.
    entry.startOffsetMs = static_cast<uint32_t>(facts.startMs);
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
    endByChannel_ = options_.sampleExact && length != UnknownLengthMs;

    audio::Channel channel = engine_.getChannel(slot_);
    bool waiting = true;
    channel.getPaused(&waiting);
    // An adopted channel that already plays (queued on the mixer's timeline) is left alone.
    if (!paused && (!adopted || waiting)) {
        channel.setPosition(entry.startOffsetMs, audio::TimeUnit::Ms);
        engine_.startSlot(slot_);
    }
    return started;
}

void PlaybackSequencer::preloadNext(const SequencedEntry& entry) {
    if (loader_ == nullptr || loading() || holds(entry.path)) {
        return;
    }
    dropPreloaded();
    preloadPath_ = entry.path;
    preloadOptions_ = songOptions(entry);
    preloadTicket_ = loader_->request(fileOf(entry), preloadOptions_);
}

void PlaybackSequencer::dropPreloaded() {
    if (preloadTicket_ != 0 && loader_ != nullptr && !loading()) {
        loader_->cancel();
    }
    preloadTicket_ = 0;
    nextSong_.reset();
    if (nextInstalled_) {
        // The other slot's sound goes with the next start there (installSong releases it).
        engine_.getChannel(1 - slot_).stop();
        nextInstalled_.reset();
    }
    preloadPath_.clear();
}

audio::Channel PlaybackSequencer::installNextPaused() {
    if (!nextSong_ || !nextSong_->loaded()) {
        return {};
    }
    const int other = 1 - slot_;
    SongFacts facts = factsOf(*nextSong_);
    facts.loaded = engine_.installSong(std::move(*nextSong_), other);
    nextSong_.reset();
    if (!facts.loaded) {
        preloadPath_.clear();
        return {};
    }
    nextInstalled_ = facts;
    return engine_.getChannel(other);
}

bool PlaybackSequencer::queueNext(const SequencedEntry& entry) {
    const std::string& path = entry.path;
    if (!options_.sampleExact || !active_ || loading()) {
        return false;
    }
    if (!holds(path)) {
        if (loader_ != nullptr) {
            preloadNext(entry);
            return false;
        }
        dropPreloaded();
        nextSong_ = engine_.prepareSong(fileOf(entry), songOptions(entry));
        preloadPath_ = path;
        preloadOptions_ = songOptions(entry);
    }
    const int other = 1 - slot_;
    if (nextInstalled_) {
        // A queued channel is never paused; a failed queueing left it paused: try again.
        bool paused = true;
        engine_.getChannel(other).getPaused(&paused);
        return !paused || engine_.queueSlotAfter(other, slot_);
    }
    bool installed = false;
    installNextPaused().isPlaying(&installed);
    return installed && engine_.queueSlotAfter(other, slot_);
}

PlaybackSequencer::Tick PlaybackSequencer::tick() {
    Tick tick;
    if (!active_) {
        return tick;
    }
    if (loading()) {
        tick.loading = true;
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
    tick.ended = !playing || (!endByChannel_ && tick.positionMs >= endMs_);
    return tick;
}

void PlaybackSequencer::stop() {
    if (loader_ != nullptr && (loading() || preloadTicket_ != 0)) {
        loader_->cancel();
    }
    loadTicket_ = 0;
    preloadTicket_ = 0;
    nextSong_.reset();
    nextInstalled_.reset();
    preloadPath_.clear();
    engine_.stopAll();
    active_ = false;
}
