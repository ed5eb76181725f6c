// Benchmark: offline render of whole files through the full mix path (decoder, resampler,
// reverb and normalizer on, master volume) against `ffmpeg -v quiet -i FILE -f null -` on the
// same file in the same run. Prints each file's times and the ratio (target <= 1.3).
#include "BenchSupport.h"

#include <algorithm>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench-render-vs-ffmpeg [--repeat N] FILES...\n");
        return 2;
    }
    int repeat = 3;
    int first = 1;
    if (std::string(argv[1]) == "--repeat" && argc > 3) {
        repeat = std::max(1, std::atoi(argv[2]));
        first = 3;
    }
    audio::System* system = bench::makeFullPathSystem(audio::OutputKind::Offline);
    // The same without effect units, to show what the units cost.
    audio::System* plain = bench::makePlainSystem(audio::OutputKind::Offline);
    int failures = 0;
    for (int i = first; i < argc; ++i) {
        const std::string path = argv[i];
        // Best of N for both, run alternately so both see the same machine load.
        double ours = 1e9;
        double ffmpeg = 1e9;
        double withoutUnits = 1e9;
        for (int r = 0; r < repeat; ++r) {
            ours = std::min(ours, bench::renderWhole(system, path));
            withoutUnits = std::min(withoutUnits, bench::renderWhole(plain, path));
            ffmpeg = std::min(ffmpeg, bench::timeCommand("ffmpeg -nostdin -v quiet -i " +
                                                         bench::shellQuote(path) + " -f null -"));
        }
        if (ours < 0 || ffmpeg < 0) {
            std::printf("%s: failed (ours %.3f s, ffmpeg %.3f s)\n", path.c_str(), ours, ffmpeg);
            ++failures;
            continue;
        }
        std::printf("%s: ours %.3f s, ffmpeg %.3f s, ratio %.2f (target <= 1.3); without the "
                    "effect units %.3f s, ratio %.2f\n",
                    path.c_str(), ours, ffmpeg, ours / ffmpeg, withoutUnits, withoutUnits / ffmpeg);
    }
    system->release();
    plain->release();
    return failures == 0 ? 0 : 1;
}
