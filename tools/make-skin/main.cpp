// Renders the player's skin into a Resources folder: every image at 1x ("play.png") and at 2x
// for high-DPI screens ("play@2x.png"), from the drawing code in SkinPainter.cpp. With
// --icons it renders the program's icon instead, as an icon theme tree for the desktop
// (OUTDIR/hicolor/NxN/apps/tamberlo.png).
//
// Usage: tamberlo-make-skin OUTDIR
//        tamberlo-make-skin --icons OUTDIR

#include "SkinPainter.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <cstdio>
#include <cstring>

namespace {

bool save(const QImage& image, const QString& path) {
    if (!QDir().mkpath(QFileInfo(path).path()) || !image.save(path)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        return false;
    }
    return true;
}

bool writeSkin(const QDir& out) {
    for (const skin::SkinImage& image : skin::allSkinImages()) {
        for (int scale : {1, 2}) {
            QImage canvas(image.size * scale, QImage::Format_ARGB32_Premultiplied);
            canvas.setDevicePixelRatio(scale);
            canvas.fill(Qt::transparent);
            {
                QPainter painter(&canvas);
                image.paint(painter);
            }
            QString name = image.fileName;
            if (scale == 2) {
                name.insert(name.lastIndexOf('.'), "@2x");
            }
            if (!save(canvas, out.filePath(name))) {
                return false;
            }
        }
    }
    return true;
}

// The sizes desktops look for in the hicolor theme.
bool writeIcons(const QDir& out) {
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        QImage canvas(size, size, QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::transparent);
        {
            QPainter painter(&canvas);
            painter.scale(size / 64.0, size / 64.0);
            skin::paintAppIcon(painter);
        }
        const QString name = QString("hicolor/%1x%1/apps/tamberlo.png").arg(size);
        if (!save(canvas, out.filePath(name))) {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const bool icons = argc == 3 && std::strcmp(argv[1], "--icons") == 0;
    if (argc != 2 && !icons) {
        std::fprintf(stderr, "usage: %s [--icons] OUTDIR\n", argv[0]);
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[argc - 1]));
    return (icons ? writeIcons(out) : writeSkin(out)) ? 0 : 1;
}
