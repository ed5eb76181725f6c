// The player window's transport: play, pause, stop, next and previous song and subsong,
// seeking, volume, pitch and balance, the 20 ms progress tick and the info labels. Starting an
// entry is in MP3DatabaseLoading.cpp.
#include "LevelMeter.h"
#include "MP3Database.h"
#include "PlayList.h"
#include "PlaybackSequencer.h"
#include "SoundEngine.h"
#include "ui_MP3Database.h"

#include <QDebug>
#include <QFile>

namespace {

// Sets `label`'s text only when it differs: the comparison is far cheaper than the relayout
// and repaint a change costs.
void setChangedText(QLabel* label, const QString& text) {
    if (label->text() != text) {
        label->setText(text);
    }
}

} // namespace

// ---- sliders ----

void MP3Database::on_sliderProgress_sliderReleased() {
    if (noSound_) {
        return;
    }
    int value = ui->sliderProgress->value();
    if (value >= ui->sliderProgress->maximum()) {
        value = ui->sliderProgress->maximum() - 1;
    }
    channel().setPosition(static_cast<unsigned>(value), audio::TimeUnit::Ms);
    emit playbackChanged();
}

void MP3Database::on_sliderBalance_valueChanged(int value) {
    channel().setPan(static_cast<float>(value / 100.0));
    if (value == 0) {
        ui->labelBalance->setText("Center");
    } else {
        // The number keeps its sign: -30 reads "-30% Left".
        ui->labelBalance->setText(QString::number(value) + (value < 0 ? "% Left" : "% Right"));
    }
}

void MP3Database::on_sliderProgress_valueChanged(int value) {
    updateTimeLabel(static_cast<std::uint32_t>(value < 0 ? 0 : value));
}

void MP3Database::on_sliderVolume_sliderPressed() {
    qDebug("%i", 8);
}

void MP3Database::on_sliderVolume_valueChanged(int value) {
    ui->labelVolume->setText(QString::number(value) + "%");
    engine_->setMasterVolume(static_cast<float>(value / 100.0));
    emit playbackChanged();
}

void MP3Database::on_sliderPitch_valueChanged(int value) {
    ui->labelPitch->setText(QString::number(value) + "%");
    channel().setFrequency(
        static_cast<float>(engine_->getBaseFrequency(sequencer_->slot()) * (value / 100.0)));
}

// ---- effect switches ----

void MP3Database::on_buttonReverb_clicked() {
    engine_->setReverbEnabled(!engine_->isReverbEnabled());
    ui->buttonReverb->setChecked(engine_->isReverbEnabled());
}

void MP3Database::on_buttonNormalize_clicked() {
    engine_->setNormalizerEnabled(!engine_->isNormalizerEnabled());
    ui->buttonNormalize->setChecked(engine_->isNormalizerEnabled());
}

void MP3Database::on_buttonQuit_clicked() {
    close();
}

void MP3Database::on_buttonMinimize_clicked() {
    showMinimized();
}

// ---- subsongs ----

void MP3Database::seekToSubsong() {
    refreshInfoLabels();
    channel().setPosition(static_cast<unsigned>(currentSubsong_), audio::TimeUnit::SubsongCount);
    ui->sliderProgress->setRange(0, static_cast<int>(currentEntry_.lengthMs));
    emit playbackChanged();
}

void MP3Database::on_buttonNextSub_clicked() {
    if (soundLoaded_ && currentSubsong_ < subsongCount_ - 1) {
        ++currentSubsong_;
        seekToSubsong();
    }
}

void MP3Database::on_buttonPrevSub_clicked() {
    if (soundLoaded_ && currentSubsong_ > 0) {
        --currentSubsong_;
        seekToSubsong();
    }
}

// ---- songs ----

void MP3Database::markRow(int row, bool playing) {
    playList_->setRowPlaying(row, playing);
}

audio::Channel MP3Database::channel() const {
    return engine_->getChannel(sequencer_->slot());
}

void MP3Database::resumeFromPause() {
    paused_ = false;
    ui->buttonPause->setChecked(false);
    channel().setPaused(false);
}

void MP3Database::on_buttonNext_clicked() {
    if (currentSound >= playList_->model().count() - 1) {
        return;
    }
    currentSubsong_ = 0;
    if (currentSound >= 0) {
        markRow(currentSound, false);
    }
    ++currentSound;
    markRow(currentSound, true);
    if (!noSound_) {
        resumeFromPause();
        startCurrentEntry();
    }
    emit playbackChanged();
}

void MP3Database::on_buttonPrev_clicked() {
    if (currentSound <= 0) {
        return;
    }
    currentSubsong_ = 0;
    markRow(currentSound, false);
    --currentSound;
    markRow(currentSound, true);
    if (!noSound_) {
        resumeFromPause();
        startCurrentEntry();
    }
    emit playbackChanged();
}

void MP3Database::on_buttonPause_clicked() {
    if (noSound_) {
        resumeFromPause();
        return;
    }
    paused_ = !paused_;
    ui->buttonPause->setChecked(paused_);
    channel().setPaused(paused_);
    emit playbackChanged();
}

void MP3Database::on_buttonPlay_clicked() {
    if (paused_) {
        on_buttonPause_clicked();
        return;
    }
    const PlaylistModel& model = playList_->model();
    if (model.count() == 0) {
        on_buttonStop_clicked();
        return;
    }
    if (currentSound < 0 || currentSound >= model.count()) {
        currentSound = 0;
        currentEntry_ = model.entry(0);
        soundLoaded_ = true;
    }
    resumeFromPause();
    noSound_ = false;
    ui->sliderProgress->setEnabled(true);
    startCurrentEntry();
    markRow(currentSound, true);
    emit playbackChanged();
}

void MP3Database::playFromPlaylist() {
    currentSubsong_ = 0;
    preloaded_ = false;
    resumeFromPause();
    noSound_ = false;
    ui->sliderProgress->setEnabled(true);
    startCurrentEntry();
    emit playbackChanged();
}

void MP3Database::on_buttonStop_clicked() {
    sequencer_->stop();
    levelMeter_->clear();
    noSound_ = true;
    resumeFromPause();
    ui->sliderProgress->setValue(0);
    ui->sliderProgress->setEnabled(false);
    // After the slider: its move to 0 writes the label, which would show the remaining time.
    ui->labelCurrentTime->setText("00:00");
    if (playList_->model().count() == 0) {
        ui->labelInfo->setText("No sound loaded");
        ui->labelTitle->setText("No sound loaded");
        soundLoaded_ = false;
    }
    emit playbackChanged();
}

// ---- the 20 ms tick ----

void MP3Database::timerProgress() {
    if (noSound_ || paused_) {
        return;
    }
    const PlaybackSequencer::Tick tick = sequencer_->tick();
    if (tick.loading) {
        levelMeter_->update(); // nothing plays; the meter falls back and housekeeping goes on
        return;
    }
    if (tick.ended) {
        if (currentSound >= playList_->model().count() - 1) {
            on_buttonStop_clicked();
        } else {
            on_buttonNext_clicked();
        }
        return;
    }
    // Runs the library's housekeeping even when the meter is not drawn.
    levelMeter_->update();
    // Nobody sees the displays of a minimised or hidden window; the first tick after it comes
    // back brings them up to date.
    if (!windowCanBeSeen(*this)) {
        return;
    }
    if (!ui->sliderProgress->isSliderDown()) {
        // Its valueChanged writes the time label too.
        ui->sliderProgress->setValue(static_cast<int>(tick.positionMs));
        updateTimeLabel(tick.positionMs);
    }
    refreshInfoLabels();
}

void MP3Database::updateTimeLabel(std::uint32_t positionMs) {
    // Called twice a tick (the slider's valueChanged and the tick itself) while the text
    // changes once a second: the text is built only when the shown second changes.
    const std::uint32_t length = currentEntry_.lengthMs;
    const bool unknown = length == PlaylistEntry::UnknownLength;
    const std::uint32_t shownMs = timeDisplayElapsed_ ? positionMs : length - positionMs;
    const ShownTime shown{timeDisplayElapsed_, unknown, shownMs / 1000};
    if (shown == shownTime_ && ui->labelCurrentTime->text() == shownTimeText_) {
        return;
    }
    shownTime_ = shown;
    if (timeDisplayElapsed_) {
        shownTimeText_ = formatTime(positionMs);
    } else if (unknown) {
        shownTimeText_ = QStringLiteral("??:??");
    } else {
        shownTimeText_ = "-" + formatTime(length - positionMs);
    }
    setChangedText(ui->labelCurrentTime, shownTimeText_);
}

void MP3Database::refreshInfoLabels() {
    // A stream shows the title its server announces for what plays now, once there is one.
    audio::StreamStatus stream;
    if (audio::Sound* sound = engine_->getSound(sequencer_->slot())) {
        sound->getStreamStatus(&stream);
    }
    const std::string& titleSource = stream.title.empty() ? currentEntry_.title : stream.title;
    if (titleSource != shownInfo_.title || currentEntry_.lengthMs != shownInfo_.lengthMs ||
        ui->labelTitle->text() != shownInfo_.titleText) {
        shownInfo_.title = titleSource;
        shownInfo_.lengthMs = currentEntry_.lengthMs;
        shownInfo_.titleText =
            PlayList::shownTitle(titleSource) + " (" + formatTime(currentEntry_.lengthMs) + ")";
        setChangedText(ui->labelTitle, shownInfo_.titleText);
    }
    unsigned positionMs = 0;
    unsigned positionBytes = 0;
    const audio::Channel current = channel();
    current.getPosition(&positionMs, audio::TimeUnit::Ms);
    current.getPosition(&positionBytes, audio::TimeUnit::RawBytes);
    const unsigned bitRate = positionMs == 0 ? 0 : positionBytes / positionMs * 8;
    const int frequency = engine_->getBaseFrequency(sequencer_->slot());
    if (currentSubsong_ == shownInfo_.subsong && subsongCount_ == shownInfo_.subsongCount &&
        frequency == shownInfo_.frequency && bitRate == shownInfo_.bitRate &&
        currentEntry_.formatName == shownInfo_.formatName &&
        ui->labelInfo->text() == shownInfo_.infoText) {
        return;
    }
    shownInfo_.subsong = currentSubsong_;
    shownInfo_.subsongCount = subsongCount_;
    shownInfo_.frequency = frequency;
    shownInfo_.bitRate = bitRate;
    shownInfo_.formatName = currentEntry_.formatName;
    shownInfo_.infoText = "Subsong: " + QString::number(currentSubsong_ + 1) + "/" +
                          QString::number(subsongCount_) + "\nkhz: " + QString::number(frequency) +
                          "\n" + QString::fromStdString(currentEntry_.formatName) +
                          "\nBitrate: " + QString::number(bitRate);
    setChangedText(ui->labelInfo, shownInfo_.infoText);
}
