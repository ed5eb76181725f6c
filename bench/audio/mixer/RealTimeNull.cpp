// Benchmark: real-time playback on the null output of two channels with both DSP units on,
// while a busy thread keeps the other core loaded. Prints underruns (target 0) and the median
// and 99th-percentile cost of a callback as a share of its buffer period (target p99 <= 10%).
#include "BenchSupport.h"

#include <atomic>
#include <cstdio>
#include <thread>

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: bench-realtime-null [--seconds N] FILE1 FILE2\n");
        return 2;
    }
    int seconds = 60;
    int first = 1;
    if (std::string(argv[1]) == "--seconds" && argc > 4) {
        seconds = std::max(1, std::atoi(argv[2]));
        first = 3;
    }
    std::atomic<bool> busy{true};
    std::thread loader([&busy] {
        volatile double x = 1.0;
        while (busy.load(std::memory_order_relaxed)) {
            x = x * 1.0000001 + 1e-9;
        }
    });
    audio::System* system = bench::makeFullPathSystem(audio::OutputKind::Null);
    std::vector<audio::Sound*> sounds;
    for (int i = first; i < first + 2; ++i) {
        audio::Sound* sound = nullptr;
        if (system->createSound(argv[i], audio::Mode::Stream, nullptr, &sound) !=
            audio::Result::Ok) {
            std::fprintf(stderr, "%s does not open\n", argv[i]);
            return 1;
        }
        sounds.push_back(sound);
    }
    const auto start = std::chrono::steady_clock::now();
    std::vector<audio::Channel> channels(2);
    while (bench::secondsSince(start) < seconds) {
        // Restart a channel that reached its end, as a playlist would.
        for (size_t i = 0; i < 2; ++i) {
            bool playing = false;
            if (channels[i].isPlaying(&playing) != audio::Result::Ok) {
                system->playSound(sounds[i], false, &channels[i]);
            }
        }
        system->update();
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the GUI timer's pace
    }
    double median = 0;
    double p99 = 0;
    system->getCallbackLoad(&median, &p99);
    std::printf("%d s of real-time null playback, 2 channels, reverb + normalizer, other core "
                "busy: %llu underruns (target 0); callback cost median %.2f%%, p99 %.2f%% of the "
                "buffer period (target p99 <= 10%%)\n",
                seconds, static_cast<unsigned long long>(system->underrunCount()), median * 100,
                p99 * 100);
    busy = false;
    loader.join();
    system->release();
    return 0;
}
