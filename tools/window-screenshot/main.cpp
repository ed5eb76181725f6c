// Starts the real player window on the demo song (null output) and saves pictures of the
// player and the playlist window, so the skin can be looked at as a user sees it:
//   window_screenshot OUTDIR PREFIX
// writes OUTDIR/PREFIX-player.png and OUTDIR/PREFIX-playlist.png. Run it under Xvfb or
// offscreen, with QT_SCALE_FACTOR=2 for the high-DPI look. Exits non-zero when a picture is
// missing or blank, or when an image of the skin failed to load.
#include "MP3Database.h"
#include "PlayList.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPixmap>
#include <QTimer>
#include <cstdio>

namespace {

// A picture counts as drawn when it has more than a handful of distinct colours.
bool looksDrawn(const QImage& image) {
    QList<QRgb> seen;
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3) {
            const QRgb c = image.pixel(x, y);
            if (!seen.contains(c)) {
                seen << c;
                if (seen.size() > 16) {
                    return true;
                }
            }
        }
    }
    return false;
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s OUTDIR PREFIX\n", argv[0]);
        return 2;
    }
    const QString outDir = QString::fromLocal8Bit(argv[1]);
    const QString prefix = QString::fromLocal8Bit(argv[2]);
    QDir().mkpath(outDir);

    const QString demo =
        QCoreApplication::applicationDirPath() + "/Resources/demo/tamberlo-demo.mod";
    MP3Database player(PlayerStartup{"null", {demo}});
    player.move(40, 40);
    player.show();
    player.playList().show();

    int status = 0;
    QTimer::singleShot(1500, [&] {
        const std::pair<QWidget*, QString> shots[] = {{&player, "player"},
                                                      {&player.playList(), "playlist"}};
        for (const auto& [widget, name] : shots) {
            const QPixmap picture = widget->grab();
            const QString path = outDir + "/" + prefix + "-" + name + ".png";
            if (!picture.save(path) || !looksDrawn(picture.toImage())) {
                std::fprintf(stderr, "no proper picture of the %s\n", qPrintable(name));
                status = 1;
            }
            std::printf("%s: %dx%d device pixels\n", qPrintable(path), picture.width(),
                        picture.height());
        }
        player.close();
    });
    const int loop = application.exec();
    return status != 0 ? status : loop;
}
