#include "LevelMeter.h"

#include "SoundEngine.h"

#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

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

} // namespace

LevelMeter::LevelMeter(QLabel* label, SoundEngine* engine)
    : label_(label), engine_(engine), leftWave_(new float[MaxSensitivity]()),
      rightWave_(new float[MaxSensitivity]()) {}

LevelMeter::~LevelMeter() = default;

int LevelMeter::setSensitivity(int sensitivity) {
    sensitivity_ = std::clamp(sensitivity, MinSensitivity, MaxSensitivity);
    return sensitivity_;
}

void LevelMeter::update() {
    const audio::Channel channel = engine_->getChannel(slot_);
    channel.getWaveData(leftWave_.get(), sensitivity_, 0);
    channel.getWaveData(rightWave_.get(), sensitivity_, 1);
    if (audio::System* system = engine_->getSystem()) {
        system->update();
    }
    lastScale_ = levelScale(leftWave_.get(), rightWave_.get(), sensitivity_, multiplier_);
    const QSize size = label_->size();
    label_->setPixmap(style_ == 0 ? barPicture(size, lastScale_) : roundPicture(size, lastScale_));
}

void LevelMeter::clear() {
    label_->setPixmap(blankPicture(label_->size()));
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
    const int barHeight = std::clamp(static_cast<int>(height * scale), 0, height);
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
    const double diameter = std::min(size.width(), size.height()) * std::clamp(scale, 0.0f, 1.0f);
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
