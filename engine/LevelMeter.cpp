#include "LevelMeter.h"

#include "SoundEngine.h"

#include <QEvent>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cstdlib>

namespace {

const QColor Background(139, 203, 194);

struct GradientStops {
    QColor top, upper, lower, bottom; // at 0.0, 0.35, 0.8125, 1.0
};

const GradientStops BarGradients[3] = {
    {QColor(187, 17, 0), QColor(187, 255, 0), QColor(0, 255, 0), QColor(0, 170, 0)},
    {QColor(255, 17, 0), QColor(255, 255, 0), QColor(68, 255, 0), QColor(0, 238, 0)},
    {QColor(119, 17, 0), QColor(119, 255, 0), QColor(0, 187, 0), QColor(0, 102, 0)},
};

QLinearGradient fullHeightGradient(int height, const GradientStops& stops) {
    QLinearGradient gradient(0, 0, 0, height);
    gradient.setColorAt(0.0, stops.top);
    gradient.setColorAt(0.35, stops.upper);
    gradient.setColorAt(0.8125, stops.lower);
    gradient.setColorAt(1.0, stops.bottom);
    return gradient;
}

double roundDiameter(QSize size, float scale) {
    return std::min(size.width(), size.height()) * std::clamp(scale, 0.0f, 1.0f);
}

} // namespace

bool windowCanBeSeen(const QWidget& widget) {
    const QWidget& window = *widget.window();
    if (window.isMinimized()) {
        return false;
    }
    return window.isVisible() || !window.testAttribute(Qt::WA_WState_ExplicitShowHide);
}

LevelMeter::LevelMeter(QLabel* label, SoundEngine* engine)
    : label_(label), engine_(engine), leftWave_(new float[MaxSensitivity]()),
      rightWave_(new float[MaxSensitivity]()) {
    label_->installEventFilter(this);
}

LevelMeter::~LevelMeter() {
    label_->removeEventFilter(this);
}

int LevelMeter::setSensitivity(int sensitivity) {
    sensitivity_ = std::clamp(sensitivity, MinSensitivity, MaxSensitivity);
    return sensitivity_;
}

void LevelMeter::setStyle(int style) {
    if (style != style_) {
        style_ = style;
        label_->update();
    }
}

void LevelMeter::update() {
    if (audio::System* system = engine_->getSystem()) {
        system->update();
    }
    if (!windowCanBeSeen(*label_)) {
        return;
    }
    const audio::Channel channel = engine_->getChannel(slot_);
    channel.getWaveData(leftWave_.get(), sensitivity_, 0);
    channel.getWaveData(rightWave_.get(), sensitivity_, 1);
    lastScale_ = levelScale(leftWave_.get(), rightWave_.get(), sensitivity_, multiplier_);
    show(lastScale_);
}

int LevelMeter::barRows(int height, float scale) {
    return std::clamp(static_cast<int>(height * scale), 0, height);
}

void LevelMeter::show(float scale) {
    const float before = shownScale_;
    shownScale_ = scale;
    if (!drawn_) {
        // Until the first picture the label is left as it is (the skin shows through it).
        // From then on the picture covers it whole, so nothing beneath needs painting first.
        drawn_ = true;
        label_->setAttribute(Qt::WA_OpaquePaintEvent);
        label_->update();
        return;
    }
    const QSize size = label_->size();
    if (style_ != 0) {
        if (roundDiameter(size, before) != roundDiameter(size, scale)) {
            label_->update();
        }
        return;
    }
    const int rowsBefore = barRows(size.height(), before);
    const int rowsNow = barRows(size.height(), scale);
    if (rowsBefore != rowsNow) {
        const int top = size.height() - std::max(rowsBefore, rowsNow);
        // At once, within the tick, rather than through one more posted update request.
        label_->repaint(0, top, size.width(), std::abs(rowsNow - rowsBefore));
    }
}

bool LevelMeter::eventFilter(QObject* watched, QEvent* event) {
    if (drawn_ && watched == label_ && event->type() == QEvent::Paint) {
        paintLabel();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void LevelMeter::paintLabel() {
    const QSize size = label_->size();
    QPainter painter(label_);
    if (style_ != 0) {
        painter.drawPixmap(0, 0, roundPicture(size, shownScale_));
        return;
    }
    // The bars are the bottom rows of the full-height picture over the plain background, so
    // one picture per label size serves every level, drawn exactly as barPicture draws it.
    if (fullBars_.size() != size) {
        fullBars_ = barPicture(size, 1.0f);
    }
    const int rows = barRows(size.height(), shownScale_);
    const int top = size.height() - rows;
    painter.fillRect(0, 0, size.width(), top, Background);
    painter.drawPixmap(QRect(0, top, size.width(), rows), fullBars_,
                       QRect(0, top, size.width(), rows));
}

QPixmap LevelMeter::blankPicture(QSize size) {
    QPixmap picture(size);
    picture.fill(Background);
    return picture;
}

QPixmap LevelMeter::barPicture(QSize size, float scale) {
    QPixmap picture = blankPicture(size);
    const int width = size.width();
    const int height = size.height();
    const int barHeight = barRows(height, scale);
    QPainter painter(&picture);
    painter.setPen(Qt::NoPen);
    for (int bar = 0; bar < 3; ++bar) {
        const int left = width * bar / 3;
        const int right = width * (bar + 1) / 3;
        painter.setBrush(fullHeightGradient(height, BarGradients[bar]));
        painter.drawRect(left, height - barHeight, right - left, barHeight);
    }
    return picture;
}

QPixmap LevelMeter::roundPicture(QSize size, float scale) {
    QPixmap picture = blankPicture(size);
    const double diameter = roundDiameter(size, scale);
    if (diameter < 1.0) {
        return picture;
    }
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QLinearGradient gradient(0, 0, 0, size.height());
    gradient.setColorAt(0.0, QColor(255, 17, 0));
    gradient.setColorAt(0.5, QColor(255, 255, 0));
    gradient.setColorAt(1.0, QColor(0, 238, 0));
    QPainterPath circle;
    circle.addEllipse(QPointF(size.width() / 2.0, size.height() / 2.0), diameter / 2.0,
                      diameter / 2.0);
    painter.fillPath(circle, gradient);
    return picture;
}
