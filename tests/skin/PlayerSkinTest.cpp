// The skin on the real player window: every button's pressed state shows its "-down" picture
// (and the pause button's checked state too), the shipped fonts, and the @2x pictures.
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

TEST(PlayerSkin, ButtonsShowTheirDownPictureWhilePressedAndPauseWhileChecked) {
    PlayerSession session;
    Ui::MP3DatabaseClass& form = session.player().form();
    // The player takes its pictures from its own application folder ...
    EXPECT_TRUE(form.centralWidget->styleSheet().contains(
        "url(\"" + QCoreApplication::applicationDirPath() + "/Resources/play.png\")"));
    // ... here the test binary's folder: draw from the player's own folder to be sure.
    const QString appDir = qEnvironmentVariable("TAMBERLO_APP_DIR");
    skin::applyPlayerStyleSheets(form, appDir);
    session.player().show();

    const std::pair<QPushButton*, QString> buttons[] = {
        {form.buttonPrev, "prev"},         {form.buttonPlay, "play"},
        {form.buttonPause, "pause"},       {form.buttonStop, "stop"},
        {form.buttonNext, "next"},         {form.buttonPrevSub, "prevsub"},
        {form.buttonNextSub, "nextsub"},   {form.buttonQuit, "quit"},
        {form.buttonMinimize, "minimize"},
    };
    for (const auto& [button, picture] : buttons) {
        const QString up = skin::resourcePath(appDir, picture + ".png");
        const QString down = skin::resourcePath(appDir, picture + "-down.png");
        // The small quit and minimize buttons match their pictures in a little over 80 %.
        const auto looksLike = [&](const QString& shown, const QString& other) {
            const QImage shot = button->grab().toImage();
            EXPECT_GT(shareLike(shot, shown), 0.8) << qPrintable(picture) << button->isDown();
            EXPECT_LT(shareLike(shot, other), 0.5) << qPrintable(picture) << button->isDown();
        };
        looksLike(up, down);
        button->setDown(true);
        looksLike(down, up);
        button->setDown(false);
        if (button == form.buttonPause) {
            // A paused player shows the pause button held down.
            ASSERT_TRUE(button->isCheckable());
            button->setChecked(true);
            looksLike(down, up);
        }
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
