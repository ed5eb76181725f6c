// Prints how long the playlist model takes for its three bulk operations:
//   addPaths of 100,000 paths, readM3u of a 100,000-line list, collectDirectory of 50,000 files.
// Each is run several times on warm caches; the best and the median time are printed.

#include "LogFile.h"
#include "PlaylistFiles.h"
#include "PlaylistModel.h"

#include <QString>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int Runs = 7;

// Runs `setup` untimed and `work` timed `Runs` times; prints best and median milliseconds.
void report(const char* what, const std::function<void()>& setup,
            const std::function<void()>& work) {
    std::vector<double> ms;
    for (int run = 0; run < Runs; ++run) {
        setup();
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - start;
        ms.push_back(took.count());
    }
    std::sort(ms.begin(), ms.end());
    std::printf("%-40s best %8.1f ms   median %8.1f ms\n", what, ms.front(), ms[ms.size() / 2]);
}

} // namespace

int main() {
    const fs::path folder =
        fs::temp_directory_path() / ("tamberlo-playlist-bench-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    LogFile log((folder / "logfile.html").string());
    PlaylistModel::Options options;
    options.tempFolder = QString::fromStdString((folder / "Tamberlo_tmp").string());
    options.lastPlaylistFile = QString::fromStdString((folder / "last.m3u").string());

    QStringList paths;
    for (int i = 0; i < 100000; ++i) {
        paths.append(QStringLiteral("/home/user/Music/Artist %1/Album %2/%3 - Track title.mp3")
                         .arg(i / 1000)
                         .arg(i / 10)
                         .arg(i));
    }
    std::unique_ptr<PlaylistModel> model;
    report(
        "addPaths, 100,000 paths", [&] { model = std::make_unique<PlaylistModel>(log, options); },
        [&] { model->addPaths(paths); });

    const std::string list = (folder / "list.m3u").string();
    {
        std::ofstream out(list, std::ios::binary);
        out << "#EXTM3U\r\n";
        for (int i = 0; i < 100000; ++i) {
            if (i % 2 == 0) {
                out << "#EXTINF:215,Artist - Title " << i << "\r\n";
            }
            if (i % 3 == 0) {
                out << "C:\\Music\\Artist " << i / 1000 << "\\" << i << " - Title.mp3\r\n";
            } else if (i % 3 == 1) {
                out << "Artist " << i / 1000 << "/" << i << " - Title.ogg\r\n";
            } else {
                out << "http://radio.example.com:8000/stream" << i << "\r\n";
            }
        }
    }
    size_t entries = 0;
    report(
        "readM3u, 100,000 entries (150,001 lines)", [] {},
        [&] { entries = readM3u(list).entries.size(); });
    if (entries != 100000) {
        std::printf("unexpected entry count %zu\n", entries);
        return 1;
    }

    const fs::path tree = folder / "tree";
    for (int a = 0; a < 50; ++a) {
        for (int b = 0; b < 10; ++b) {
            const fs::path leaf =
                tree / ("Artist " + std::to_string(a)) / ("Album " + std::to_string(b));
            fs::create_directories(leaf);
            for (int c = 0; c < 100; ++c) {
                std::ofstream(leaf / (std::to_string(c) + " - Track.mp3"));
            }
        }
    }
    qsizetype files = 0;
    report(
        "collectDirectory, 50,000 files", [] {},
        [&] { files = model->collectDirectory(QString::fromStdString(tree.string())).size(); });
    fs::remove_all(folder);
    if (files != 50000) {
        std::printf("unexpected file count %lld\n", static_cast<long long>(files));
        return 1;
    }
    return 0;
}
