#include "PlayerSkin.h"

#include "ui_MP3Database.h"

#include <QDir>
#include <QFont>
#include <QFontDatabase>
#include <QPalette>

namespace skin {
namespace {

QString url(const QString& appDir, const QString& image) {
    // Quoted so that a folder with blanks in its name still works.
    return "url(\"" + appDir + "/Resources/" + image + "\")";
}

// "#name{...background-image: url(image)...}" with the pressed (and optionally checked) image.
QString buttonSheet(const QString& appDir, const QString& name, const QString& image,
                    const QString& downImage, bool checkedToo = false) {
    const QString body = "{color: black;background-image: %1;border: none;}";
    QString sheet = "#" + name + body.arg(url(appDir, image)) + "#" + name + ":pressed" +
                    body.arg(url(appDir, downImage));
    if (checkedToo) {
        sheet += "#" + name + ":checked" + body.arg(url(appDir, downImage));
    }
    return sheet;
}

// The rules of the slider `name`: its groove and its handle, plain and pressed.
QString sliderSheet(const QString& appDir, const QString& name, const QString& orientation,
                    const QString& groove, const QString& handleMargin) {
    const QString slider = "QSlider#" + name + "::";
    return slider + "groove:" + orientation + "{" + groove + "}" + slider +
           "handle:" + orientation + "{image: " + url(appDir, "slider.png") +
           ";border: none;margin: " + handleMargin + ";}" + slider + "handle:" + orientation +
           ":pressed{image: " + url(appDir, "slider-down.png") +
           ";border: none;margin: " + handleMargin + ";}";
}

QString verticalSliderSheet(const QString& appDir, const QString& name) {
    return sliderSheet(appDir, name, "vertical",
                       "border: 1px solid #cccccc;height: 71px;"
                       "background: solid #333333;margin: 0px 8px;",
                       "-6px -8px");
}

QString horizontalSliderSheet(const QString& appDir, const QString& name,
                              const QString& handleMargin) {
    return sliderSheet(appDir, name, "horizontal",
                       "border: 1px solid #cccccc;height: 4px;background: solid #333333;"
                       "margin: 2px 0;",
                       handleMargin);
}

QString checkBoxSheet(const QString& appDir, const QString& name) {
    const QString box = "QCheckBox#" + name;
    const QString pressed = url(appDir, "checkbox-pressed.png");
    return box + "{spacing: 2px;color: #c8d2d6;}" + box + "::indicator{width: 13px;height: 13px;}" +
           box + "::indicator:unchecked{image: " + url(appDir, "checkbox-off.png") + ";}" + box +
           "::indicator:checked{image: " + url(appDir, "checkbox-on.png") + ";}" + box +
           "::indicator:unchecked:pressed{image: " + pressed + ";}" + box +
           "::indicator:checked:pressed{image: " + pressed + ";}" + box +
           "::indicator:indeterminate:pressed{image: " + pressed + ";}";
}

QString backgroundSheet(const QString& appDir, const QString& name, const QString& image) {
    return "#" + name + "{background-image: " + url(appDir, image) + ";border: none;}";
}

} // namespace

QString resourcePath(const QString& appDir, const QString& name) {
    return appDir + QDir::separator() + "Resources" + QDir::separator() + name;
}

QPixmap skinPixmap(const QString& appDir, const QString& name, qreal devicePixelRatio) {
    if (devicePixelRatio > 1.0 && name.endsWith(".png")) {
        QPixmap twin(resourcePath(appDir, name.chopped(4) + "@2x.png"));
        if (!twin.isNull()) {
            twin.setDevicePixelRatio(2.0);
            return twin;
        }
    }
    return QPixmap(resourcePath(appDir, name));
}

void applyPlayerFonts(Ui::MP3DatabaseClass& ui, const QString& appDir) {
    QFontDatabase::addApplicationFont(resourcePath(appDir, LcdFontFile));
    QFontDatabase::addApplicationFont(resourcePath(appDir, PixelFontFile));

    QFont lcd(LcdFontFamily, LcdFontPoints);
    lcd.setStyleStrategy(QFont::NoAntialias);
    ui.labelCurrentTime->setFont(lcd);

    QFont pixel(PixelFontFamily, PixelFontPoints);
    pixel.setStyleStrategy(QFont::NoAntialias);
    for (QWidget* w :
         {static_cast<QWidget*>(ui.labelInfo), static_cast<QWidget*>(ui.buttonNormalize),
          static_cast<QWidget*>(ui.buttonReverb), static_cast<QWidget*>(ui.labelBalance),
          static_cast<QWidget*>(ui.labelPitch), static_cast<QWidget*>(ui.labelVolume),
          static_cast<QWidget*>(ui.labelTextVolume), static_cast<QWidget*>(ui.labelTextPitch)}) {
        w->setFont(pixel);
    }
}

void applyPlayerTextColours(Ui::MP3DatabaseClass& ui) {
    // Dark ink on the teal LCD, light text on the dark body.
    const QColor lcdInk(0x12, 0x2a, 0x27);
    const QColor bodyText(0xc8, 0xd2, 0xd6);
    auto paint = [](QWidget* w, const QColor& colour) {
        QPalette palette = w->palette();
        palette.setColor(QPalette::WindowText, colour);
        w->setPalette(palette);
    };
    for (QWidget* w : {ui.labelTitle, ui.labelInfo, ui.labelCurrentTime}) {
        paint(w, lcdInk);
    }
    for (QWidget* w :
         {ui.labelVolume, ui.labelTextVolume, ui.labelPitch, ui.labelTextPitch, ui.labelBalance}) {
        paint(w, bodyText);
    }
}

void applyPlayerStyleSheets(Ui::MP3DatabaseClass& ui, const QString& appDir) {
    // One sheet on the form's root, every rule naming its widget: parsed once and served by one
    // style object, where a sheet per widget costs a parse and a style object each.
    const QString sheet =
        buttonSheet(appDir, "buttonPrev", "prev.png", "prev-down.png") +
        buttonSheet(appDir, "buttonPlay", "play.png", "play-down.png") +
        buttonSheet(appDir, "buttonPause", "pause.png", "pause-down.png", true) +
        buttonSheet(appDir, "buttonStop", "stop.png", "stop-down.png") +
        buttonSheet(appDir, "buttonNext", "next.png", "next-down.png") +
        buttonSheet(appDir, "buttonPrevSub", "prevsub.png", "prevsub-down.png") +
        buttonSheet(appDir, "buttonNextSub", "nextsub.png", "nextsub-down.png") +
        backgroundSheet(appDir, "labelLCDOverlay", "lcd-overlay.png") +
        verticalSliderSheet(appDir, "sliderPitch") + verticalSliderSheet(appDir, "sliderVolume") +
        horizontalSliderSheet(appDir, "sliderBalance", "-4px -5px") +
        horizontalSliderSheet(appDir, "sliderProgress", "-8px -1px") +
        checkBoxSheet(appDir, "buttonNormalize") + checkBoxSheet(appDir, "buttonReverb") +
        buttonSheet(appDir, "buttonQuit", "quit.png", "quit-down.png") +
        buttonSheet(appDir, "buttonMinimize", "minimize.png", "minimize-down.png") +
        backgroundSheet(appDir, "labelBackground", "main.png");
    ui.centralWidget->setStyleSheet(sheet);
}

} // namespace skin
