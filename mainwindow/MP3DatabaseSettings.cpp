// Loading and saving the player's settings.ini, and the last playlist kept between runs.
#include "DataFolders.h"
#include "LevelMeter.h"
#include "MP3Database.h"
#include "PlayList.h"
#include "SettingsKeys.h"
#include "SoundEngine.h"
#include "ui_MP3Database.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>

namespace {

QString settingsPath() {
    return chooseDataFolders(QCoreApplication::applicationDirPath()).settingsFile;
}

} // namespace

void MP3Database::loadSettings() {
    namespace key = settings_key;
    namespace def = settings_default;
    QSettings settings(settingsPath(), QSettings::IniFormat);

    // The form's own geometry gives the defaults, for the playlist too.
    const QRect form = geometry();
    const int y = settings.value(key::MainWindowY, form.y()).toInt();
    const int x = settings.value(key::MainWindowX, form.x()).toInt();
    setGeometry(x, y, form.width(), form.height());

    const int listHeight = settings.value(key::PlaylistWindowHeight, form.height()).toInt();
    const int listWidth = settings.value(key::PlaylistWindowWidth, form.width()).toInt();
    const int listY = settings.value(key::PlaylistWindowY, form.y()).toInt();
    const int listX =
        settings.value(key::PlaylistWindowX, form.x() + form.width() + def::PlaylistGap).toInt();
    playList_->setGeometry(listX, listY, listWidth, listHeight);

    engine_->setReverbDamp(settings.value(key::ReverbDamp, def::ReverbDamp).toFloat());
    engine_->setReverbRoomSize(settings.value(key::ReverbRoomSize, def::ReverbRoomSize).toFloat());
    engine_->setReverbWetMix(settings.value(key::ReverbWetMix, def::ReverbWetMix).toFloat());
    engine_->setReverbDryMix(settings.value(key::ReverbDryMix, def::ReverbDryMix).toFloat());
    engine_->setReverbWidth(settings.value(key::ReverbWidth, def::ReverbWidth).toFloat());
    const bool reverbOn = settings.value(key::ReverbEnabled, def::ReverbEnabled).toBool();
    engine_->setReverbEnabled(reverbOn);
    ui->buttonReverb->setChecked(reverbOn);

    engine_->setNormalizerFadeTime(
        settings.value(key::NormalizeFadeTime, def::NormalizeFadeTime).toFloat());
    engine_->setNormalizerThreshold(
        settings.value(key::NormalizeThreshold, def::NormalizeThreshold).toFloat());
    engine_->setNormalizerMaxAmp(
        settings.value(key::NormalizeMaxAmp, def::NormalizeMaxAmp).toFloat());
    const bool normalizeOn = settings.value(key::NormalizeEnabled, def::NormalizeEnabled).toBool();
    engine_->setNormalizerEnabled(normalizeOn);
    ui->buttonNormalize->setChecked(normalizeOn);

    vuSensitivity = settings.value(key::VuSensitivity, def::VuSensitivity).toInt();
    levelMeter_->setSensitivity(vuSensitivity);
    vuMultiplier = settings.value(key::VuMultiplier, def::VuMultiplier).toDouble();
    levelMeter_->setMultiplier(static_cast<float>(vuMultiplier));

    unknownLengthSeconds =
        settings.value(key::UnknownLengthSeconds, def::UnknownLengthSeconds).toInt();
    unknownLengthEnabled =
        settings.value(key::UnknownLengthEnabled, def::UnknownLengthEnabled).toBool();
    if (settings.value(key::PlaylistShow, def::PlaylistShow).toBool()) {
        playlistShowPending_ = true; // see paintEvent
    } else {
        playList_->setHidden(true);
    }
    gaplessEnabled = settings.value(key::GaplessEnabled, def::GaplessEnabled).toBool();
    gaplessAccurate = settings.value(key::GaplessAccurate, def::GaplessAccurate).toBool();
    gaplessCutoff = settings.value(key::GaplessCutoff, def::GaplessCutoff).toInt();
    gaplessPreload = settings.value(key::GaplessPreload, def::GaplessPreload).toBool();
    gaplessSampleExact = settings.value(key::GaplessSampleExact, def::GaplessSampleExact).toBool();
    playList_->setKeepTempFiles(
        settings.value(key::LoadLastPlaylist, def::LoadLastPlaylist).toBool());
    currentSound = settings.value(key::CurrentSound, def::CurrentSound).toInt();
    lastUrlOpened = settings.value(key::LastUrlOpened, def::LastUrlOpened).toString();
}

void MP3Database::saveSettings() {
    namespace key = settings_key;
    QSettings settings(settingsPath(), QSettings::IniFormat);
    const QRect player = geometry();
    const QRect list = playList_->geometry();
    settings.setValue(key::MainWindowX, player.left());
    settings.setValue(key::MainWindowY, player.top());
    settings.setValue(key::PlaylistWindowX, list.left());
    settings.setValue(key::PlaylistWindowY, list.top());
    settings.setValue(key::PlaylistWindowWidth, list.right() - list.left() + 1);
    settings.setValue(key::PlaylistWindowHeight, list.bottom() - list.top() + 1);
    settings.setValue(key::ReverbDamp, static_cast<double>(engine_->getReverbParameters()[1]));
    settings.setValue(key::ReverbRoomSize, static_cast<double>(engine_->getReverbParameters()[0]));
    settings.setValue(key::ReverbWetMix, static_cast<double>(engine_->getReverbParameters()[2]));
    settings.setValue(key::ReverbDryMix, static_cast<double>(engine_->getReverbParameters()[3]));
    settings.setValue(key::ReverbWidth, static_cast<double>(engine_->getReverbParameters()[4]));
    settings.setValue(key::ReverbEnabled, engine_->isReverbEnabled());
    settings.setValue(key::NormalizeFadeTime,
                      static_cast<double>(engine_->getNormalizerParameters()[0]));
    settings.setValue(key::NormalizeThreshold,
                      static_cast<double>(engine_->getNormalizerParameters()[1]));
    settings.setValue(key::NormalizeMaxAmp,
                      static_cast<double>(engine_->getNormalizerParameters()[2]));
    settings.setValue(key::NormalizeEnabled, engine_->isNormalizerEnabled());
    settings.setValue(key::VuMultiplier, vuMultiplier);
    settings.setValue(key::VuSensitivity, vuSensitivity);
    settings.setValue(key::UnknownLengthSeconds, unknownLengthSeconds);
    settings.setValue(key::UnknownLengthEnabled, unknownLengthEnabled);
    settings.setValue(key::PlaylistShow, playList_->isVisible() || playlistShowPending_);
    settings.setValue(key::GaplessEnabled, gaplessEnabled);
    settings.setValue(key::GaplessAccurate, gaplessAccurate);
    settings.setValue(key::GaplessCutoff, gaplessCutoff);
    settings.setValue(key::GaplessPreload, gaplessPreload);
    settings.setValue(key::GaplessSampleExact, gaplessSampleExact);
    settings.setValue(key::LoadLastPlaylist, playList_->keepTempFiles());
    settings.setValue(key::CurrentSound, currentSound);
    settings.setValue(key::LastUrlOpened, lastUrlOpened);
}

void MP3Database::restoreLastPlaylist() {
    if (!playList_->keepTempFiles()) {
        return;
    }
    PlaylistModel& model = playList_->model();
    if (model.restoreLastPlaylist() != PlaylistModel::LastList::Restored) {
        return;
    }
    if (currentSound < 0 || currentSound >= model.count()) {
        currentSound = 0;
    }
    if (model.count() > 0) {
        markRow(currentSound, true);
    }
}
