// tamberlo-render [OPTIONS] -o OUT.wav FILES...
// Plays the files as the player does, through the same SoundEngine and song-change logic
// (PlaybackSequencer), on the offline output: every 20 ms tick of the player's timer becomes
// 20 ms of mixed frames, after which the tick decides whether to move to the next file. What the
// WAV holds is what a listener of the player would hear, including the gaps or cuts at song
// changes, written faster than real time.
#include "LogFile.h"
#include "PlaybackSequencer.h"
#include "RenderOptions.h"
#include "SoundEngine.h"
#include "WavWriter.h"

#include <cstdio>
#include <memory>
#include <vector>

namespace {

void applyEffects(SoundEngine& engine, const RenderOptions& options) {
    if (options.reverb) {
        // The engine's start-up reverb parameters, as a player without saved settings uses.
        const std::array<float, 5> reverb = engine.getReverbParameters();
        engine.setReverbRoomSize(reverb[0]);
        engine.setReverbDamp(reverb[1]);
        engine.setReverbWetMix(reverb[2]);
        engine.setReverbDryMix(reverb[3]);
        engine.setReverbWidth(reverb[4]);
        engine.setReverbEnabled(true);
    }
    if (options.normalize) {
        engine.setNormalizerEnabled(true);
    }
}

// Plays the playlist `options.repeat` times. Returns the number of files that failed to load.
int render(SoundEngine& engine, const RenderOptions& options, audio::WavWriter& wav,
           bool* writeFailed) {
    PlaybackSequencer sequencer(engine);
    sequencer.setOptions(options.sequencer);
    std::vector<SequencedEntry> playlist;
    for (const std::string& file : options.files) {
        SequencedEntry entry;
        entry.path = file;
        playlist.push_back(entry);
    }
    // The order of play: the list `repeat` times, each play of an entry updating the entry.
    std::vector<SequencedEntry*> order;
    for (int pass = 0; pass < options.repeat; ++pass) {
        for (SequencedEntry& entry : playlist) {
            order.push_back(&entry);
        }
    }
    const size_t tickFrames = static_cast<size_t>(options.rate / 50); // 20 ms
    const size_t maxTicks = static_cast<size_t>(options.maxSeconds) * 50;
    std::vector<float> buffer(tickFrames * 2);
    int failures = 0;
    size_t ticks = 0;
    // As the player window: with sample-exact on, the entry after the current one is queued
    // behind it once it has started; its start then adopts the channel that already plays.
    const auto queueFollowing = [&](size_t current) {
        if (current + 1 < order.size()) {
            sequencer.queueNext(order[current + 1]->path);
        }
    };
    for (size_t at = 0; at < order.size(); ++at) {
        SequencedEntry& entry = *order[at];
        if (!sequencer.start(entry).loaded) {
            std::fprintf(stderr, "tamberlo-render: %s could not be loaded\n", entry.path.c_str());
            ++failures;
        } else {
            queueFollowing(at);
        }
        // The player's timer: mix 20 ms, then let the tick look at the position.
        for (bool ended = false; !ended; ++ticks) {
            if (ticks >= maxTicks) {
                std::fprintf(stderr, "tamberlo-render: stopped at the %d s limit\n",
                             options.maxSeconds);
                sequencer.stop();
                return failures;
            }
            engine.getSystem()->mix(tickFrames, buffer.data());
            if (wav.write(buffer.data(), tickFrames) != audio::Result::Ok) {
                *writeFailed = true;
                sequencer.stop();
                return failures;
            }
            engine.getSystem()->update(); // the level meter's job in the player
            ended = sequencer.tick().ended;
        }
    }
    sequencer.stop();
    return failures;
}

} // namespace

int main(int argc, char** argv) {
    RenderOptions options;
    if (!parseRenderOptions(argc, argv, &options)) {
        std::fputs(renderUsage(), stderr);
        return 2;
    }
    std::unique_ptr<LogFile> log;
    if (!options.logPath.empty()) {
        log = std::make_unique<LogFile>(options.logPath);
        theLogFile = log.get();
    }
    SoundEngine engine;
    audio::OutputSpec outputSpec;
    outputSpec.kind = audio::OutputKind::Offline;
    outputSpec.sampleRate = options.rate;
    engine.init(outputSpec);
    if (engine.getLastResult() != audio::Result::Ok && engine.getSystem() == nullptr) {
        std::fprintf(stderr, "tamberlo-render: the sound library did not start\n");
        return 1;
    }
    applyEffects(engine, options);
    std::unique_ptr<audio::WavWriter> wav;
    if (audio::WavWriter::open(options.out, options.rate, &wav) != audio::Result::Ok) {
        std::fprintf(stderr, "tamberlo-render: cannot write %s\n", options.out.c_str());
        return 1;
    }
    bool writeFailed = false;
    const int failures = render(engine, options, *wav, &writeFailed);
    if (wav->finish() != audio::Result::Ok || writeFailed) {
        std::fprintf(stderr, "tamberlo-render: writing %s failed\n", options.out.c_str());
        return 1;
    }
    engine.shutdown();
    theLogFile = nullptr;
    return failures == 0 ? 0 : 1;
}
