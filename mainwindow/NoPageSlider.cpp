#include "NoPageSlider.h"

#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionSlider>

#include <cstdlib>

NoPageSlider::NoPageSlider(QWidget* parent) : QSlider(parent) {}

void NoPageSlider::initStyleOption(QStyleOptionSlider* option) const {
    option->initFrom(this);
    option->subControls = QStyle::SC_None;
    option->activeSubControls = QStyle::SC_None;
    option->orientation = orientation();
    option->maximum = maximum();
    option->minimum = minimum();
    option->tickPosition = tickPosition();
    option->tickInterval = tickInterval();
    option->upsideDown = (orientation() == Qt::Horizontal)
                             ? (invertedAppearance() != (option->direction == Qt::RightToLeft))
                             : !invertedAppearance();
    option->direction = Qt::LeftToRight;
    option->sliderPosition = sliderPosition();
    option->sliderValue = value();
    option->singleStep = singleStep();
    option->pageStep = pageStep();
    if (orientation() == Qt::Horizontal) {
        option->state |= QStyle::State_Horizontal;
    }
}

int NoPageSlider::handleOffset(int value) const {
    // Measured from the minimum's end whichever way the slider runs: only equality matters.
    return QStyle::sliderPositionFromValue(minimum(), maximum(), value, handleTravel_);
}

void NoPageSlider::sliderChange(SliderChange change) {
    // The style's handle rectangle costs far more than this sum, and the position slider gets
    // a new value every 20 ms.
    if (change == SliderValueChange && handleTravel_ >= 0 &&
        handleOffset(sliderPosition()) == paintedOffset_) {
        return; // the picture would be the same
    }
    QSlider::sliderChange(change);
}

void NoPageSlider::paintEvent(QPaintEvent* event) {
    // The pixels the handle travels from one end to the other, measured with the style.
    QStyleOptionSlider option;
    initStyleOption(&option);
    option.sliderPosition = minimum();
    const QRect first =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
    option.sliderPosition = maximum();
    const QRect last =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
    handleTravel_ = orientation() == Qt::Horizontal ? std::abs(last.x() - first.x())
                                                    : std::abs(last.y() - first.y());
    paintedOffset_ = handleOffset(sliderPosition());
    QSlider::paintEvent(event);
}

int NoPageSlider::pixelPosToRangeValue(int pos) const {
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect groove =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
    const QRect handle =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);

    int begin, end;
    if (orientation() == Qt::Horizontal) {
        const int half = handle.width() / 2;
        begin = groove.x() + half;
        end = groove.right() - half;
    } else {
        const int half = handle.height() / 2;
        begin = groove.y() + half;
        end = groove.bottom() - half;
    }
    return QStyle::sliderValueFromPosition(minimum(), maximum(), pos - begin, end - begin + 1,
                                           option.upsideDown);
}

int NoPageSlider::snapped(int value) const {
    if (snapEnabled && std::abs(value - snapValue) < SnapDistance) {
        return snapValue;
    }
    return value;
}

int NoPageSlider::valueAt(const QMouseEvent* event) const {
    const QPoint point = event->position().toPoint();
    return snapped(pixelPosToRangeValue(orientation() == Qt::Horizontal ? point.x() : point.y()));
}

void NoPageSlider::mousePressEvent(QMouseEvent* event) {
    if (maximum() == minimum() || event->button() != Qt::LeftButton ||
        event->buttons() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    event->accept();
    setSliderPosition(valueAt(event));
    setSliderDown(true);
}

void NoPageSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    event->accept();
    setSliderPosition(valueAt(event));
    setSliderDown(false);
}

void NoPageSlider::mouseMoveEvent(QMouseEvent* event) {
    if (!hasTracking() || !(event->buttons() & Qt::LeftButton)) {
        event->ignore();
        return;
    }
    event->accept();
    setSliderPosition(valueAt(event));
    emit sliderMoved(value());
}
