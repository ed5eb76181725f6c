#pragma once
// Paints every image of the player's skin in logical pixels; the caller chooses the scale.

#include <QPainter>
#include <QSize>
#include <QString>

#include <functional>
#include <vector>

namespace skin {

struct SkinImage {
    QString fileName;                     // e.g. "play.png"
    QSize size;                           // logical size in pixels
    std::function<void(QPainter&)> paint; // draws into (0, 0, size)
};

// Every image the player and playlist windows load from Resources/, in a fixed order.
std::vector<SkinImage> allSkinImages();

// The program's icon (also "mp3.png" of the skin), drawn into (0, 0, 64, 64); scale the
// painter for other sizes.
void paintAppIcon(QPainter& painter);

} // namespace skin
