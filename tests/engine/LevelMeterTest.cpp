// Level arithmetic and the meter's pictures, drawn offscreen.
#include "LevelMeter.h"
#include "EngineTestSupport.h"

#include <QImage>
#include <QLabel>
#include <QScreen>
#include <QTest>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace enginetest {
namespace {

TEST(LevelScale, SilenceFullScaleAndMultiplier) {
    std::vector<float> silence(16384, 0.0f);
    std::vector<float> full(16384, 1.0f);
    std::vector<float> negative(16384, -1.0f);
    std::vector<float> half(16384, 0.5f);
    std::vector<float> infinite(16384, std::numeric_limits<float>::infinity());
    struct Case {
        const char* name;
        const std::vector<float>& left;
        const std::vector<float>& right;
        int sensitivity;
        float multiplier;
        float scale;
    };
    const Case cases[] = {
        {"silence", silence, silence, 4000, 1.0f, 0.0f},
        {"full scale", full, full, 4000, 1.0f, 1.5625f},
        {"negative full scale", negative, negative, 20, 1.0f, 1.5625f},
        {"one side, the other not finite", full, infinite, 16384, 1.0f, 0.78125f},
        {"half", half, half, 1, 1.2f, 200 / 256.0f * 1.2f},
    };
    for (const Case& c : cases) {
        EXPECT_FLOAT_EQ(levelScale(c.left.data(), c.right.data(), c.sensitivity, c.multiplier),
                        c.scale)
            << c.name;
    }
}

// The level as documented: a running sum truncated after every term.
float referenceScale(const std::vector<float>& left, const std::vector<float>& right,
                     int sensitivity) {
    auto term = [](float v) {
        const double m = std::fabs(static_cast<double>(v) * 100.0);
        return std::isfinite(m) ? std::min(m, 100000.0) : 0.0;
    };
    long long sum = 0;
    for (int i = 0; i < sensitivity; ++i) {
        sum = static_cast<long long>(term(left[i]) + static_cast<double>(sum));
        sum = static_cast<long long>(term(right[i]) + static_cast<double>(sum));
    }
    return static_cast<float>(static_cast<double>((sum / sensitivity) * 2) / 256.0);
}

TEST(LevelScale, MatchesTheTruncatedRunningSum) {
    std::mt19937 random(7);
    auto noise = [&](float amplitude) {
        std::uniform_real_distribution<float> value(-amplitude, amplitude);
        std::vector<float> wave(16384);
        for (float& v : wave) {
            v = value(random);
        }
        return wave;
    };
    // The largest float whose term is just below 2: once the sum passes 2^30, adding it and
    // truncating rounds up to the next integer, which a sum of whole parts would miss.
    float nearlyTwo = 0.02f;
    while (static_cast<double>(nearlyTwo) * 100.0 >= 2.0) {
        nearlyTwo = std::nextafter(nearlyTwo, 0.0f);
    }
    const std::vector<float> loud(16384, 900.0f);
    const std::vector<float> roundsUp(16384, nearlyTwo);
    struct Case {
        const char* name;
        std::vector<float> left, right;
        int sensitivity;
    };
    const Case cases[] = {
        {"music-like noise", noise(1.0f), noise(1.0f), 4000},
        {"quiet noise", noise(0.01f), noise(0.01f), 16384},
        {"beyond full scale", noise(8.0f), noise(8.0f), 20},
        {"sum where truncation rounds up", loud, roundsUp, 16384},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(levelScale(c.left.data(), c.right.data(), c.sensitivity, 1.0f),
                  referenceScale(c.left, c.right, c.sensitivity))
            << c.name;
    }
}

QColor pixel(const QPixmap& picture, int x, int y) {
    return picture.toImage().pixelColor(x, y);
}

TEST(LevelMeterPicture, BarsAreGreenLowAndReachRedAtTheTop) {
    const QSize size(30, 100);
    const QColor background(139, 203, 194);
    const QPixmap low = LevelMeter::barPicture(size, 0.3f);
    EXPECT_EQ(pixel(low, 15, 50), background);
    const QColor lowBar = pixel(low, 15, 95);
    EXPECT_GT(lowBar.green(), 150);
    EXPECT_LT(lowBar.red(), 80);

    const QPixmap high = LevelMeter::barPicture(size, 1.5f); // above full height: clipped
    const QColor top = pixel(high, 15, 1);
    EXPECT_GT(top.red(), 200);
    EXPECT_LT(top.green(), 60);
    EXPECT_EQ(LevelMeter::barPicture(size, 0.0f).toImage(),
              LevelMeter::blankPicture(size).toImage());
    EXPECT_NE(pixel(LevelMeter::roundPicture(size, 1.0f), 15, 50), background);
    EXPECT_EQ(pixel(LevelMeter::roundPicture(size, 0.0f), 15, 50), background);
}

TEST(LevelMeterWidget, KeepsSensitivityInRangeAndMeasuresTheSlot) {
    ScratchDir dir("meter");
    auto engine = offlineEngine();
    QLabel label;
    label.resize(40, 80);
    LevelMeter meter(&label, engine.get());
    EXPECT_EQ(meter.setSensitivity(0), 1);
    EXPECT_EQ(meter.setSensitivity(100000), 16384);
    EXPECT_EQ(meter.setSensitivity(4000), 4000);

    meter.update(); // no song: the library refuses the waveform, the buffers stay silent
    EXPECT_EQ(meter.lastScale(), 0.0f);

    writeWav(dir.file("loud.wav"), 44100, 44100,
             [](uint32_t f, int) { return static_cast<int16_t>(f % 2 ? 32767 : -32767); });
    ASSERT_TRUE(load(*engine, dir.file("loud.wav"), 1).ok);
    engine->startSlot(1);
    mixMs(*engine, 200);
    meter.setMultiplier(1.0f);
    meter.setSlot(1);
    label.show();
    label.showMinimized();
    meter.update();
    EXPECT_EQ(meter.lastScale(), 0.0f) << "a minimised window is not measured";
    label.showNormal();
    meter.update();
    EXPECT_NEAR(meter.lastScale(), 1.5625f, 0.02f); // 32767 is just below full scale
    meter.setSlot(0); // the other slot has no song: its waveform is refused, the last stays
    meter.update();
    EXPECT_NEAR(meter.lastScale(), 1.5625f, 0.02f);
}

TEST(LevelMeterWidget, ShowsExactlyTheBarPictureAfterEveryChange) {
    QLabel label;
    label.resize(10, 84);
    auto engine = offlineEngine();
    LevelMeter meter(&label, engine.get());
    label.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&label));
    // Up, down, the same again, off the top and back to nothing: each step repaints only the
    // rows that changed, and what is on screen must be the whole picture all the same.
    for (const float scale : {0.3f, 0.9f, 0.5f, 0.5f, 1.7f, 0.0f}) {
        meter.show(scale);
        QCoreApplication::processEvents();
        const QImage shown = label.screen()->grabWindow(label.winId()).toImage();
        EXPECT_EQ(shown.convertToFormat(QImage::Format_RGB32),
                  LevelMeter::barPicture(label.size(), scale)
                      .toImage()
                      .convertToFormat(QImage::Format_RGB32))
            << "scale " << scale;
    }
}

} // namespace
} // namespace enginetest
