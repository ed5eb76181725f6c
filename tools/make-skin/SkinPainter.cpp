#include "SkinPainter.h"

#include "Palette.h"
#include "SkinGeometry.h"

#include <QFont>
#include <QLinearGradient>
#include <QPainterPath>
#include <QRadialGradient>

#include <cmath>

namespace skin {
namespace {

using Glyph = std::function<void(QPainter&, QRectF)>;

void bevel(QPainter& p, QRectF r, bool sunken) {
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(sunken ? colour::bevelDark : colour::bevelLight, 1));
    p.drawLine(r.topLeft() + QPointF(0.5, 0.5), r.topRight() + QPointF(-0.5, 0.5));
    p.drawLine(r.topLeft() + QPointF(0.5, 0.5), r.bottomLeft() + QPointF(0.5, -0.5));
    p.setPen(QPen(sunken ? colour::bevelLight : colour::bevelDark, 1));
    p.drawLine(r.bottomLeft() + QPointF(0.5, -0.5), r.bottomRight() + QPointF(-0.5, -0.5));
    p.drawLine(r.topRight() + QPointF(-0.5, 0.5), r.bottomRight() + QPointF(-0.5, -0.5));
}

void bodyFill(QPainter& p, QRectF r) {
    QLinearGradient g(r.topLeft(), r.bottomLeft());
    g.setColorAt(0, colour::bodyTop);
    g.setColorAt(1, colour::bodyBottom);
    p.fillRect(r, g);
}

void wellFill(QPainter& p, QRectF r) {
    p.fillRect(r, colour::well);
    bevel(p, r, true);
}

void lcdFill(QPainter& p, QRectF r) {
    wellFill(p, r);
    QRectF inner = r.adjusted(2, 2, -2, -2);
    QLinearGradient g(inner.topLeft(), inner.bottomLeft());
    g.setColorAt(0, colour::lcd.lighter(108));
    g.setColorAt(1, colour::lcdDeep);
    p.fillRect(inner, g);
}

void label(QPainter& p, QRectF r, const QString& text, QColor colour, int pixelSize,
           Qt::Alignment align = Qt::AlignCenter) {
    QFont f("DejaVu Sans");
    f.setPixelSize(pixelSize);
    f.setBold(true);
    f.setLetterSpacing(QFont::AbsoluteSpacing, 1);
    p.setFont(f);
    p.setPen(colour);
    p.drawText(r, align, text);
}

void paintMain(QPainter& p) {
    const QRectF all(QPointF(0, 0), QSizeF(playerSize));
    bodyFill(p, all);
    // Fine horizontal brushing on the body.
    p.setPen(QPen(QColor(255, 255, 255, 10), 1));
    for (int y = 18; y < playerSize.height(); y += 3) {
        p.drawLine(QPointF(0, y + 0.5), QPointF(playerSize.width(), y + 0.5));
    }
    bevel(p, all, false);
    lcdFill(p, lcdPanel);
    wellFill(p, meterWell);
    wellFill(p, controlPanel);
    wellFill(p, progressWell);
    wellFill(p, transportWell);
    wellFill(p, balanceWell);
    // Maker's mark in the bottom strip.
    label(p, brandStrip.adjusted(4, 0, 0, 0), "TAMBERLO", colour::bevelLight, 13,
          Qt::AlignLeft | Qt::AlignVCenter);
    label(p, brandStrip.adjusted(0, 0, -4, 0), "gapless \u00b7 modules \u00b7 streams",
          colour::bevelLight, 9, Qt::AlignRight | Qt::AlignVCenter);
    p.fillRect(QRectF(brandStrip.left() + 96, brandStrip.center().y(), 150, 1),
               colour::bevelLight.darker(130));
}

void paintTop(QPainter& p) {
    const QRectF r(QPointF(0, 0), QSizeF(topBar.size()));
    QLinearGradient g(r.topLeft(), r.bottomLeft());
    g.setColorAt(0, colour::bevelLight);
    g.setColorAt(1, colour::bodyTop.darker(115));
    p.fillRect(r, g);
    p.setPen(QPen(colour::bevelDark, 1));
    p.drawLine(QPointF(0, r.height() - 0.5), QPointF(r.width(), r.height() - 0.5));
    // Grip ridges either side of the name.
    p.setPen(QPen(QColor(0, 0, 0, 70), 1));
    for (int y = 4; y <= 11; y += 3) {
        p.drawLine(QPointF(72, y + 0.5), QPointF(360, y + 0.5));
    }
    p.fillRect(QRectF(4, 1, 64, 14), g);
    label(p, QRectF(6, 0, 64, 16), "TAMBERLO", colour::titleText, 9,
          Qt::AlignLeft | Qt::AlignVCenter);
}

void paintTopbarRepeat(QPainter& p) {
    const QRectF r(0, 0, 8, 16);
    QLinearGradient g(r.topLeft(), r.bottomLeft());
    g.setColorAt(0, colour::bevelLight);
    g.setColorAt(1, colour::bodyTop.darker(115));
    p.fillRect(r, g);
    p.setPen(QPen(colour::bevelDark, 1));
    p.drawLine(QPointF(0, 15.5), QPointF(8, 15.5));
}

void paintBgRepeat(QPainter& p) {
    p.fillRect(QRectF(0, 0, 8, 8), colour::bodyBottom);
    p.setPen(QPen(QColor(255, 255, 255, 10), 1));
    p.drawLine(QPointF(0, 1.5), QPointF(8, 1.5));
    p.drawLine(QPointF(0, 4.5), QPointF(8, 4.5));
    p.drawLine(QPointF(0, 7.5), QPointF(8, 7.5));
}

void paintLcdOverlay(QPainter& p) {
    // Mostly clear glass: a soft highlight across the top third of the time display.
    const QRectF r(QPointF(0, 0), QSizeF(timeDisplay.size()));
    QLinearGradient g(r.topLeft(), QPointF(0, r.height() * 0.45));
    g.setColorAt(0, QColor(255, 255, 255, 60));
    g.setColorAt(1, QColor(255, 255, 255, 0));
    p.fillRect(r, g);
}

// A transport button: a raised key with a glyph; pressed keys are sunken and shifted by one.
SkinImage button(const QString& name, bool down, Glyph glyph) {
    return {name + (down ? "-down.png" : ".png"), transportButton, [down, glyph](QPainter& p) {
                const QRectF r(QPointF(0, 0), QSizeF(transportButton));
                QLinearGradient g(r.topLeft(), r.bottomLeft());
                g.setColorAt(0, down ? colour::bodyBottom : colour::bevelLight);
                g.setColorAt(1, down ? colour::bodyTop : colour::bodyBottom);
                p.fillRect(r.adjusted(1, 1, -1, -1), g);
                bevel(p, r.adjusted(1, 1, -1, -1), down);
                p.setPen(QPen(colour::bevelDark, 1));
                p.setBrush(Qt::NoBrush);
                p.drawRect(r.adjusted(0.5, 0.5, -0.5, -0.5));
                p.setPen(Qt::NoPen);
                p.setBrush(down ? colour::accent : colour::glyph);
                QRectF box(0, 0, 14, 10);
                box.moveCenter(r.center() + (down ? QPointF(0.5, 1) : QPointF(0, 0)));
                glyph(p, box);
            }};
}

void triangle(QPainter& p, QRectF b, bool pointsRight) {
    QPolygonF t;
    if (pointsRight) {
        t << b.topLeft() << QPointF(b.right(), b.center().y()) << b.bottomLeft();
    } else {
        t << b.topRight() << QPointF(b.left(), b.center().y()) << b.bottomRight();
    }
    p.drawPolygon(t);
}

void glyphPlay(QPainter& p, QRectF b) {
    triangle(p, b.adjusted(3, 0, -1, 0), true);
}
void glyphPause(QPainter& p, QRectF b) {
    p.drawRect(QRectF(b.left() + 3, b.top(), 3, b.height()));
    p.drawRect(QRectF(b.right() - 6, b.top(), 3, b.height()));
}
void glyphStop(QPainter& p, QRectF b) {
    p.drawRect(b.adjusted(2, 0, -2, 0));
}
void glyphNext(QPainter& p, QRectF b) {
    triangle(p, QRectF(b.left(), b.top(), 10, b.height()), true);
    p.drawRect(QRectF(b.right() - 3, b.top(), 2, b.height()));
}
void glyphPrev(QPainter& p, QRectF b) {
    p.drawRect(QRectF(b.left() + 1, b.top(), 2, b.height()));
    triangle(p, QRectF(b.right() - 10, b.top(), 10, b.height()), false);
}
void glyphSub(QPainter& p, QRectF b, bool forward) {
    // Two small arrows and a dot: "within the song".
    QRectF first(b.left() + (forward ? 0 : 7), b.top() + 2, 7, b.height() - 4);
    QRectF second = first.translated(forward ? 6 : -6, 0);
    triangle(p, first, forward);
    triangle(p, second, forward);
}

SkinImage makeTitleButton(const QString& name, bool down, bool isQuit) {
    return {name + (down ? "-down.png" : ".png"), skin::titleButton, [down, isQuit](QPainter& p) {
                const QRectF r(QPointF(0, 0), QSizeF(skin::titleButton));
                p.setRenderHint(QPainter::Antialiasing);
                p.setPen(QPen(colour::bevelDark, 1));
                p.setBrush(down ? (isQuit ? colour::accent.darker(130) : colour::bodyBottom)
                                : colour::bodyTop);
                p.drawRoundedRect(r.adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
                p.setPen(QPen(down ? colour::glyph : colour::titleText, 1.4));
                if (isQuit) {
                    p.drawLine(QPointF(4.5, 2.5), QPointF(9.5, 7.5));
                    p.drawLine(QPointF(9.5, 2.5), QPointF(4.5, 7.5));
                } else {
                    p.drawLine(QPointF(4, 7), QPointF(10, 7));
                }
            }};
}

SkinImage makeSliderHandle(bool down) {
    return {down ? "slider-down.png" : "slider.png", skin::sliderHandle, [down](QPainter& p) {
                const QRectF r(QPointF(0, 0), QSizeF(skin::sliderHandle));
                p.setRenderHint(QPainter::Antialiasing);
                QRadialGradient g(r.center() - QPointF(2, 2), 8);
                g.setColorAt(0, down ? colour::accent.lighter(120) : colour::glyph);
                g.setColorAt(1, down ? colour::accent.darker(140) : colour::bevelLight);
                p.setBrush(g);
                p.setPen(QPen(colour::bevelDark, 1));
                p.drawEllipse(r.adjusted(0.5, 0.5, -0.5, -0.5));
            }};
}

SkinImage makeCheckBox(const QString& fileName, int state) { // 0 off, 1 on, 2 pressed
    return {fileName, skin::checkBox, [state](QPainter& p) {
                const QRectF r(QPointF(0, 0), QSizeF(skin::checkBox));
                p.fillRect(r, state == 2 ? colour::bodyBottom : colour::well);
                bevel(p, r, true);
                QRectF lamp = r.adjusted(3, 3, -3, -3);
                p.setRenderHint(QPainter::Antialiasing);
                p.setPen(Qt::NoPen);
                p.setBrush(state == 1   ? colour::lcd
                           : state == 2 ? colour::lcdDeep.darker(150)
                                        : colour::bevelDark.lighter(250));
                p.drawRoundedRect(lamp, 1.5, 1.5);
            }};
}

SkinImage makeResizeGrip(bool down) {
    return {down ? "resize-down.png" : "resize.png", skin::resizeGrip, [down](QPainter& p) {
                p.setRenderHint(QPainter::Antialiasing);
                p.setPen(QPen(down ? colour::accent : colour::bevelLight, 1.2));
                for (int i = 0; i < 3; ++i) {
                    const double o = 4 + i * 4;
                    p.drawLine(QPointF(15, o), QPointF(o, 15));
                }
            }};
}

void paintIcon(QPainter& p) {
    const QRectF r(0, 0, 64, 64);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient g(r.topLeft(), r.bottomLeft());
    g.setColorAt(0, colour::bevelLight);
    g.setColorAt(1, colour::bodyBottom);
    p.setPen(QPen(colour::bevelDark, 2));
    p.setBrush(g);
    p.drawRoundedRect(r.adjusted(2, 2, -2, -2), 12, 12);
    // A teal LCD with a note-like level curve.
    QRectF screen = r.adjusted(10, 12, -10, -22);
    p.setPen(Qt::NoPen);
    p.setBrush(colour::lcd);
    p.drawRoundedRect(screen, 4, 4);
    p.setBrush(colour::lcdInk);
    for (int i = 0; i < 6; ++i) {
        const double h = 6 + 16 * std::abs(std::sin(i * 1.1 + 0.4));
        p.drawRect(QRectF(screen.left() + 5 + i * 7, screen.bottom() - 3 - h, 5, h));
    }
    p.setBrush(colour::accent);
    p.drawEllipse(QRectF(26, 47, 12, 12));
}

} // namespace

void paintAppIcon(QPainter& painter) {
    paintIcon(painter);
}

std::vector<SkinImage> allSkinImages() {
    std::vector<SkinImage> images = {
        {"main.png", playerSize, paintMain},
        {"top.png", topBar.size(), paintTop},
        {"lcd-overlay.png", timeDisplay.size(), paintLcdOverlay},
    };
    const std::pair<QString, Glyph> transport[] = {
        {"prev", glyphPrev},
        {"play", glyphPlay},
        {"pause", glyphPause},
        {"stop", glyphStop},
        {"next", glyphNext},
        {"prevsub", [](QPainter& p, QRectF b) { glyphSub(p, b, false); }},
        {"nextsub", [](QPainter& p, QRectF b) { glyphSub(p, b, true); }},
    };
    for (const auto& [name, glyph] : transport) {
        images.push_back(button(name, false, glyph));
        images.push_back(button(name, true, glyph));
    }
    for (bool down : {false, true}) {
        images.push_back(makeTitleButton("quit", down, true));
        images.push_back(makeTitleButton("minimize", down, false));
        images.push_back(makeSliderHandle(down));
        images.push_back(makeResizeGrip(down));
    }
    images.push_back(makeCheckBox("checkbox-off.png", 0));
    images.push_back(makeCheckBox("checkbox-on.png", 1));
    images.push_back(makeCheckBox("checkbox-pressed.png", 2));
    images.push_back({"topbar-repeat.png", QSize(8, 16), paintTopbarRepeat});
    images.push_back({"bg-repeat.png", QSize(8, 8), paintBgRepeat});
    images.push_back({"mp3.png", icon, paintIcon});
    return images;
}

} // namespace skin
