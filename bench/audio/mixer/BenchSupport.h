#pragma once
// Small helpers shared by the sound library's benchmarks: wall-clock timing, running a command,
// and an offline System with the whole mix path switched on.

#include "Audio.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace bench {

inline double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Wall time of a shell command; negative when it failed.
inline double timeCommand(const std::string& command) {
    const auto start = std::chrono::steady_clock::now();
    const int status = std::system(command.c_str());
    const double seconds = secondsSince(start);
    return status == 0 ? seconds : -1.0;
}

inline std::string shellQuote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

// A started System on `kind` with nothing in its chain; exits when it cannot start.
inline audio::System* makePlainSystem(audio::OutputKind kind, int channels = 4) {
    audio::System* system = nullptr;
    audio::System::create(&system);
    audio::OutputSpec outputSpec;
    outputSpec.kind = kind;
    if (system->init(channels, outputSpec) != audio::Result::Ok) {
        std::fprintf(stderr, "the sound library did not start\n");
        std::exit(1);
    }
    return system;
}

// A System on `kind` with a reverb and a normalizer in the chain, both active, master at 0.8.
inline audio::System* makeFullPathSystem(audio::OutputKind kind, int channels = 4) {
    audio::System* system = makePlainSystem(kind, channels);
    for (audio::DspType type : {audio::DspType::Reverb, audio::DspType::Normalize}) {
        audio::Dsp* dsp = nullptr;
        system->createDsp(type, &dsp);
        system->addDsp(dsp);
        dsp->setBypass(false);
    }
    audio::ChannelGroup* master = nullptr;
    system->getMasterChannelGroup(&master);
    master->setVolume(0.8f);
    return system;
}

// Plays `path` to its end on an offline system; returns the seconds it took, or -1.
inline double renderWhole(audio::System* system, const std::string& path,
                          audio::Mode mode = audio::Mode::Stream) {
    const auto start = std::chrono::steady_clock::now();
    audio::Sound* sound = nullptr;
    if (system->createSound(path.c_str(), mode, nullptr, &sound) != audio::Result::Ok) {
        return -1.0;
    }
    audio::Channel channel;
    system->playSound(sound, false, &channel);
    std::vector<float> buffer(4096 * 2);
    bool playing = true;
    while (playing) {
        system->mix(4096, buffer.data());
        channel.isPlaying(&playing);
    }
    sound->release();
    return secondsSince(start);
}

} // namespace bench
