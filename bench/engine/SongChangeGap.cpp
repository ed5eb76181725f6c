// The gap or overlap at a song change, as the player makes it: one continuous piece is split at
// an arbitrary frame into two files, tamberlo-render plays them as a playlist (gapless off and
// on), and the output is compared with the original piece sample by sample.
//
// Prints, per mode: how many frames of the first half were played, where the second half starts
// in the output, and the join: positive = frames of silence between the halves (a gap),
// negative = frames of the first half that were cut off (the second half comes in early).
#include "BenchFiles.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr size_t SplitFrame = 396731; // about 9 s into a 20 s piece: no tick or block boundary

// Frames from the start where the output equals the original (the first half as played).
size_t matchingPrefix(const std::vector<int16_t>& out, const std::vector<int16_t>& original,
                      size_t limit) {
    size_t frame = 0;
    while (frame < limit && 2 * frame + 1 < out.size() && out[2 * frame] == original[2 * frame] &&
           out[2 * frame + 1] == original[2 * frame + 1]) {
        ++frame;
    }
    return frame;
}

// First output frame at which the second half's first 256 frames appear exactly.
long findSecondHalf(const std::vector<int16_t>& out, const std::vector<int16_t>& original) {
    const auto begin = original.begin() + 2 * SplitFrame;
    const auto found = std::search(out.begin(), out.end(), begin, begin + 512);
    if (found == out.end() || (found - out.begin()) % 2 != 0) {
        return -1;
    }
    return (found - out.begin()) / 2;
}

} // namespace

int main() {
    using namespace enginebench;
    const std::string dir = scratchDir("gap");
    // Pink noise under a sweep: no two stretches alike, so the exact search cannot mismatch.
    mustRun("sox -n -r 44100 -c 2 -b 16 " + dir +
            "/piece.wav synth 20 pinknoise vol 0.3 synth 20 sine mix 200-2000 vol 0.5");
    int rate = 0;
    const std::vector<int16_t> piece = readWavFrames(dir + "/piece.wav", &rate);
    const size_t frames = piece.size() / 2;
    writeWav(dir + "/first.wav", rate, piece.data(), SplitFrame);
    writeWav(dir + "/second.wav", rate, piece.data() + 2 * SplitFrame, frames - SplitFrame);
    std::printf("piece: %zu frames at %d Hz, split at frame %zu\n", frames, rate, SplitFrame);

    for (const char* mode : {"", "--gapless", "--gapless --accurate"}) {
        const std::string out = dir + "/out.wav";
        mustRun(std::string(TAMBERLO_RENDER) + " " + mode + " -o " + out + " " + dir +
                "/first.wav " + dir + "/second.wav");
        const std::vector<int16_t> rendered = readWavFrames(out, nullptr);
        const size_t played = matchingPrefix(rendered, piece, SplitFrame);
        const long secondAt = findSecondHalf(rendered, piece);
        if (secondAt < 0) {
            std::printf("%-22s second half not found in the output\n",
                        *mode ? mode : "gapless off");
            continue;
        }
        const long join = secondAt - static_cast<long>(SplitFrame);
        std::printf("%-22s first half played %zu of %zu frames; second half at frame %ld; "
                    "join %+ld frames (%+.1f ms) %s\n",
                    *mode ? mode : "gapless off", played, SplitFrame, secondAt, join,
                    join * 1000.0 / rate,
                    join > 0   ? "gap"
                    : join < 0 ? "overlap (cut)"
                               : "seamless");
    }
    std::filesystem::remove_all(dir);
    return 0;
}
