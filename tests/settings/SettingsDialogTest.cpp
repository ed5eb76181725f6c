// The settings dialog on a real player window (offline output): the start values it takes from
// the engine and the player, the live effect of every control, and that OK and
// Cancel only close it. What the "Load last playlist" box does at exit is in SettingsStoreTest.
#include "LevelMeter.h"
#include "PlayList.h"
#include "PlayerTestSupport.h"
#include "SoundEngine.h"
#include "settingsDlg.h"
#include "ui_settingsDlg.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSettings>
#include <QTimer>

#include <functional>
#include <gtest/gtest.h>

namespace {

class SettingsDialog : public ::testing::Test {
protected:
    PlayerSession session;
    MP3Database& player = session.player();
    SoundEngine& engine = player.engine();

    std::unique_ptr<settingsDlg> openDialog() {
        return std::make_unique<settingsDlg>(&player, &engine, &player.playList());
    }
    template <typename T> T* find(settingsDlg& dialog, const char* name) {
        T* widget = dialog.findChild<T*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
};

TEST_F(SettingsDialog, EveryControlActsAtOnceAndShowsItsValue) {
    auto dialog = openDialog();
    struct Case {
        const char* slider;
        int value;
        const char* valueLabel;
        const char* shown;
        std::function<double()> effect; // the value the control sets, read back
        double expected;
    };
    const auto reverb = [&](int i) { return [&, i] { return engine.getReverbParameters()[i]; }; };
    const auto normalizer = [&](int i) {
        return [&, i] { return engine.getNormalizerParameters()[i]; };
    };
    const Case cases[] = {
        {"sliderRoomSize", 35, "labelRoomSize_val", "35%", reverb(0), 0.35f},
        {"sliderDamp", 20, "labelDamp_val", "20%", reverb(1), 0.2f},
        {"sliderWetMix", 33, "labelWetMix_val", "33%", reverb(2), 0.33f},
        {"sliderDryMix", 90, "labelDryMix_val", "90%", reverb(3), 0.9f},
        {"sliderWidth", 0, "labelWidth_val", "0%", reverb(4), 0.0f},
        {"sliderNormFadeTime", 12000, "labelNormFadeTime_val", "12000", normalizer(0), 12000.0f},
        {"sliderNormThreshhold", 45, "labelNormThreshhold_val", "45%", normalizer(1), 0.45f},
        {"sliderNormMaxAmp", 99999, "labelNormMaxAmp_val", "99999", normalizer(2), 99999.0f},
        {"sliderUnknownSoundLength", 600, "labelUnknownSoundLength", "600 seconds",
         [&] { return player.unknownLengthSeconds; }, 600},
        {"sliderGapCutoff", 42, "labelGapCutoff", "42", [&] { return player.gaplessCutoff; }, 42},
        {"sliderSensitivity", 1234, "labelSensitivity_val", "1234",
         [&] { return player.vuSensitivity; }, 1234},
        {"sliderSensitivity", 1234, "labelSensitivity_val", "1234",
         [&] { return player.levelMeter().sensitivity(); }, 1234},
        {"sliderMultiplier", 15, "labelMultiplier_val", "15", [&] { return player.vuMultiplier; },
         1.5},
        {"sliderMultiplier", 15, "labelMultiplier_val", "15",
         [&] { return player.levelMeter().multiplier(); }, 1.5f},
    };
    for (const Case& c : cases) {
        QSlider* slider = find<QSlider>(*dialog, c.slider);
        QLabel* label = find<QLabel>(*dialog, c.valueLabel);
        ASSERT_TRUE(slider && label);
        slider->setValue(c.value);
        EXPECT_EQ(label->text(), c.shown) << c.slider;
        // Engine setters take floats: the expected values are narrowed the same way.
        EXPECT_EQ(c.effect(), c.expected) << c.slider;
    }
}

TEST_F(SettingsDialog, StartValuesAreTruncatedNotRounded) {
    engine.setReverbRoomSize(0.71f); // a float slightly below 0.71
    engine.setReverbWidth(0.29f);    // slightly below 0.29
    engine.setNormalizerThreshold(0.57f);
    engine.setNormalizerFadeTime(2499.9f);
    player.vuMultiplier = 1.29;
    player.unknownLengthSeconds = 333;
    player.gaplessCutoff = 7;
    auto dialog = openDialog();
    const struct {
        const char* slider;
        int value;
        const char* valueLabel;
        const char* shown;
    } cases[] = {
        {"sliderRoomSize", 70, "labelRoomSize_val", "70%"},
        {"sliderWidth", 28, "labelWidth_val", "28%"},
        {"sliderNormThreshhold", 56, "labelNormThreshhold_val", "56%"},
        {"sliderNormFadeTime", 2499, "labelNormFadeTime_val", "2499"},
        {"sliderMultiplier", 12, "labelMultiplier_val", "12"},
        {"sliderUnknownSoundLength", 333, "labelUnknownSoundLength", "333 seconds"},
        {"sliderGapCutoff", 7, "labelGapCutoff", "7"},
    };
    for (const auto& c : cases) {
        QSlider* slider = find<QSlider>(*dialog, c.slider);
        QLabel* label = find<QLabel>(*dialog, c.valueLabel);
        ASSERT_TRUE(slider && label);
        EXPECT_EQ(slider->value(), c.value) << c.slider;
        EXPECT_EQ(label->text(), c.shown) << c.slider;
    }
    // The round trip through the slots writes the truncated value back, as the dialog does.
    EXPECT_FLOAT_EQ(engine.getReverbParameters()[0], 0.70f);
}

TEST_F(SettingsDialog, CheckBoxesStartFromThePlayerAndCountOnlyWhenFullyChecked) {
    struct Box {
        const char* name;
        std::function<bool()> read;
        std::function<void(bool)> write;
    };
    PlayList& list = player.playList();
    const Box boxes[] = {
        {"checkBoxUnknownSoundLength", [&] { return player.unknownLengthEnabled; },
         [&](bool on) { player.unknownLengthEnabled = on; }},
        {"checkBoxGapEnabled", [&] { return player.gaplessEnabled; },
         [&](bool on) { player.gaplessEnabled = on; }},
        {"checkBoxPreload", [&] { return player.gaplessPreload; },
         [&](bool on) { player.gaplessPreload = on; }},
        {"checkBoxGapAccurate", [&] { return player.gaplessAccurate; },
         [&](bool on) { player.gaplessAccurate = on; }},
        {"checkBoxSampleExact", [&] { return player.gaplessSampleExact; },
         [&](bool on) { player.gaplessSampleExact = on; }},
        {"checkBoxLoadLastPlayList", [&] { return list.keepTempFiles(); },
         [&](bool on) { list.setKeepTempFiles(on); }},
    };
    for (const Box& box : boxes) {
        for (bool start : {true, false}) {
            box.write(start);
            auto dialog = openDialog();
            QCheckBox* check = find<QCheckBox>(*dialog, box.name);
            ASSERT_NE(check, nullptr);
            EXPECT_EQ(check->checkState(), start ? Qt::Checked : Qt::Unchecked) << box.name;

            const std::pair<Qt::CheckState, bool> states[] = {
                {Qt::Checked, true}, {Qt::PartiallyChecked, false}, {Qt::Unchecked, false}};
            for (const auto& [state, on] : states) {
                check->setCheckState(state);
                EXPECT_EQ(box.read(), on) << box.name << " state " << state;
            }
        }
    }
}

// The settings reach settings.ini when the dialog run from the player's menu has closed,
// whichever button closed it, and Cancel restores nothing.
TEST_F(SettingsDialog, CancelKeepsTheMovedValuesAndThePlayerSavesThem) {
    for (const auto button : {QDialogButtonBox::Cancel, QDialogButtonBox::Ok}) {
        bool sawDialog = false;
        QTimer::singleShot(0, [&] {
            auto* dialog = qobject_cast<settingsDlg*>(QApplication::activeModalWidget());
            if (!dialog) {
                ADD_FAILURE() << "the settings dialog is not the modal window";
                if (QWidget* modal = QApplication::activeModalWidget()) {
                    modal->close();
                }
                return;
            }
            sawDialog = true;
            dialog->form().sliderRoomSize->setValue(button == QDialogButtonBox::Cancel ? 35 : 36);
            dialog->form().sliderUnknownSoundLength->setValue(600);
            dialog->form().sliderMultiplier->setValue(15);
            dialog->form().buttonBox->button(button)->click();
        });
        player.showSettingsDialog(); // runs the dialog modally until the button closes it
        ASSERT_TRUE(sawDialog);

        const float room = button == QDialogButtonBox::Cancel ? 0.35f : 0.36f;
        EXPECT_EQ(engine.getReverbParameters()[0], room);
        EXPECT_EQ(player.unknownLengthSeconds, 600);
        EXPECT_EQ(player.vuMultiplier, 1.5);

        QSettings saved(PlayerSession::settingsFile(), QSettings::IniFormat);
        EXPECT_FLOAT_EQ(saved.value("Reverb/RoomSize").toFloat(), room);
        EXPECT_EQ(saved.value("UnknownSonglength/Seconds").toInt(), 600);
        EXPECT_DOUBLE_EQ(saved.value("VUMeter/Multiplier").toDouble(), 1.5);
    }
}

} // namespace
