// Checks an application folder the way the player uses it: every picture of the skin loads
// from Resources/ (with its @2x twin at twice the size, for scale factor 2), both fonts
// register from Resources/ with the families the player asks for, their licences are beside
// them, and the ripper and the codec plug-ins sit beside the player.
//   skin_install_check APPDIR
// Prints one line per problem; exits 0 when there is none, 1 otherwise.
#include "PlayerSkin.h"

#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QFontDatabase>
#include <QFontInfo>
#include <QGuiApplication>
#include <QImage>
#include <cstdio>

namespace {

// Every picture the player and the playlist window load.
const char* const skinImages[] = {
    "main.png",          "top.png",
    "lcd-overlay.png",   "prev.png",
    "prev-down.png",     "play.png",
    "play-down.png",     "pause.png",
    "pause-down.png",    "stop.png",
    "stop-down.png",     "next.png",
    "next-down.png",     "prevsub.png",
    "prevsub-down.png",  "nextsub.png",
    "nextsub-down.png",  "quit.png",
    "quit-down.png",     "minimize.png",
    "minimize-down.png", "slider.png",
    "slider-down.png",   "checkbox-off.png",
    "checkbox-on.png",   "checkbox-pressed.png",
    "resize.png",        "resize-down.png",
    "topbar-repeat.png", "bg-repeat.png",
    "mp3.png",
};

int problems = 0;

void problem(const QString& text) {
    std::printf("missing: %s\n", qPrintable(text));
    ++problems;
}

void checkImages(const QString& appDir) {
    for (const char* name : skinImages) {
        const QString path = skin::resourcePath(appDir, name);
        const QImage image(path);
        if (image.isNull()) {
            problem(path);
            continue;
        }
        const QString twinPath = path.chopped(4) + "@2x.png";
        const QImage twin(twinPath);
        if (twin.isNull()) {
            problem(twinPath);
        } else if (twin.size() != image.size() * 2) {
            problem(twinPath + " at twice the size of " + name);
        }
    }
}

// The player asks for the family by name; the font database resolves that name (ignoring
// blanks and case) to the family the file registered.
void checkFont(const QString& appDir, const char* file, const char* family) {
    const int id = QFontDatabase::addApplicationFont(skin::resourcePath(appDir, file));
    if (id < 0) {
        problem(skin::resourcePath(appDir, file));
    } else if (!QFontDatabase::applicationFontFamilies(id).contains(
                   QFontInfo(QFont(family)).family())) {
        problem(QString("font family \"%1\" from %2").arg(family, file));
    }
}

void checkFileBeside(const QString& appDir, const QString& relative, bool executable) {
    const QFileInfo info(appDir + "/" + relative);
    if (!info.isFile() || (executable && !info.isExecutable())) {
        problem(info.filePath());
    }
}

} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s APPDIR\n", argv[0]);
        return 2;
    }
    const QString appDir = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    checkImages(appDir);
    checkFont(appDir, skin::LcdFontFile, skin::LcdFontFamily);
    checkFont(appDir, skin::PixelFontFile, skin::PixelFontFamily);
    if (QDir(appDir + "/Resources/licences").entryList(QDir::Files).size() < 2) {
        problem(appDir + "/Resources/licences: a licence for each font");
    }
    checkFileBeside(appDir, "tamberlo", true);
    checkFileBeside(appDir, "tamberlo-rip", true);
    if (QDir(appDir + "/plugin").entryList({"codec_*.so"}, QDir::Files).isEmpty()) {
        problem(appDir + "/plugin/codec_*.so");
    }
    std::printf("%s: %d problem(s)\n", qPrintable(appDir), problems);
    return problems == 0 ? 0 : 1;
}
