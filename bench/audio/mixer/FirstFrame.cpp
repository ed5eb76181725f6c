// Benchmark: time from createSound to the first mixed frame of a local file, with and without
// accurate time (target <= 20 ms without). Prints the median and the worst of 21 runs.
#include "BenchSupport.h"

#include <algorithm>
#include <cstdio>

namespace {

double firstFrame(audio::System* system, const char* path, audio::Mode mode) {
    const auto start = std::chrono::steady_clock::now();
    audio::Sound* sound = nullptr;
    if (system->createSound(path, mode, nullptr, &sound) != audio::Result::Ok) {
        return -1.0;
    }
    audio::Channel channel;
    system->playSound(sound, false, &channel);
    float frame[2 * 64];
    unsigned position = 0;
    while (position == 0) { // until the mixer has consumed source frames
        system->mix(64, frame);
        if (channel.getPosition(&position, audio::TimeUnit::Pcm) != audio::Result::Ok) {
            break;
        }
    }
    const double seconds = bench::secondsSince(start);
    sound->release();
    return seconds;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench-first-frame FILE\n");
        return 2;
    }
    audio::System* system = bench::makeFullPathSystem(audio::OutputKind::Offline);
    const struct {
        const char* name;
        audio::Mode mode;
    } modes[] = {{"stream", audio::Mode::Stream},
                 {"stream+accurate", audio::Mode::Stream | audio::Mode::AccurateTime}};
    int status = 0;
    for (const auto& m : modes) {
        std::vector<double> times;
        for (int i = 0; i < 21; ++i) {
            times.push_back(firstFrame(system, argv[1], m.mode) * 1000.0);
        }
        std::sort(times.begin(), times.end());
        if (times.front() < 0) {
            std::printf("%s: %s failed to open\n", argv[1], m.name);
            status = 1;
            continue;
        }
        std::printf("%s: %s: first frame median %.2f ms, worst %.2f ms (target <= 20 ms without "
                    "accurate time)\n",
                    argv[1], m.name, times[times.size() / 2], times.back());
    }
    system->release();
    return status;
}
