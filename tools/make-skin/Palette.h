#pragma once
// The skin's colours: a dark graphite body, a teal LCD matching the level meter's background,
// and one warm accent for active states.

#include <QColor>

namespace skin::colour {

inline const QColor bodyTop{0x3a, 0x3f, 0x45};
inline const QColor bodyBottom{0x1f, 0x23, 0x27};
inline const QColor bevelLight{0x5c, 0x63, 0x6b};
inline const QColor bevelDark{0x0e, 0x10, 0x12};
inline const QColor well{0x15, 0x18, 0x1b};
inline const QColor lcd{139, 203, 194};
inline const QColor lcdDeep{0x6f, 0xa8, 0x9f};
inline const QColor lcdInk{0x12, 0x2a, 0x27};
inline const QColor glyph{0xd8, 0xde, 0xe2};
inline const QColor glyphDown{0x9a, 0xa3, 0xaa};
inline const QColor accent{0xf0, 0xa0, 0x30};
inline const QColor titleText{0xc8, 0xd2, 0xd6};

} // namespace skin::colour
