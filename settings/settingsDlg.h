#pragma once
// The settings dialog: VU meter, reverb, normalizer, the unknown-length limit, gapless playback
// and the start-up playlist. Every control acts at once on the engine, the player window's
// fields or the playlist window; the dialog keeps no copy, and OK and Cancel both only close it
// (the player saves settings.ini after exec() returns).
//
// Threading: GUI thread only.

#include <QDialog>
#include <memory>

class MP3Database;
class SoundEngine;
class PlayList;

namespace Ui {
class DialogSettings;
}

class settingsDlg : public QDialog {
    Q_OBJECT
public:
    settingsDlg(MP3Database* player, SoundEngine* engine, PlayList* playlist,
                QWidget* parent = nullptr);
    ~settingsDlg() override;

    Ui::DialogSettings& form() { return *ui; } // for tests

public slots:
    void on_checkBoxLoadLastPlayList_stateChanged(int);
    void on_checkBoxPreload_stateChanged(int);
    void on_checkBoxGapAccurate_stateChanged(int);
    void on_checkBoxGapEnabled_stateChanged(int);
    void on_checkBoxSampleExact_stateChanged(int);
    void on_sliderGapCutoff_valueChanged(int);
    void on_checkBoxUnknownSoundLength_stateChanged(int);
    void on_sliderUnknownSoundLength_valueChanged(int);
    void on_sliderRoomSize_valueChanged(int);
    void on_sliderDamp_valueChanged(int);
    void on_sliderWetMix_valueChanged(int);
    void on_sliderDryMix_valueChanged(int);
    void on_sliderWidth_valueChanged(int);
    void on_sliderNormFadeTime_valueChanged(int);
    void on_sliderNormThreshhold_valueChanged(int);
    void on_sliderNormMaxAmp_valueChanged(int);
    void on_sliderSensitivity_valueChanged(int);
    void on_sliderMultiplier_valueChanged(int);

private:
    std::unique_ptr<Ui::DialogSettings> ui;
    MP3Database* player_;
    SoundEngine* engine_;
    PlayList* playlist_;
};
