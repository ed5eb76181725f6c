// tamberlo-render -o OUT.wav [--rate N] FILES...
// Plays the files one after another through the sound library on the offline output and writes
// what a listener would hear as a 16-bit stereo WAV, faster than real time.
#include "Audio.h"
#include "WavWriter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Options {
    std::string out;
    int rate = 44100;
    std::vector<std::string> files;
};

int usage() {
    std::fprintf(stderr, "usage: tamberlo-render -o OUT.wav [--rate N] FILES...\n");
    return 2;
}

bool parse(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "-o" && i + 1 < argc) {
            options->out = argv[++i];
        } else if (arg == "--rate" && i + 1 < argc) {
            char* end = nullptr;
            const long rate = std::strtol(argv[++i], &end, 10);
            if (*end != '\0' || rate < 8000 || rate > 192000) {
                return false;
            }
            options->rate = static_cast<int>(rate);
        } else if (!arg.empty() && arg[0] == '-' && arg != "-") {
            return false;
        } else {
            options->files.push_back(arg);
        }
    }
    return !options->out.empty() && !options->files.empty();
}

// Output frames still to come from the channel, when its length is known (0 when unknown).
size_t framesLeft(audio::Sound* sound, const audio::Channel& channel, int outputRate) {
    unsigned length = 0;
    unsigned position = 0;
    float hz = 0;
    if (sound->getLength(&length, audio::TimeUnit::Pcm) != audio::Result::Ok ||
        length == audio::UnknownLength ||
        channel.getPosition(&position, audio::TimeUnit::Pcm) != audio::Result::Ok ||
        channel.getFrequency(&hz) != audio::Result::Ok || position >= length) {
        return 0;
    }
    const double seconds = static_cast<double>(length - position) / hz;
    return static_cast<size_t>(seconds * outputRate + 0.5);
}

// Renders one file into the writer. Returns the library's result for opening it.
audio::Result renderFile(audio::System* system, const std::string& path, int rate,
                         audio::WavWriter& wav) {
    audio::Sound* sound = nullptr;
    audio::Result result = system->createSound(path.c_str(), audio::Mode::Stream, nullptr, &sound);
    if (result != audio::Result::Ok) {
        return result;
    }
    audio::Channel channel;
    result = system->playSound(sound, false, &channel);
    constexpr size_t Chunk = 4096;
    std::vector<float> buffer(Chunk * 2);
    bool playing = result == audio::Result::Ok;
    while (playing) {
        // Near a known end, render only what is left so the file does not gain a silent tail.
        const size_t left = framesLeft(sound, channel, rate);
        const size_t frames = left == 0 ? 64 : std::min(Chunk, left);
        system->mix(frames, buffer.data());
        if (wav.write(buffer.data(), frames) != audio::Result::Ok) {
            result = audio::Result::FileUnreadable;
            break;
        }
        channel.isPlaying(&playing);
    }
    sound->release();
    return result;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, &options)) {
        return usage();
    }
    audio::System* system = nullptr;
    audio::System::create(&system);
    audio::OutputSpec spec;
    spec.kind = audio::OutputKind::Offline;
    spec.sampleRate = options.rate;
    if (system->init(4, spec) != audio::Result::Ok) {
        std::fprintf(stderr, "tamberlo-render: the sound library did not start\n");
        return 1;
    }
    std::unique_ptr<audio::WavWriter> wav;
    if (audio::WavWriter::open(options.out, options.rate, &wav) != audio::Result::Ok) {
        std::fprintf(stderr, "tamberlo-render: cannot write %s\n", options.out.c_str());
        system->release();
        return 1;
    }
    int failures = 0;
    for (const std::string& file : options.files) {
        const audio::Result result = renderFile(system, file, options.rate, *wav);
        if (result != audio::Result::Ok) {
            std::fprintf(stderr, "tamberlo-render: %s: %s\n", file.c_str(),
                         audio::errorString(result));
            ++failures;
        }
    }
    const bool written = wav->finish() == audio::Result::Ok;
    system->release();
    if (!written) {
        std::fprintf(stderr, "tamberlo-render: writing %s failed\n", options.out.c_str());
        return 1;
    }
    return failures == 0 ? 0 : 1;
}
