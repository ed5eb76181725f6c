// The slider that jumps to the clicked point; its snapping to a rest value is tested on the
// player's balance and pitch sliders in PlayerDisplayTest.
#include "NoPageSlider.h"

#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// A parent that records the presses its child slider lets through.
class Parent : public QWidget {
public:
    int pressesSeen = 0;

protected:
    void mousePressEvent(QMouseEvent*) override { ++pressesSeen; }
};

struct SliderUnderTest {
    Parent parent;
    NoPageSlider* slider = new NoPageSlider(&parent);

    explicit SliderUnderTest(int maximum) {
        parent.resize(420, 40);
        slider->setOrientation(Qt::Horizontal);
        slider->setGeometry(10, 10, 400, 20);
        slider->setRange(0, maximum);
        slider->setPageStep(10);
        parent.show();
    }
    int clickAt(int x) {
        QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(x, 10));
        return slider->value();
    }
};

TEST(NoPageSlider, ClickMovesHandleStraightToThePoint) {
    SliderUnderTest s(1000);
    const int middle = s.clickAt(200);
    EXPECT_NEAR(middle, 500, 10) << "a click jumps, it does not page by 10";
    EXPECT_EQ(s.clickAt(399), 1000) << "the end of the groove is the maximum";
    EXPECT_EQ(s.clickAt(0), 0);
}

TEST(NoPageSlider, PressAndReleaseDriveSliderDownAndSignals) {
    SliderUnderTest s(1000);
    QSignalSpy pressed(s.slider, &QAbstractSlider::sliderPressed);
    QSignalSpy released(s.slider, &QAbstractSlider::sliderReleased);
    QSignalSpy moved(s.slider, &QAbstractSlider::sliderMoved);

    QTest::mousePress(s.slider, Qt::LeftButton, {}, QPoint(100, 10));
    EXPECT_TRUE(s.slider->isSliderDown());
    EXPECT_EQ(pressed.count(), 1);

    QMouseEvent move(QEvent::MouseMove, QPointF(300, 10), s.slider->mapToGlobal(QPointF(300, 10)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(s.slider, &move);
    // QSlider itself reports the move while down; the handler reports the final value again.
    ASSERT_GE(moved.count(), 1);
    EXPECT_EQ(moved.takeLast().at(0).toInt(), s.slider->value());
    EXPECT_NEAR(s.slider->value(), 750, 10);

    QTest::mouseRelease(s.slider, Qt::LeftButton, {}, QPoint(200, 10));
    EXPECT_FALSE(s.slider->isSliderDown());
    EXPECT_EQ(released.count(), 1);
    EXPECT_NEAR(s.slider->value(), 500, 10);
}

TEST(NoPageSlider, IgnoredPressesPassToTheParent) {
    {
        SliderUnderTest emptyRange(0);
        QTest::mousePress(emptyRange.slider, Qt::LeftButton, {}, QPoint(200, 10));
        EXPECT_FALSE(emptyRange.slider->isSliderDown());
        EXPECT_EQ(emptyRange.parent.pressesSeen, 1);
    }
    {
        SliderUnderTest s(1000);
        s.slider->setValue(123);
        QTest::mousePress(s.slider, Qt::RightButton, {}, QPoint(300, 10));
        EXPECT_EQ(s.slider->value(), 123);
        EXPECT_FALSE(s.slider->isSliderDown());
        EXPECT_EQ(s.parent.pressesSeen, 1) << "the right button reaches the context menu";
    }
}

} // namespace
