#pragma once
// A QSlider whose left click moves the handle straight to the clicked point (no paging), and
// which can pull the handle onto a snap value when it comes within 10 units of it. The player
// uses it for the song position, the pitch (snap 100) and the balance (snap 0). A new value
// repaints the slider only when it moves the handle: the song position changes every 20 ms,
// the handle mostly far less often.
//
// Threading: GUI thread only, like every widget.

#include <QSlider>

class QStyleOptionSlider;

class NoPageSlider : public QSlider {
    Q_OBJECT
public:
    explicit NoPageSlider(QWidget* parent = nullptr);

    // The value the handle snaps to, and whether snapping applies. Both off (0, false) after
    // construction; the owner sets them directly.
    int snapValue = 0;
    bool snapEnabled = false;

    // Snapping pulls values closer than this (in slider units) onto snapValue.
    static constexpr int SnapDistance = 10;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

    void initStyleOption(QStyleOptionSlider* option) const override;
    void sliderChange(SliderChange change) override;
    void paintEvent(QPaintEvent* event) override;
    // Slider value under the pixel coordinate (x when horizontal, y when vertical), using the
    // style's groove and handle rectangles so the handle's centre lands under the pointer.
    int pixelPosToRangeValue(int pos) const;

private:
    int snapped(int value) const;
    int valueAt(const QMouseEvent* event) const;
    // The handle's distance in pixels from the minimum's end at `value`, as the last paint
    // measured the slider.
    int handleOffset(int value) const;

    int handleTravel_ = -1; // pixels from minimum to maximum; -1 before the first paint
    int paintedOffset_ = 0; // handleOffset of the value the last paint drew
};
