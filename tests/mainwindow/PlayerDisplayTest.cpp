// What the player window shows: balance and pitch labels and their snapping under the mouse,
// the time display of long songs and streams, the title a stream announces, and subsongs of a
// module.
#include "EngineTestSupport.h"
#include "IcecastServer.h"
#include "NoPageSlider.h"
#include "PlayList.h"
#include "WindowTestSupport.h"

#include <QApplication>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QProcess>
#include <QSlider>
#include <QStandardPaths>
#include <QTest>
#include <QUrl>

#include <map>

namespace windowtest {
namespace {

using Display = WindowTest;

// A left click straight to the slider: it is stretched past the window's edge, where the
// window would not route a click to it.
void clickAt(NoPageSlider& slider, int pixel) {
    const QPoint at = slider.orientation() == Qt::Horizontal ? QPoint(pixel, slider.height() / 2)
                                                             : QPoint(slider.width() / 2, pixel);
    QMouseEvent press(QEvent::MouseButtonPress, at, slider.mapToGlobal(at), Qt::LeftButton,
                      Qt::LeftButton, {});
    QApplication::sendEvent(&slider, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, at, slider.mapToGlobal(at), Qt::LeftButton,
                        Qt::NoButton, {});
    QApplication::sendEvent(&slider, &release);
}

// Pixel positions along `slider` (made large enough for every value to have one) and the value
// each gives without snapping; the window's own snapping is switched back on afterwards.
std::map<int, int> pixelsOfValues(NoPageSlider& slider) {
    const bool snap = slider.snapEnabled;
    slider.snapEnabled = false;
    std::map<int, int> pixels;
    const bool horizontal = slider.orientation() == Qt::Horizontal;
    const int length = horizontal ? slider.width() : slider.height();
    for (int pixel = 0; pixel < length; ++pixel) {
        clickAt(slider, pixel);
        pixels.emplace(slider.value(), pixel);
    }
    slider.snapEnabled = snap;
    return pixels;
}

TEST_F(Display, BalanceAndPitchSnapToTheirRestValuesAndLabelTheValue) {
    MP3Database& window = openPlayer();
    window.show();
    auto* balance = formWidget<NoPageSlider>(window, "sliderBalance");
    auto* pitch = formWidget<NoPageSlider>(window, "sliderPitch");
    ASSERT_TRUE(balance && pitch);
    EXPECT_EQ(labelText(window, "labelBalance"), "Center");
    EXPECT_EQ(labelText(window, "labelPitch"), "100%");
    // The skinned grooves are a few dozen pixels long, so not every value has a pixel: give
    // the form the plain style and the sliders room enough that every value is reachable by a
    // click.
    formWidget<QWidget>(window, "centralWidget")->setStyleSheet(QString());
    balance->resize(800, balance->height());
    pitch->resize(pitch->width(), 800);

    struct Case {
        NoPageSlider* slider;
        const char* label;
        int clicked;
        int expected;
        const char* text;
    };
    const Case cases[] = {
        {pitch, "labelPitch", 92, 100, "100%"},
        {pitch, "labelPitch", 108, 100, "100%"},
        {pitch, "labelPitch", 90, 90, "90%"},
        {pitch, "labelPitch", 110, 110, "110%"},
        {pitch, "labelPitch", 150, 150, "150%"},
        {balance, "labelBalance", -9, 0, "Center"},
        {balance, "labelBalance", 9, 0, "Center"},
        {balance, "labelBalance", -10, -10, "-10% Left"},
        {balance, "labelBalance", -30, -30, "-30% Left"},
        {balance, "labelBalance", 30, 30, "30% Right"},
    };
    const std::map<int, int> pitchPixels = pixelsOfValues(*pitch);
    const std::map<int, int> balancePixels = pixelsOfValues(*balance);
    for (const Case& c : cases) {
        const auto& pixels = c.slider == pitch ? pitchPixels : balancePixels;
        const auto found = pixels.find(c.clicked);
        ASSERT_NE(found, pixels.end()) << "no pixel gives " << c.clicked;
        c.slider->setValue(c.slider == pitch ? 180 : 70); // start away from every case
        clickAt(*c.slider, found->second);
        EXPECT_EQ(c.slider->value(), c.expected) << "clicked at " << c.clicked;
        EXPECT_EQ(labelText(window, c.label), c.text) << "clicked at " << c.clicked;
    }
}

TEST_F(Display, AHundredMinuteSongShowsItsFullLength) {
    const QString sox = QStandardPaths::findExecutable("sox");
    ASSERT_FALSE(sox.isEmpty());
    const QString song = tempFolder() + "/long.flac";
    // 100 minutes of silence at a low rate: a few kilobytes of FLAC.
    ASSERT_EQ(QProcess::execute(
                  sox, {"-n", "-r", "8000", "-c", "1", "-b", "16", song, "trim", "0", "6000"}),
              0);
    MP3Database& window = openPlayer({song});
    EXPECT_FALSE(window.isNoSound());
    EXPECT_EQ(window.songLength(), 6000000u);
    EXPECT_EQ(labelText(window, "labelTitle"), "long.flac (100:00)");

    QTest::mouseClick(formWidget<QLabel>(window, "labelLCDOverlay"), Qt::LeftButton);
    play(1000);
    EXPECT_EQ(labelText(window, "labelCurrentTime"), "-99:59") << "remaining time";
    QTest::mouseClick(formWidget<QLabel>(window, "labelLCDOverlay"), Qt::LeftButton);
    play(20);
    EXPECT_EQ(labelText(window, "labelCurrentTime"), "00:01") << "elapsed time again";
}

TEST_F(Display, AStreamShowsItsTitleAndUnknownTimeAndCannotBeSoughtButTheSongAfterItCan) {
    tamberlo::test::IcecastServer server;
    ASSERT_TRUE(server.started()) << "icecast did not start";
    server.feed(QFile::encodeName(media("music.mp3")).toStdString(), "mp3", "audio/mpeg",
                "radio.mp3");
    ASSERT_TRUE(server.waitForMount("radio.mp3", 15000)) << "the source never went on air";
    MP3Database& window = openPlayer({QString::fromStdString(server.url("radio.mp3"))});
    ASSERT_FALSE(window.isNoSound());
    EXPECT_FALSE(formWidget<QSlider>(window, "sliderProgress")->isEnabled());
    EXPECT_TRUE(labelText(window, "labelTitle").endsWith(QString("(") + "??:??" + ")"));

    QTest::mouseClick(formWidget<QLabel>(window, "labelLCDOverlay"), Qt::LeftButton);
    play(500);
    EXPECT_EQ(labelText(window, "labelCurrentTime"), "??:??");
    EXPECT_FALSE(window.isNoSound()) << "a stream has no end";
    ASSERT_TRUE(server.setStreamTitle("radio.mp3", "Artist - Song"));
    for (int tick = 0; tick < 300 && !labelText(window, "labelTitle").startsWith("Artist");
         ++tick) {
        play(20);
    }
    EXPECT_EQ(labelText(window, "labelTitle"), QString("Artist - Song (") + "??:??" + ")")
        << "the server's title";
    window.on_buttonStop_clicked();

    // A song played after the stream can be sought back to its start.
    window.playList().addPaths({writeTone("after.wav", 1000)});
    window.on_buttonNext_clicked();
    window.on_buttonPlay_clicked();
    waitForSong();
    ASSERT_TRUE(labelText(window, "labelTitle").startsWith("after.wav"));
    QSlider* progress = formWidget<QSlider>(window, "sliderProgress");
    play(200);
    progress->setValue(progress->minimum());
    window.on_sliderProgress_sliderReleased();
    play(100);
    EXPECT_EQ(progress->minimum(), 0);
    EXPECT_FALSE(window.isNoSound());
    EXPECT_NEAR(progress->value(), 100, 40);
}

// area1-game.mod from the generated media holds four subsongs (libopenmpt counts them).
TEST_F(Display, SubsongButtonsStepThroughTheModulesSongsWithinBounds) {
    MP3Database& empty = openPlayer();
    empty.on_buttonNextSub_clicked();
    EXPECT_EQ(empty.currentSubsong(), 0) << "nothing loaded: the buttons do nothing";
    EXPECT_EQ(empty.subsongCount(), 1);

    MP3Database& window = openPlayer({media("mod/area1-game.mod")});
    ASSERT_EQ(window.subsongCount(), 4);
    EXPECT_TRUE(labelText(window, "labelInfo").startsWith("Subsong: 1/4\n"));

    window.on_buttonPrevSub_clicked();
    EXPECT_EQ(window.currentSubsong(), 0) << "no subsong before the first";
    for (int expected = 1; expected <= 3; ++expected) {
        window.on_buttonNextSub_clicked();
        EXPECT_EQ(window.currentSubsong(), expected);
    }
    window.on_buttonNextSub_clicked();
    EXPECT_EQ(window.currentSubsong(), 3) << "no subsong after the last";
    EXPECT_TRUE(labelText(window, "labelInfo").startsWith("Subsong: 4/4\n"));
    play(200);
    EXPECT_FALSE(window.isNoSound());

    window.on_buttonPrevSub_clicked();
    EXPECT_EQ(window.currentSubsong(), 2);
    EXPECT_TRUE(labelText(window, "labelInfo").startsWith("Subsong: 3/4\n"));

    // Files dropped on the player start at their first subsong, not at the old song's.
    QMimeData dropped;
    dropped.setUrls({QUrl::fromLocalFile(media("mod/area1-game.mod"))});
    ASSERT_TRUE(dragAndDrop(window, dropped));
    waitForSong();
    EXPECT_EQ(window.currentSubsong(), 0);
    EXPECT_TRUE(labelText(window, "labelInfo").startsWith("Subsong: 1/4\n"));
}

} // namespace
} // namespace windowtest
