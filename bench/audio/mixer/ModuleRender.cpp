// Benchmark: a tracker module rendered through the sound library (offline, plain path) against
// libopenmpt's own render of the same module at the same rate. Prints the ratio (target <= 1.1).
#include "BenchSupport.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <libopenmpt/libopenmpt.h>
#include <memory>

namespace {

// libopenmpt's own render: the module file read into memory, decoded to stereo float.
double renderWithLibopenmpt(const std::string& path) {
    const auto start = std::chrono::steady_clock::now();
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
    openmpt_module* module = openmpt_module_create_from_memory2(
        bytes.data(), bytes.size(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (module == nullptr) {
        return -1.0;
    }
    std::unique_ptr<openmpt_module, decltype(&openmpt_module_destroy)> owner(
        module, openmpt_module_destroy);
    std::vector<float> buffer(4096 * 2);
    while (openmpt_module_read_interleaved_float_stereo(module, 44100, 4096, buffer.data()) > 0) {
    }
    return bench::secondsSince(start);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench-module-render MODULE...\n");
        return 2;
    }
    audio::System* system = bench::makePlainSystem(audio::OutputKind::Offline);
    int failures = 0;
    for (int i = 1; i < argc; ++i) {
        double ours = 1e9;
        double theirs = 1e9;
        for (int r = 0; r < 5; ++r) { // best of five: the machine's noise only ever adds
            ours = std::min(ours, bench::renderWhole(system, argv[i]));
            theirs = std::min(theirs, renderWithLibopenmpt(argv[i]));
        }
        if (ours < 0 || theirs < 0) {
            std::printf("%s: failed\n", argv[i]);
            ++failures;
            continue;
        }
        std::printf("%s: ours %.3f s, libopenmpt %.3f s, ratio %.2f (target <= 1.1)\n", argv[i],
                    ours, theirs, ours / theirs);
    }
    system->release();
    return failures == 0 ? 0 : 1;
}
