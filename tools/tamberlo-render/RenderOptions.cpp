#include "RenderOptions.h"

#include <cstdlib>

namespace {

bool parseInt(const char* text, long low, long high, long* out) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < low || value > high) {
        return false;
    }
    *out = value;
    return true;
}

} // namespace

const char* renderUsage() {
    return "usage: tamberlo-render [--rate N] [--gapless] [--sample-exact] [--cutoff N]\n"
           "         [--accurate] [--unknown-limit SECONDS] [--reverb] [--normalize]\n"
           "         [--log FILE] [--repeat N] [--max-seconds N] -o OUT.wav FILES...\n"
           "Plays FILES as the player does (20 ms ticks, alternating slots) into OUT.wav.\n"
           "--unknown-limit acts from an entry's second play, as in the player (see --repeat).\n"
           "--sample-exact queues each file after the last sample of the one before.\n";
}

bool parseRenderOptions(int argc, char** argv, RenderOptions* options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        long value = 0;
        if (arg == "-o" && hasValue) {
            options->out = argv[++i];
        } else if (arg == "--rate" && hasValue) {
            if (!parseInt(argv[++i], 8000, 192000, &value)) {
                return false;
            }
            options->rate = static_cast<int>(value);
        } else if (arg == "--gapless") {
            options->sequencer.gapless = true;
        } else if (arg == "--sample-exact") {
            options->sequencer.sampleExact = true;
        } else if (arg == "--accurate") {
            options->sequencer.accurate = true;
        } else if (arg == "--cutoff" && hasValue) {
            if (!parseInt(argv[++i], 0, 2147483647L, &value)) {
                return false;
            }
            options->sequencer.cutoff = static_cast<int>(value);
        } else if (arg == "--unknown-limit" && hasValue) {
            if (!parseInt(argv[++i], 1, 4294967L, &value)) {
                return false;
            }
            options->sequencer.unknownLimit = true;
            options->sequencer.unknownLimitSeconds = static_cast<uint32_t>(value);
        } else if (arg == "--reverb") {
            options->reverb = true;
        } else if (arg == "--normalize") {
            options->normalize = true;
        } else if (arg == "--log" && hasValue) {
            options->logPath = argv[++i];
        } else if (arg == "--repeat" && hasValue) {
            if (!parseInt(argv[++i], 1, 100, &value)) {
                return false;
            }
            options->repeat = static_cast<int>(value);
        } else if (arg == "--max-seconds" && hasValue) {
            if (!parseInt(argv[++i], 1, 86400, &value)) {
                return false;
            }
            options->maxSeconds = static_cast<int>(value);
        } else if (!arg.empty() && arg[0] == '-' && arg != "-") {
            return false;
        } else {
            options->files.push_back(arg);
        }
    }
    return !options->out.empty() && !options->files.empty();
}
