// Renders the player's skin into a Resources folder: every image at 1x ("play.png") and at 2x
// for high-DPI screens ("play@2x.png"), from the drawing code in SkinPainter.cpp.
//
// Usage: tamberlo-make-skin OUTDIR

#include "SkinPainter.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <cstdio>

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTDIR\n", argv[0]);
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    if (!QDir().mkpath(out.path())) {
        std::fprintf(stderr, "cannot create %s\n", argv[1]);
        return 1;
    }
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
            if (!canvas.save(out.filePath(name))) {
                std::fprintf(stderr, "cannot write %s\n", qPrintable(out.filePath(name)));
                return 1;
            }
        }
    }
    return 0;
}
