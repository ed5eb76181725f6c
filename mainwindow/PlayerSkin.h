#pragma once
// The player's look: style sheets whose image addresses are built from the application folder
// at run time (so an installed copy finds its Resources/ wherever it lives), and the two
// bitmap-style fonts registered from Resources/ and drawn without antialiasing.
//
// Threading: GUI thread only.

#include <QPixmap>
#include <QString>

namespace Ui {
class MP3DatabaseClass;
}
class QLabel;

namespace skin {

// Fonts in Resources/, from free font packages (see the About box for their licences).
inline constexpr char LcdFontFile[] = "DSEG7Classic-Bold.ttf";
inline constexpr char LcdFontFamily[] = "DSEG7 Classic";
inline constexpr int LcdFontPoints = 28;
inline constexpr char PixelFontFile[] = "misaki_gothic_2nd.ttf";
inline constexpr char PixelFontFamily[] = "Misaki Gothic 2nd";
inline constexpr int PixelFontPoints = 7;

// "APPDIR/Resources/NAME".
QString resourcePath(const QString& appDir, const QString& name);

// The picture `name` (e.g. "top.png") from Resources/ for a screen of `devicePixelRatio`: above
// 1 its "@2x" twin, marked with ratio 2 so it keeps its logical size and stays sharp; else, or
// when there is no twin, the plain picture. A missing picture gives a null pixmap. (Style sheet
// images pick their twins by themselves; a label's pixmap does not.)
QPixmap skinPixmap(const QString& appDir, const QString& name, qreal devicePixelRatio);

// Registers both fonts and gives them to the time display and the small labels.
void applyPlayerFonts(Ui::MP3DatabaseClass& ui, const QString& appDir);

// Text colours of the labels that have no style sheet: ink on the LCD, light on the body.
void applyPlayerTextColours(Ui::MP3DatabaseClass& ui);

// The buttons, sliders, check boxes and backgrounds with their pressed and checked images, as
// one style sheet on the form's central widget whose rules each name their widget.
void applyPlayerStyleSheets(Ui::MP3DatabaseClass& ui, const QString& appDir);

} // namespace skin
