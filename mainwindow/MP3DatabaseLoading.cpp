// The player window: starting a playlist entry. The sequencer asks the loader for the song;
// when the loader reports back (a queued call from its thread), the window installs it and
// fills in the entry, the slider, the subsongs and the labels, or strikes a failed entry out.
// With Preload on, the next entry is then prepared ahead, so its start skips the loading step.
// With sample-exact gapless on, it is always prepared ahead and, once ready, queued on the
// mixer timeline right behind the current song; its start then adopts the playing channel.
#include "LevelMeter.h"
#include "MP3Database.h"
#include "PlayList.h"
#include "PlaybackSequencer.h"
#include "SoundEngine.h"
#include "ui_MP3Database.h"

namespace {

// Subsong counts above this are not believed (a broken file); such a sound counts as one song.
constexpr unsigned MaxSubsongs = 256;

// What the sequencer needs of an entry: a CUE sheet's track plays its range of the track file
// and is still named by its own path; every other entry plays its path.
SequencedEntry sequencedEntryOf(const PlaylistEntry& entry) {
    SequencedEntry song;
    song.path = entry.path;
    song.startOffsetMs = entry.startOffsetMs;
    song.lengthMs = entry.lengthMs;
    song.formatName = entry.formatName;
    song.range = SongRange{entry.trackStartMs, entry.trackEndMs};
    song.file = entry.trackFile;
    return song;
}

} // namespace

bool MP3Database::isLoading() const {
    return sequencer_ != nullptr && sequencer_->loading();
}

void MP3Database::startCurrentEntry() {
    PlaylistModel& model = playList_->model();
    if (currentSound < 0 || currentSound >= model.count()) {
        return;
    }
    noSound_ = false;
    loadingRow_ = currentSound;
    const PlaylistEntry entry = model.entry(currentSound);
    SequencerOptions options{gaplessAccurate, gaplessEnabled, gaplessCutoff, unknownLengthEnabled,
                             static_cast<std::uint32_t>(unknownLengthSeconds)};
    options.sampleExact = gaplessSampleExact;
    sequencer_->setOptions(options);
    if (!gaplessPreload && !gaplessSampleExact) {
        sequencer_->dropPreloaded();
    }
    const std::optional<PlaybackSequencer::Started> started =
        sequencer_->begin(sequencedEntryOf(entry), paused_);
    levelMeter_->setSlot(sequencer_->slot());
    preloaded_ = false;
    if (started) {
        finishEntryStart(started->entry, started->result.loaded, started->result.seekable);
    }
}

void MP3Database::collectPreparedSong() {
    if (sequencer_ == nullptr) {
        return; // closing: the loader went first
    }
    const std::optional<PlaybackSequencer::Started> started = sequencer_->collect(paused_);
    if (started) {
        finishEntryStart(started->entry, started->result.loaded, started->result.seekable);
    } else if (!isLoading() && currentSound + 1 < playList_->model().count()) {
        preloaded_ = sequencer_->isPreloaded(playList_->model().entry(currentSound + 1).path);
        queueNextEntry();
    }
}

void MP3Database::finishEntryStart(const SequencedEntry& song, bool loaded, bool seekable) {
    PlaylistModel& model = playList_->model();
    // The list may have changed while the song loaded: only the row that still holds it is
    // written.
    const bool rowHoldsSong = loadingRow_ >= 0 && loadingRow_ < model.count() &&
                              model.entry(loadingRow_).path == song.path;
    if (!loaded) {
        if (rowHoldsSong) {
            playList_->markUnplayable(loadingRow_);
        }
        emit songStarted(false);
        return;
    }
    // The window's copy keeps the end the tick moves on at; the playlist's entry keeps the
    // length for later plays (the full length, or the unknown-length limit).
    PlaylistEntry entry = rowHoldsSong ? model.entry(loadingRow_) : PlaylistEntry{};
    entry.path = song.path;
    entry.formatName = song.formatName;
    entry.startOffsetMs = song.startOffsetMs;
    entry.lengthMs = song.lengthMs;
    currentEntry_ = entry;
    currentEntry_.lengthMs = sequencer_->endMs();
    soundLoaded_ = true;
    // setRange, not setMaximum: an unknown length (-1 as int) would pull the minimum down to -1
    // for every later song, and a release there would seek to the unknown position.
    ui->sliderProgress->setRange(0, static_cast<int>(song.lengthMs));
    ui->sliderProgress->setEnabled(seekable);

    if (!paused_) {
        on_sliderBalance_valueChanged(ui->sliderBalance->value());
        on_sliderPitch_valueChanged(ui->sliderPitch->value());
    }

    unsigned count = 1;
    audio::Sound* sound = engine_->getSound(sequencer_->slot());
    if (!sound || sound->getLength(&count, audio::TimeUnit::SubsongCount) != audio::Result::Ok ||
        count == 0 || count > MaxSubsongs) {
        count = 1;
    }
    subsongCount_ = static_cast<int>(count);
    entry.subsongCount = count;
    currentEntry_.subsongCount = count;
    if (rowHoldsSong) {
        model.setEntry(loadingRow_, entry);
    }
    if (count > 1) {
        channel().setPosition(static_cast<unsigned>(currentSubsong_),
                              audio::TimeUnit::SubsongCount);
    }
    refreshInfoLabels();
    emit songStarted(true);
    emit playbackChanged(); // the song and its length are known now
    preloadNextEntry();
}

void MP3Database::preloadNextEntry() {
    const PlaylistModel& model = playList_->model();
    if ((!gaplessPreload && !gaplessSampleExact) || currentSound < 0 ||
        currentSound + 1 >= model.count()) {
        return;
    }
    const PlaylistEntry& next = model.entry(currentSound + 1);
    sequencer_->preloadNext(sequencedEntryOf(next));
    preloaded_ = sequencer_->isPreloaded(next.path);
    queueNextEntry();
}

void MP3Database::queueNextEntry() {
    const PlaylistModel& model = playList_->model();
    if (!gaplessSampleExact || currentSound < 0 || currentSound + 1 >= model.count() ||
        !sequencer_->isPreloaded(model.entry(currentSound + 1).path) ||
        !sequencer_->queueNext(sequencedEntryOf(model.entry(currentSound + 1)))) {
        return;
    }
    // Balance and pitch apply from the queued song's first sample.
    const int queuedSlot = 1 - sequencer_->slot();
    audio::Channel queued = engine_->getChannel(queuedSlot);
    queued.setPan(static_cast<float>(ui->sliderBalance->value() / 100.0));
    queued.setFrequency(static_cast<float>(engine_->getBaseFrequency(queuedSlot) *
                                           (ui->sliderPitch->value() / 100.0)));
}
