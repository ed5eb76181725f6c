// The skin on the real player window: a paused player shows the pause button held down, and
// every button's pressed state uses its "-down" picture.
#include "PlayerSkin.h"
#include "PlayerTestSupport.h"
#include "ui_MP3Database.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QImage>
#include <QPushButton>

#include <gtest/gtest.h>

namespace {

// The family a font file in the application folder's Resources/ really carries.
QString familyInFile(const QString& appDir, const char* file) {
    const int id = QFontDatabase::addApplicationFont(skin::resourcePath(appDir, file));
    const QStringList families = QFontDatabase::applicationFontFamilies(id);
    return families.isEmpty() ? QString() : families.first();
}

// The share of pixels of `shot` (a grab at scale 1) equal to the picture file's.
double shareLike(const QImage& shot, const QString& pictureFile) {
    const QImage picture =
        QImage(pictureFile).convertToFormat(QImage::Format_RGB32).scaled(shot.size());
    const QImage grabbed = shot.convertToFormat(QImage::Format_RGB32);
    if (picture.isNull() || grabbed.size() != picture.size()) {
        return 0.0;
    }
    int same = 0;
    for (int y = 0; y < grabbed.height(); ++y) {
        for (int x = 0; x < grabbed.width(); ++x) {
            same += grabbed.pixel(x, y) == picture.pixel(x, y) ? 1 : 0;
        }
    }
    return double(same) / (grabbed.width() * grabbed.height());
}

TEST(PlayerSkin, PausedPlayerShowsThePauseButtonHeldDown) {
    PlayerSession session;
    Ui::MP3DatabaseClass& form = session.player().form();
    // The test binary has no Resources/ of its own: take the application folder's skin.
    const QString appDir = qEnvironmentVariable("TAMBERLO_APP_DIR");
    skin::applyPlayerStyleSheets(form, appDir);
    session.player().show();

    QPushButton* pause = form.buttonPause;
    ASSERT_TRUE(pause->isCheckable());
    const QString up = skin::resourcePath(appDir, "pause.png");
    const QString down = skin::resourcePath(appDir, "pause-down.png");
    pause->setChecked(false);
    const QImage released = pause->grab().toImage();
    EXPECT_GT(shareLike(released, up), 0.9);
    EXPECT_LT(shareLike(released, down), 0.9);

    pause->setChecked(true);
    const QImage held = pause->grab().toImage();
    EXPECT_GT(shareLike(held, down), 0.9);
    EXPECT_LT(shareLike(held, up), 0.9);
}

TEST(PlayerSkin, ButtonSheetsNameTheirPressedPictureFromTheApplicationFolder) {
    PlayerSession session;
    Ui::MP3DatabaseClass& form = session.player().form();
    const struct {
        QWidget* widget;
        const char* image;
        const char* pressed;
    } buttons[] = {
        {form.buttonPrev, "prev.png", "prev-down.png"},
        {form.buttonPlay, "play.png", "play-down.png"},
        {form.buttonPause, "pause.png", "pause-down.png"},
        {form.buttonStop, "stop.png", "stop-down.png"},
        {form.buttonNext, "next.png", "next-down.png"},
        {form.buttonPrevSub, "prevsub.png", "prevsub-down.png"},
        {form.buttonNextSub, "nextsub.png", "nextsub-down.png"},
        {form.buttonQuit, "quit.png", "quit-down.png"},
        {form.buttonMinimize, "minimize.png", "minimize-down.png"},
    };
    const QString resources = QCoreApplication::applicationDirPath() + "/Resources/";
    for (const auto& b : buttons) {
        const QString name = b.widget->objectName();
        const QString sheet = b.widget->styleSheet();
        const QString normal = "#" + name + "{color: black;background-image: url(\"" + resources +
                               b.image + "\");border: none;}";
        const QString pressed = "#" + name + ":pressed{color: black;background-image: url(\"" +
                                resources + b.pressed + "\");border: none;}";
        EXPECT_TRUE(sheet.startsWith(normal)) << qPrintable(sheet);
        EXPECT_TRUE(sheet.contains(pressed)) << qPrintable(sheet);
    }
}

TEST(PlayerSkin, LabelsGetTheShippedFontsWithoutAntialiasing) {
    PlayerSession session;
    Ui::MP3DatabaseClass& form = session.player().form();
    const QString appDir = qEnvironmentVariable("TAMBERLO_APP_DIR");
    skin::applyPlayerFonts(form, appDir);

    const QString lcd = familyInFile(appDir, skin::LcdFontFile);
    const QString pixel = familyInFile(appDir, skin::PixelFontFile);
    ASSERT_FALSE(lcd.isEmpty());
    ASSERT_FALSE(pixel.isEmpty());
    const struct {
        QWidget* widget;
        QString family;
        int points;
    } cases[] = {
        {form.labelCurrentTime, lcd, 28}, {form.labelInfo, pixel, 7},
        {form.buttonNormalize, pixel, 7}, {form.buttonReverb, pixel, 7},
        {form.labelBalance, pixel, 7},    {form.labelPitch, pixel, 7},
        {form.labelVolume, pixel, 7},
    };
    for (const auto& c : cases) {
        // QFontInfo tells the font actually used, after the database's fallbacks.
        const QFontInfo used(c.widget->font());
        EXPECT_EQ(used.family(), c.family) << qPrintable(c.widget->objectName());
        EXPECT_EQ(used.pointSize(), c.points) << qPrintable(c.widget->objectName());
        EXPECT_EQ(c.widget->font().styleStrategy() & QFont::NoAntialias, QFont::NoAntialias);
    }
}

// On a high-density screen the top bar's picture comes from its @2x twin, so it stays sharp.
TEST(PlayerSkin, PicturesForDenseScreensComeFromTheirTwins) {
    const QString appDir = qEnvironmentVariable("TAMBERLO_APP_DIR");
    const QSize logical = QImage(skin::resourcePath(appDir, "top.png")).size();
    ASSERT_FALSE(logical.isEmpty());
    const struct {
        qreal screenRatio;
        qreal pixmapRatio;
    } cases[] = {{1.0, 1.0}, {1.5, 2.0}, {2.0, 2.0}, {3.0, 2.0}};
    for (const auto& c : cases) {
        const QPixmap picture = skin::skinPixmap(appDir, "top.png", c.screenRatio);
        EXPECT_EQ(picture.devicePixelRatio(), c.pixmapRatio) << c.screenRatio;
        EXPECT_EQ(picture.deviceIndependentSize().toSize(), logical) << c.screenRatio;
    }
    EXPECT_TRUE(skin::skinPixmap(appDir, "no-such-picture.png", 2.0).isNull());
}

} // namespace
