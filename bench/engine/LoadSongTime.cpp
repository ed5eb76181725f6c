// How long SoundEngine::loadSong takes for a 5-minute VBR MP3: gapless off, on, and on with
// accurate time (which scans the whole file at open), each without codec plug-ins and with
// every plug-in built here (each probes the MP3 and refuses it). Prints the median and the
// fastest of a few loads per mode in milliseconds, and the engine's start-up time.
#include "BenchFiles.h"
#include "SoundEngine.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Loads `mp3` a few times per mode and prints the figures. False when a load fails.
bool measureModes(SoundEngine& engine, const std::string& mp3, const char* plugins) {
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
            const auto start = Clock::now();
            if (!engine.loadSong(mp3, run % 2, mode.accurate, mode.trim, 0, &end, &type)) {
                std::fprintf(stderr, "loadSong failed\n");
                return false;
            }
            ms.push_back(msSince(start));
        }
        std::sort(ms.begin(), ms.end());
        std::printf("%-14s %-22s median %7.1f ms  fastest %7.1f ms  (end %d ms, %d loads)\n",
                    plugins, mode.name, ms[Runs / 2], ms.front(), end, Runs);
    }
    return true;
}

} // namespace

int main() {
    using namespace enginebench;
    const std::string dir = scratchDir("load");
    const std::string mp3 = dir + "/five-minutes.mp3";
    mustRun("sox -n -r 44100 -c 2 -b 16 " + dir +
            "/five-minutes.wav synth 300 pinknoise vol 0.3 synth 300 sine mix 100-3000 vol 0.5");
    mustRun("lame --quiet -V 4 " + dir + "/five-minutes.wav " + mp3);
    std::printf("song: %s (%ju bytes, 300 s, VBR)\n", mp3.c_str(),
                static_cast<uintmax_t>(std::filesystem::file_size(mp3)));

    // The engine loads plug-ins from plugin/ beside this program: absent at first, then a link
    // to the folder where the build puts every plug-in.
    const std::filesystem::path pluginLink =
        std::filesystem::read_symlink("/proc/self/exe").parent_path() / "plugin";
    std::error_code ignored;
    std::filesystem::remove(pluginLink, ignored);
    for (const bool withPlugins : {false, true}) {
        if (withPlugins) {
            std::filesystem::create_directory_symlink(TAMBERLO_PLUGIN_DIR, pluginLink);
        }
        const char* label = withPlugins ? "with plug-ins" : "no plug-ins";
        const auto start = Clock::now();
        SoundEngine engine;
        audio::OutputSpec outputSpec;
        outputSpec.kind = audio::OutputKind::Offline;
        engine.init(outputSpec);
        std::printf("%-14s engine start-up %.1f ms\n", label, msSince(start));
        const bool ok = measureModes(engine, mp3, label);
        engine.shutdown();
        if (!ok) {
            return 1;
        }
    }
    std::filesystem::remove(pluginLink, ignored);
    std::filesystem::remove_all(dir);
    return 0;
}
