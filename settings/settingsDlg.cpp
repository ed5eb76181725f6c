#include "settingsDlg.h"

#include "LevelMeter.h"
#include "MP3Database.h"
#include "PlayList.h"
#include "SoundEngine.h"
#include "ui_settingsDlg.h"

#include <QCoreApplication>
#include <QDir>
#include <QIcon>

namespace {

// A check box counts as on only when fully checked.
bool isOn(const QCheckBox* box) {
    return box->checkState() == Qt::Checked;
}

void setOn(QCheckBox* box, bool on) {
    box->setCheckState(on ? Qt::Checked : Qt::Unchecked);
}

QString percent(int value) {
    return QString::number(value) + "%";
}

// Scaled start values are truncated toward zero on purpose: a stored 0.71f shows as 70.
int scaled(float value, double factor) {
    return static_cast<int>(value * factor);
}

} // namespace

settingsDlg::settingsDlg(MP3Database* player, SoundEngine* engine, PlayList* playlist,
                         QWidget* parent)
    : QDialog(parent), ui(std::make_unique<Ui::DialogSettings>()), player_(player), engine_(engine),
      playlist_(playlist) {
    ui->setupUi(this);
    setWindowIcon(QIcon(QCoreApplication::applicationDirPath() + "/Resources/mp3.png"));

    ui->sliderRoomSize->setValue(scaled(engine_->getReverbParameters()[0], 100));
    ui->sliderDamp->setValue(scaled(engine_->getReverbParameters()[1], 100));
    ui->sliderWetMix->setValue(scaled(engine_->getReverbParameters()[2], 100));
    ui->sliderDryMix->setValue(scaled(engine_->getReverbParameters()[3], 100));
    ui->sliderWidth->setValue(scaled(engine_->getReverbParameters()[4], 100));
    ui->sliderNormThreshhold->setValue(scaled(engine_->getNormalizerParameters()[1], 100));
    ui->sliderNormFadeTime->setValue(scaled(engine_->getNormalizerParameters()[0], 1));
    ui->sliderNormMaxAmp->setValue(scaled(engine_->getNormalizerParameters()[2], 1));
    ui->sliderMultiplier->setValue(static_cast<int>(player_->vuMultiplier * 10));
    ui->sliderSensitivity->setValue(player_->vuSensitivity);
    ui->sliderUnknownSoundLength->setValue(player_->unknownLengthSeconds);
    ui->sliderGapCutoff->setValue(player_->gaplessCutoff);
    setOn(ui->checkBoxUnknownSoundLength, player_->unknownLengthEnabled);
    setOn(ui->checkBoxGapEnabled, player_->gaplessEnabled);
    setOn(ui->checkBoxPreload, player_->gaplessPreload);
    setOn(ui->checkBoxGapAccurate, player_->gaplessAccurate);
    setOn(ui->checkBoxSampleExact, player_->gaplessSampleExact);
    setOn(ui->checkBoxLoadLastPlayList, playlist_->keepTempFiles());
}

settingsDlg::~settingsDlg() = default;

void settingsDlg::on_checkBoxLoadLastPlayList_stateChanged(int) {
    playlist_->setKeepTempFiles(isOn(ui->checkBoxLoadLastPlayList));
}

void settingsDlg::on_checkBoxPreload_stateChanged(int) {
    player_->gaplessPreload = isOn(ui->checkBoxPreload);
}

void settingsDlg::on_checkBoxGapAccurate_stateChanged(int) {
    player_->gaplessAccurate = isOn(ui->checkBoxGapAccurate);
}

void settingsDlg::on_checkBoxSampleExact_stateChanged(int) {
    player_->gaplessSampleExact = isOn(ui->checkBoxSampleExact);
}

void settingsDlg::on_checkBoxGapEnabled_stateChanged(int) {
    player_->gaplessEnabled = isOn(ui->checkBoxGapEnabled);
}

void settingsDlg::on_sliderGapCutoff_valueChanged(int) {
    const int value = ui->sliderGapCutoff->value();
    ui->labelGapCutoff->setText(QString::number(value));
    player_->gaplessCutoff = value;
}

void settingsDlg::on_checkBoxUnknownSoundLength_stateChanged(int) {
    player_->unknownLengthEnabled = isOn(ui->checkBoxUnknownSoundLength);
}

void settingsDlg::on_sliderUnknownSoundLength_valueChanged(int) {
    const int value = ui->sliderUnknownSoundLength->value();
    ui->labelUnknownSoundLength->setText(QString::number(value) + " seconds");
    player_->unknownLengthSeconds = value;
}

void settingsDlg::on_sliderRoomSize_valueChanged(int) {
    const int value = ui->sliderRoomSize->value();
    ui->labelRoomSize_val->setText(percent(value));
    engine_->setReverbRoomSize(static_cast<float>(value / 100.0));
}

void settingsDlg::on_sliderDamp_valueChanged(int) {
    const int value = ui->sliderDamp->value();
    ui->labelDamp_val->setText(percent(value));
    engine_->setReverbDamp(static_cast<float>(value / 100.0));
}

void settingsDlg::on_sliderWetMix_valueChanged(int) {
    const int value = ui->sliderWetMix->value();
    ui->labelWetMix_val->setText(percent(value));
    engine_->setReverbWetMix(static_cast<float>(value / 100.0));
}

void settingsDlg::on_sliderDryMix_valueChanged(int) {
    const int value = ui->sliderDryMix->value();
    ui->labelDryMix_val->setText(percent(value));
    engine_->setReverbDryMix(static_cast<float>(value / 100.0));
}

void settingsDlg::on_sliderWidth_valueChanged(int) {
    const int value = ui->sliderWidth->value();
    ui->labelWidth_val->setText(percent(value));
    engine_->setReverbWidth(static_cast<float>(value / 100.0));
}

void settingsDlg::on_sliderNormFadeTime_valueChanged(int) {
    const int value = ui->sliderNormFadeTime->value();
    ui->labelNormFadeTime_val->setText(QString::number(value));
    engine_->setNormalizerFadeTime(static_cast<float>(value));
}

void settingsDlg::on_sliderNormThreshhold_valueChanged(int) {
    const int value = ui->sliderNormThreshhold->value();
    ui->labelNormThreshhold_val->setText(percent(value));
    engine_->setNormalizerThreshold(static_cast<float>(value / 100.0));
}

void settingsDlg::on_sliderNormMaxAmp_valueChanged(int) {
    const int value = ui->sliderNormMaxAmp->value();
    ui->labelNormMaxAmp_val->setText(QString::number(value));
    engine_->setNormalizerMaxAmp(static_cast<float>(value));
}

void settingsDlg::on_sliderSensitivity_valueChanged(int) {
    const int value = ui->sliderSensitivity->value();
    ui->labelSensitivity_val->setText(QString::number(value));
    player_->vuSensitivity = value;
    player_->levelMeter().setSensitivity(value);
}

void settingsDlg::on_sliderMultiplier_valueChanged(int) {
    const int value = ui->sliderMultiplier->value();
    ui->labelMultiplier_val->setText(QString::number(value));
    player_->vuMultiplier = value / 10.0;
    player_->levelMeter().setMultiplier(static_cast<float>(player_->vuMultiplier));
}
