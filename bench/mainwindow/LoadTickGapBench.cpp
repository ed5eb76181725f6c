// How long the player window's GUI thread goes without a tick while a slow song loads, and how
// long a song change takes with Preload off and on. Prints figures, judges nothing.
//
// 1. The longest gap between two ticks of a 20 ms timer on the GUI thread (beside the window's
//    own, which runs on the same event loop) while loading (a) a stream from a server that
//    never answers, (b) 60 MB of random bytes, which go to the module ripper, (c) a gzip song
//    that unpacks to 400 MB (a quiet tone, made here). "blocking" loads with
//    SoundEngine::loadSong inside a tick, as the window did before its loader thread; "window"
//    starts the entry through the real player window (offscreen, null output). Target: 50 ms.
// 2. The song change through PlaybackSequencer and SongLoader on the null output, gapless on:
//    from the tick that sees the end to the next song's channel playing, Preload off and on.
#include "MP3Database.h"
#include "PlayList.h"
#include "PlaybackSequencer.h"
#include "ScriptedHttpServer.h"
#include "SoundEngine.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// A 16-bit stereo WAV header for `frames` frames at 44.1 kHz.
std::vector<uint8_t> wavHeader(uint32_t frames) {
    const uint32_t data = frames * 4;
    std::vector<uint8_t> header(44);
    const auto put32 = [&](size_t at, uint32_t value) {
        for (int i = 0; i < 4; ++i) {
            header[at + i] = static_cast<uint8_t>(value >> (8 * i));
        }
    };
    std::memcpy(header.data(), "RIFF", 4);
    put32(4, 36 + data);
    std::memcpy(header.data() + 8, "WAVEfmt ", 8);
    put32(16, 16);
    put32(20, 1 | (2u << 16)); // PCM, two channels
    put32(24, 44100);
    put32(28, 44100 * 4);
    put32(32, 4 | (16u << 16)); // block align, bits
    std::memcpy(header.data() + 36, "data", 4);
    put32(40, data);
    return header;
}

// Writes a quiet 441 Hz tone of `frames` frames as WAV, gzip-compressed when `gzipped`.
void writeTone(const std::string& path, uint32_t frames, bool gzipped) {
    std::vector<uint8_t> period(100 * 4);
    for (int i = 0; i < 100; ++i) {
        const auto value = static_cast<int16_t>(1000 * std::sin(2 * M_PI * i / 100));
        for (int side = 0; side < 2; ++side) {
            period[i * 4 + side * 2] = static_cast<uint8_t>(value);
            period[i * 4 + side * 2 + 1] = static_cast<uint8_t>(value >> 8);
        }
    }
    std::vector<uint8_t> block;
    for (int i = 0; i < 1000; ++i) {
        block.insert(block.end(), period.begin(), period.end());
    }
    const std::vector<uint8_t> header = wavHeader(frames);
    uint64_t left = uint64_t{frames} * 4;
    if (gzipped) {
        gzFile gz = gzopen(path.c_str(), "wb1");
        gzwrite(gz, header.data(), static_cast<unsigned>(header.size()));
        while (left > 0) {
            const auto n = static_cast<unsigned>(std::min<uint64_t>(left, block.size()));
            gzwrite(gz, block.data(), n);
            left -= n;
        }
        gzclose(gz);
        return;
    }
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(header.data()), 44);
    while (left > 0) {
        const auto n = static_cast<size_t>(std::min<uint64_t>(left, block.size()));
        out.write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(n));
        left -= n;
    }
}

void writeRandom(const std::string& path, size_t bytes) {
    std::mt19937_64 random(42);
    std::vector<uint64_t> data(bytes / 8);
    for (uint64_t& word : data) {
        word = random();
    }
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(bytes));
}

// Runs the event loop from `start` until `finished` is called; returns the longest gap in ms
// between two ticks of a 20 ms timer, and the whole time in *totalMs.
double longestTickGap(const std::function<void(const std::function<void()>& finished)>& start,
                      double* totalMs) {
    QEventLoop loop;
    double longest = 0;
    Clock::time_point last{};
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        const Clock::time_point now = Clock::now();
        if (last != Clock::time_point{}) {
            longest =
                std::max(longest, std::chrono::duration<double, std::milli>(now - last).count());
        }
        last = now;
    });
    ticker.start(20);
    const Clock::time_point begun = Clock::now();
    // Started from a tick, as the window's buttons and song changes run in its event loop; the
    // end is seen a few ticks later.
    QTimer::singleShot(60,
                       [&] { start([&] { QTimer::singleShot(60, &loop, &QEventLoop::quit); }); });
    loop.exec();
    *totalMs = msSince(begun) - 120;
    return longest;
}

std::unique_ptr<MP3Database> openPlayer() {
    return std::make_unique<MP3Database>(PlayerStartup{"null", {}});
}

struct Waiter {
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;
    void notify() {
        std::lock_guard lock(mutex);
        ++count;
        changed.notify_all();
    }
    void waitFor(int wanted) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return count >= wanted; });
    }
};

// One song change after `first` ends, to `second`; returns its time in ms.
double songChangeMs(const std::string& first, const std::string& second, bool preload) {
    SoundEngine engine;
    audio::OutputSpec output;
    output.kind = audio::OutputKind::Null;
    engine.init(output);
    Waiter ready;
    auto loader = std::make_unique<SongLoader>(engine, [&] { ready.notify(); });
    auto sequencer = std::make_unique<PlaybackSequencer>(engine, loader.get());
    sequencer->setOptions({.gapless = true});
    int readies = 0;
    SequencedEntry entry;
    entry.path = first;
    sequencer->start(entry);
    ++readies;
    if (preload) {
        sequencer->preloadNext(second);
        ready.waitFor(++readies);
        sequencer->collect(false);
    }
    while (!sequencer->tick().ended) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the player's tick
    }
    SequencedEntry next;
    next.path = second;
    const Clock::time_point seen = Clock::now();
    std::optional<PlaybackSequencer::Started> started = sequencer->begin(next, false);
    if (!started) {
        ready.waitFor(++readies);
        started = sequencer->collect(false);
    }
    const double ms = msSince(seen);
    if (!started || !started->result.loaded) {
        std::fprintf(stderr, "the second song did not start\n");
    }
    sequencer.reset();
    loader.reset();
    engine.shutdown();
    return ms;
}

} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir temp;
    if (!temp.isValid()) {
        return 1;
    }
    qputenv("TMPDIR", QFile::encodeName(temp.path()));
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    const std::string folder = QFile::encodeName(temp.path()).toStdString();

    std::printf("Making the media ...\n");
    std::fflush(stdout);
    tamberlo::test::ScriptedHttpServer silent({.head = ""});
    writeRandom(folder + "/random.bin", 60u << 20);
    writeTone(folder + "/long.wav.gz", 100u * 1000 * 1000, true); // 400 MB unpacked
    const struct {
        const char* name;
        std::string path;
    } cases[] = {
        {"silent stream", silent.url("/radio")},
        {"60 MB of random bytes (module ripper)", folder + "/random.bin"},
        {"gzip song, 400 MB unpacked", folder + "/long.wav.gz"},
    };

    std::printf("\nLongest gap between 20 ms ticks while a song loads (target <= 50 ms)\n");
    std::printf("%-40s %14s %14s %12s\n", "", "blocking (ms)", "window (ms)", "load (ms)");
    std::fflush(stdout);
    for (const auto& c : cases) {
        double blockingTotal = 0;
        double blocking = 0;
        {
            SoundEngine engine;
            audio::OutputSpec output;
            output.kind = audio::OutputKind::Null;
            engine.init(output);
            engine.setRipperPath(TAMBERLO_RIPPER);
            blocking = longestTickGap(
                [&](const std::function<void()>& finished) {
                    engine.loadSong(c.path, 0, false, false, 0, nullptr, nullptr);
                    finished();
                },
                &blockingTotal);
        }
        double windowTotal = 0;
        double window = 0;
        bool loaded = false;
        {
            // No last playlist or stored entry from the run before: the list holds this song.
            QFile::remove(QDir::tempPath() + "/Tamberlo_Playlist.m3u");
            QFile::remove(QCoreApplication::applicationDirPath() + "/settings.ini");
            std::unique_ptr<MP3Database> player = openPlayer();
            player->engine().setRipperPath(TAMBERLO_RIPPER);
            player->playList().addPaths({QString::fromStdString(c.path)});
            QMetaObject::Connection started;
            window = longestTickGap(
                [&](const std::function<void()>& finished) {
                    started = QObject::connect(player.get(), &MP3Database::songStarted,
                                               [&, finished](bool ok) {
                                                   loaded = ok;
                                                   finished();
                                               });
                    player->on_buttonPlay_clicked();
                },
                &windowTotal);
            QObject::disconnect(started);
            player->close();
        }
        std::printf("%-40s %14.1f %14.1f %12.0f %s\n", c.name, blocking, window, windowTotal,
                    loaded ? "played" : "failed");
        std::fflush(stdout);
    }
    QFile::remove(QCoreApplication::applicationDirPath() + "/settings.ini");

    writeTone(folder + "/first.wav", 44100, false);
    writeTone(folder + "/second.wav.gz", 44100 * 120, true);
    std::printf("\nSong change, gapless on, 2-minute gzip song next: from the tick that sees "
                "the end to the new channel playing\n");
    for (const bool preload : {false, true}) {
        std::vector<double> times;
        for (int run = 0; run < 5; ++run) {
            times.push_back(
                songChangeMs(folder + "/first.wav", folder + "/second.wav.gz", preload));
        }
        std::sort(times.begin(), times.end());
        std::printf("Preload %-3s  best %8.2f ms   median %8.2f ms\n", preload ? "on" : "off",
                    times.front(), times[times.size() / 2]);
    }
    return 0;
}
