#pragma once
// LevelMeter: turns the playing slot's output waveform into a level picture in the player's
// meter label. The player's 20 ms timer calls update() while a song plays; update() is also
// where the sound library's periodic System::update runs, so it must keep being called even
// when the meter is hidden. The meter paints the label itself (an event filter on its paint
// events) and asks for a repaint of only the rows whose picture changed, so a steady level
// costs no painting at all; while the label is hidden or its window minimised it measures and
// paints nothing.
//
// Threading: GUI thread only (it paints a QLabel and drives the SoundEngine).

#include <QObject>
#include <QPixmap>
#include <QSize>
#include <memory>

class QLabel;
class QWidget;
class SoundEngine;

// Whether what `widget`'s window shows can be seen: false while the window is minimised (Qt
// still calls it visible) or after it was hidden; true for a window never shown or hidden at
// all, which is one driven without a screen (tests, tools) that reads its widgets directly.
bool windowCanBeSeen(const QWidget& widget);

// The level of one reading: the mean magnitude of `sensitivity` left and right waveform values
// (1.0 = full scale) in the meter's integer steps, as a factor of the label height:
// sum = truncate(|v * 100| + sum) over left[i] then right[i]; level = (sum / sensitivity) * 2
// (integer division); result = level / 256 * multiplier. Full scale gives 1.5625 * multiplier,
// silence 0. sensitivity must be 1..16384 and both arrays must hold that many values.
float levelScale(const float* left, const float* right, int sensitivity, float multiplier);

class LevelMeter : public QObject {
public:
    static constexpr int MaxSensitivity = 16384; // values per side the wave buffers hold
    static constexpr int MinSensitivity = 1;

    // Draws into `label` (not owned) from `engine`'s channels (not owned; both must outlive
    // the meter). Allocates the two 65,536-byte wave buffers once. The label becomes opaque
    // (WA_OpaquePaintEvent) and its own text or pixmap is no longer drawn.
    LevelMeter(QLabel* label, SoundEngine* engine);
    ~LevelMeter() override;
    LevelMeter(const LevelMeter&) = delete;
    LevelMeter& operator=(const LevelMeter&) = delete;

    // The engine slot (0 or 1) whose channel is measured from the next update on.
    void setSlot(int slot) { slot_ = slot; }
    // Values fetched per side and averaged; clamped to 1..16384. Returns the stored value.
    // 20 until the settings replace it.
    int setSensitivity(int sensitivity);
    int sensitivity() const { return sensitivity_; }
    // Factor on the level (1.2 until the settings replace it).
    void setMultiplier(float multiplier) { multiplier_ = multiplier; }
    float multiplier() const { return multiplier_; }
    // 0 draws bars, anything else a round picture.
    void setStyle(int style);

    // Runs System::update; when the label can be seen (windowCanBeSeen), also fetches the waveform of the slot's
    // channel (left, then right), computes the level and shows it. Without a song the library
    // refuses the waveform and the buffers keep their last contents.
    void update();
    // Shows the picture for `scale` (see barPicture and roundPicture): repaints the rows that
    // differ from the picture shown, nothing when none does.
    void show(float scale);
    // Shows the blank background picture (the picture for scale 0). Before the first show or
    // clear the label is left as it is.
    void clear() { show(0.0f); }
    // The level of the last update (see levelScale).
    float lastScale() const { return lastScale_; }

    // The pictures, for a label of `size`: bars rising to `scale` of the height over three
    // fixed full-height gradients (green at the bottom, red at the top), or a round picture
    // whose size follows `scale`. Both on the background RGB(139, 203, 194).
    static QPixmap barPicture(QSize size, float scale);
    static QPixmap roundPicture(QSize size, float scale);
    static QPixmap blankPicture(QSize size);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Rows from the bottom that the bars cover for `scale` in a label of `height` rows.
    static int barRows(int height, float scale);
    void paintLabel();

    QLabel* label_;
    SoundEngine* engine_;
    int sensitivity_ = 20;
    float multiplier_ = 1.2f;
    std::unique_ptr<float[]> leftWave_;
    std::unique_ptr<float[]> rightWave_;
    int slot_ = 0;
    int style_ = 0;
    float lastScale_ = 0;
    bool drawn_ = false;   // whether the meter has painted the label yet
    float shownScale_ = 0; // what the label shows (or will at its next paint)
    QPixmap fullBars_;     // barPicture at full height for the label's size, made on first use
};
