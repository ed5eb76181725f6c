// Level arithmetic and the meter's pictures, drawn offscreen.
#include "LevelMeter.h"
#include "EngineTestSupport.h"

#include <QImage>
#include <QLabel>
#include <gtest/gtest.h>
#include <limits>

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

TEST(LevelMeterWidget, KeepsSensitivityInRangeAndPaintsTheLabel) {
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
    EXPECT_EQ(label.pixmap().size(), QSize(40, 80));

    writeWav(dir.file("loud.wav"), 44100, 44100,
             [](uint32_t f, int) { return static_cast<int16_t>(f % 2 ? 32767 : -32767); });
    ASSERT_TRUE(load(*engine, dir.file("loud.wav"), 1).ok);
    engine->startSlot(1);
    mixMs(*engine, 200);
    meter.setMultiplier(1.0f);
    meter.setSlot(1);
    meter.update();
    EXPECT_NEAR(meter.lastScale(), 1.5625f, 0.02f); // 32767 is just below full scale
    meter.setSlot(0); // the other slot has no song: its waveform is refused, the last stays
    meter.clear();
    EXPECT_EQ(label.pixmap().toImage().pixelColor(20, 40), QColor(139, 203, 194));
}

} // namespace
} // namespace enginetest
