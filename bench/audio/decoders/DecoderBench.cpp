// Prints how long openDecoder takes to deliver the first frames of local files (with and
// without accurate time) and how fast each decoder runs compared with the ffmpeg command on
// the same file. Usage: bench_decoders [MEDIA_FOLDER] (default: the build tree's test media).
#include "Decoder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Median time from openDecoder to the first 1024 frames, over several runs.
double openToFirstFramesMs(const std::string& path, bool accurateTime) {
    std::vector<double> times;
    std::vector<float> block(2 * 1024);
    for (int run = 0; run < 15; ++run) {
        audio::DecoderSource source;
        source.path = path;
        source.accurateTime = accurateTime;
        std::unique_ptr<audio::Decoder> decoder;
        const auto start = Clock::now();
        if (audio::openDecoder(source, nullptr, &decoder) != audio::Result::Ok ||
            decoder->read(block.data(), 1024) == 0) {
            return -1;
        }
        times.push_back(millisecondsSince(start));
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Seconds of audio decoded per second of wall time, and the frame count.
double decodeSpeed(const std::string& path, double* wallMs) {
    audio::DecoderSource source;
    source.path = path;
    std::unique_ptr<audio::Decoder> decoder;
    const auto start = Clock::now();
    if (audio::openDecoder(source, nullptr, &decoder) != audio::Result::Ok) {
        return -1;
    }
    std::vector<float> block(2 * 4096);
    uint64_t frames = 0;
    while (const size_t got = decoder->read(block.data(), 4096)) {
        frames += got;
    }
    *wallMs = millisecondsSince(start);
    return (double(frames) / decoder->sampleRate()) / (*wallMs / 1000.0);
}

double ffmpegCommandMs(const std::string& path) {
    const auto start = Clock::now();
    const std::string command = "ffmpeg -nostdin -v quiet -i '" + path + "' -f null -";
    if (std::system(command.c_str()) != 0) {
        return -1;
    }
    return millisecondsSince(start);
}

} // namespace

int main(int argc, char** argv) {
    const std::string media = argc > 1 ? argv[1] : BENCH_MEDIA_DIR;
    std::printf("%-22s %12s %12s %12s %12s %10s\n", "file", "open ms", "open+acc ms", "decode ms",
                "ffmpeg ms", "ratio");
    for (const char* name : {"music.mp3", "music-vbr.mp3", "music.ogg", "music.flac", "music.wav",
                             "music.aac", "music.opus", "mod/area1-game.mod"}) {
        const std::string path = media + "/" + name;
        double decodeMs = 0;
        const double openMs = openToFirstFramesMs(path, false);
        const double accurateMs = openToFirstFramesMs(path, true);
        decodeSpeed(path, &decodeMs);
        const double commandMs = ffmpegCommandMs(path);
        std::printf("%-22s %12.2f %12.2f %12.1f %12.1f %10.2f\n", name, openMs, accurateMs,
                    decodeMs, commandMs, commandMs > 0 ? decodeMs / commandMs : 0.0);
    }
    std::printf("open: openDecoder to the first 1024 frames (median of 15); ratio: our full "
                "decode / the ffmpeg command (which also pays process start)\n");
    return 0;
}
