// Times the player window with a playlist of 100,000 entries, offscreen on the offline output:
//   1. from construction to the window shown, with the list restored from the last playlist;
//   2. adding 100,000 paths through the playlist window, its table included.
// Each is run a few times; the best and the median are printed in milliseconds. Target: both
// under 1000 ms. Uses a private temporary folder and removes the settings.ini it writes.
#include "MP3Database.h"
#include "PlayList.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int Entries = 100000;
constexpr int Runs = 3;

QStringList songPaths(const QString& folder) {
    QStringList paths;
    paths.reserve(Entries);
    for (int i = 0; i < Entries; ++i) {
        paths
            << QString("%1/album%2/song%3.mp3").arg(folder).arg(i / 100).arg(i, 6, 10, QChar('0'));
    }
    return paths;
}

std::unique_ptr<MP3Database> openPlayer() {
    return std::make_unique<MP3Database>(PlayerStartup{"offline", {}});
}

void printTimes(const char* what, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    std::printf("%-58s best %8.1f ms   median %8.1f ms\n", what, ms.front(), ms[ms.size() / 2]);
}

} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir temp;
    if (!temp.isValid()) {
        std::fprintf(stderr, "no temporary folder\n");
        return 1;
    }
    qputenv("TMPDIR", QFile::encodeName(temp.path()));
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    const QString settings = QCoreApplication::applicationDirPath() + "/settings.ini";
    const QStringList paths = songPaths(temp.path());

    std::vector<double> startTimes;
    for (int run = 0; run < Runs; ++run) {
        QFile::remove(settings);
        QFile list(QDir::tempPath() + "/Tamberlo_Playlist.m3u");
        if (!list.open(QIODevice::WriteOnly | QIODevice::Text)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(list.fileName()));
            return 1;
        }
        QTextStream out(&list);
        out << "#EXTM3U\n" << paths.join('\n') << '\n';
        list.close();

        QElapsedTimer clock;
        clock.start();
        std::unique_ptr<MP3Database> window = openPlayer();
        window->show();
        QCoreApplication::processEvents();
        startTimes.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        if (window->playList().model().count() != Entries) {
            std::fprintf(stderr, "restored %d entries\n", window->playList().model().count());
            return 1;
        }
        window.reset();
    }

    std::vector<double> addTimes;
    for (int run = 0; run < Runs; ++run) {
        QFile::remove(settings);
        QFile::remove(QDir::tempPath() + "/Tamberlo_Playlist.m3u");
        std::unique_ptr<MP3Database> window = openPlayer();
        window->show();
        QCoreApplication::processEvents();
        QElapsedTimer clock;
        clock.start();
        window->playList().addPaths(paths);
        QCoreApplication::processEvents();
        addTimes.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        if (window->playList().model().count() != Entries) {
            std::fprintf(stderr, "added %d entries\n", window->playList().model().count());
            return 1;
        }
        window->playList().setKeepTempFiles(false); // no 100,000-entry list left behind
        window.reset();
    }
    QFile::remove(settings);

    std::printf("player window, %d playlist entries, %d runs each\n", Entries, Runs);
    printTimes("start to window shown, last playlist restored", startTimes);
    printTimes("add entries through the playlist window (with table)", addTimes);
    return 0;
}
