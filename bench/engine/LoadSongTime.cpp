// How long SoundEngine::loadSong takes for a 5-minute VBR MP3: gapless off, on, and on with
// accurate time (which scans the whole file at open). Prints the median and the fastest of a
// few loads per mode, in milliseconds.
#include "BenchFiles.h"
#include "SoundEngine.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

int main() {
    using namespace enginebench;
    const std::string dir = scratchDir("load");
    const std::string mp3 = dir + "/five-minutes.mp3";
    mustRun("sox -n -r 44100 -c 2 -b 16 " + dir +
            "/five-minutes.wav synth 300 pinknoise vol 0.3 synth 300 sine mix 100-3000 vol 0.5");
    mustRun("lame --quiet -V 4 " + dir + "/five-minutes.wav " + mp3);
    std::printf("song: %s (%ju bytes, 300 s, VBR)\n", mp3.c_str(),
                static_cast<uintmax_t>(std::filesystem::file_size(mp3)));

    SoundEngine engine;
    audio::OutputSpec outputSpec;
    outputSpec.kind = audio::OutputKind::Offline;
    engine.init(outputSpec);

    struct Mode {
        const char* name;
        bool trim;
        bool accurate;
    };
    const Mode modes[] = {
        {"gapless off", false, false},
        {"gapless on", true, false},
        {"gapless on + accurate", true, true},
    };
    constexpr int Runs = 7;
    for (const Mode& mode : modes) {
        std::vector<double> ms;
        int end = 0;
        for (int run = 0; run < Runs; ++run) {
            std::string type;
            const auto start = std::chrono::steady_clock::now();
            const bool loaded =
                engine.loadSong(mp3, run % 2, mode.accurate, mode.trim, 0, &end, &type);
            const auto stop = std::chrono::steady_clock::now();
            if (!loaded) {
                std::fprintf(stderr, "loadSong failed\n");
                return 1;
            }
            ms.push_back(std::chrono::duration<double, std::milli>(stop - start).count());
        }
        std::sort(ms.begin(), ms.end());
        std::printf("%-22s median %7.1f ms  fastest %7.1f ms  (end %d ms, %d loads)\n", mode.name,
                    ms[Runs / 2], ms.front(), end, Runs);
    }
    engine.shutdown();
    std::filesystem::remove_all(dir);
    return 0;
}
