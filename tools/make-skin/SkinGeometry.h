#pragma once
// Where the player form puts its widgets, shared by the skin generator so the painted panels
// line up with the widgets drawn over them. Sizes are in device-independent pixels.

#include <QRect>
#include <QSize>

namespace skin {

inline constexpr QSize playerSize{417, 206};
inline constexpr QRect topBar{0, 0, 417, 16};
inline constexpr QRect lcdPanel{8, 22, 262, 88};     // time, title and info
inline constexpr QRect timeDisplay{14, 42, 130, 42}; // labelCurrentTime / labelLCDOverlay
inline constexpr QRect meterWell{274, 22, 14, 88};   // labelVUMeter sits inside
inline constexpr QRect controlPanel{292, 22, 117, 88};
inline constexpr QRect progressWell{8, 118, 401, 18};
inline constexpr QRect transportWell{6, 142, 282, 28};
inline constexpr QRect balanceWell{292, 142, 117, 28};
inline constexpr QRect brandStrip{8, 178, 401, 22};

inline constexpr QSize transportButton{34, 24};
inline constexpr QSize titleButton{14, 10};
inline constexpr QSize sliderHandle{12, 12};
inline constexpr QSize checkBox{13, 13};
inline constexpr QSize resizeGrip{16, 16};
inline constexpr QSize icon{64, 64};

} // namespace skin
