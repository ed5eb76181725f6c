// SoundEngine start-up, effect chain, master volume and the result check.
#include "SoundEngine.h"

#include "EngineLog.h"
#include "ProgramModule.h"

#include <cmath>

using engine_detail::engineLog;

namespace {

#ifdef _WIN32
constexpr const char* PluginSuffix = ".dll";
#else
constexpr const char* PluginSuffix = ".so";
#endif

struct CodecPlugin {
    const char* name;
    // Two plug-ins report their failure as "Error: ..." at level 0 instead of level 2; the log
    // has always shown it that way and readers of old logs rely on it.
    bool quietFailure;
};

constexpr CodecPlugin CodecPlugins[] = {
    {"codec_sid", false},    {"codec_game", true},   {"codec_audiofile", false},
    {"codec_adplug", false}, {"codec_libmod", true}, {"codec_fc", false},
    {"codec_ym", false},
};

// Channels the System reserves (ring, resampler and wave history each, about 420 KB). The
// player plays one song at a time on two alternating slots; a song change stops one channel,
// which is reclaimed a mixer callback later, so eight leave room for quick changes in a row.
constexpr int ReservedChannels = 8;

// Parameter indices of the library's units.
enum ReverbParameter { RoomSize, Damp, WetMix, DryMix, Width };
enum NormalizerParameter { FadeTime, Threshold, MaxAmp };

audio::Result setUnitParameter(audio::Dsp* unit, int index, float value) {
    return unit != nullptr ? unit->setParameter(index, value) : audio::Result::InvalidHandle;
}

// Sets a unit parameter from a value that may come straight out of settings.ini. Values that
// are not numbers (nan, inf) are refused and the current one stays, so neither the unit nor the
// stored copy (shown by the settings dialog, written back at exit) ever holds one. The copy
// keeps the value the unit really uses: the unit clamps it to its range.
audio::Result setStoredParameter(audio::Dsp* unit, int index, float value, float* stored) {
    if (!std::isfinite(value)) {
        return audio::Result::InvalidParameter;
    }
    const audio::Result result = setUnitParameter(unit, index, value);
    float used = value;
    if (result == audio::Result::Ok) {
        unit->getParameter(index, &used);
    }
    *stored = used;
    return result;
}

audio::Result setUnitBypass(audio::Dsp* unit, bool bypass) {
    return unit != nullptr ? unit->setBypass(bypass) : audio::Result::InvalidHandle;
}

} // namespace

SoundEngine::~SoundEngine() {
    shutdown();
}

void SoundEngine::init(const audio::OutputSpec& output) {
    reverbParameters = {0.71f, 0.56f, 0.15f, 0.5f, 1.0f};
    loaded = {false, false};
    channelA = audio::Channel();
    channelB = audio::Channel();

    lastResult = audio::System::create(&system);
    checkResult(lastResult, "");
    if (system == nullptr) {
        return;
    }

    for (const CodecPlugin& plugin : CodecPlugins) {
        const std::string file = std::string(plugin.name) + PluginSuffix;
        engineLog(0, "Trying to load %s", file.c_str());
        // From the application folder only: a "plugin" folder in the current directory (a
        // music folder, say) must never get its code run by the player.
        lastResult = system->loadPlugin(audio::executableFolder() + "/plugin/" + file);
        if (lastResult == audio::Result::Ok) {
            engineLog(0, "Loading of %s completed.", file.c_str());
        } else if (plugin.quietFailure) {
            engineLog(0, "Error: Loading of %s failed!", file.c_str());
        } else {
            engineLog(2, "Loading of %s failed!", file.c_str());
        }
        checkResult(lastResult, "");
    }

    audio::SpeakerMode speakerMode = audio::SpeakerMode::Stereo;
    lastResult = system->getSpeakerMode(0, &speakerMode);
    checkResult(lastResult, "");

    lastResult = system->init(ReservedChannels, output);
    checkResult(lastResult, "");

    // Both units start bypassed; the settings switch them on.
    lastResult = system->createDsp(audio::DspType::Reverb, &reverb);
    if (reverb != nullptr) {
        system->addDsp(reverb);
        reverb->setBypass(true);
    }
    lastResult = system->createDsp(audio::DspType::Normalize, &normalizer);
    if (normalizer != nullptr) {
        system->addDsp(normalizer);
        normalizer->setBypass(true);
    }
}

void SoundEngine::shutdown() {
    if (system == nullptr) {
        return;
    }
    // The songs go first: releasing a stream ends its network waits (a reconnect's back-off)
    // at once, where closing the System would wait for the worker that is in them.
    for (audio::Sound*& sound : sounds) {
        if (sound != nullptr) {
            sound->release();
            sound = nullptr;
        }
    }
    system->close();
    system->release();
    system = nullptr;
    // The System took its sounds, units and channels with it.
    sounds = {nullptr, nullptr};
    loaded = {false, false};
    reverb = nullptr;
    normalizer = nullptr;
    channelA = audio::Channel();
    channelB = audio::Channel();
}

int SoundEngine::getBaseFrequency(int slot) const {
    return static_cast<int>(slot == 1 ? baseFrequency[0] : baseFrequency[1]);
}

audio::Result SoundEngine::setReverbRoomSize(float value) {
    return setStoredParameter(reverb, RoomSize, value, &reverbParameters[RoomSize]);
}

audio::Result SoundEngine::setReverbDamp(float value) {
    return setStoredParameter(reverb, Damp, value, &reverbParameters[Damp]);
}

audio::Result SoundEngine::setReverbWetMix(float value) {
    return setStoredParameter(reverb, WetMix, value, &reverbParameters[WetMix]);
}

audio::Result SoundEngine::setReverbDryMix(float value) {
    return setStoredParameter(reverb, DryMix, value, &reverbParameters[DryMix]);
}

audio::Result SoundEngine::setReverbWidth(float value) {
    return setStoredParameter(reverb, Width, value, &reverbParameters[Width]);
}

audio::Result SoundEngine::setNormalizerFadeTime(float value) {
    return setStoredParameter(normalizer, FadeTime, value, &normalizerParameters[FadeTime]);
}

audio::Result SoundEngine::setNormalizerThreshold(float value) {
    return setStoredParameter(normalizer, Threshold, value, &normalizerParameters[Threshold]);
}

audio::Result SoundEngine::setNormalizerMaxAmp(float value) {
    return setStoredParameter(normalizer, MaxAmp, value, &normalizerParameters[MaxAmp]);
}

audio::Result SoundEngine::setReverbEnabled(bool on) {
    reverbEnabled = on;
    return setUnitBypass(reverb, !on);
}

audio::Result SoundEngine::setNormalizerEnabled(bool on) {
    normalizerEnabled = on;
    return setUnitBypass(normalizer, !on);
}

audio::Result SoundEngine::setMasterVolume(float volume) {
    audio::ChannelGroup* master = nullptr;
    lastResult =
        system != nullptr ? system->getMasterChannelGroup(&master) : audio::Result::InvalidHandle;
    return master != nullptr ? master->setVolume(volume) : audio::Result::InvalidHandle;
}

void SoundEngine::checkResult(audio::Result result, const std::string& context) const {
    if (result != audio::Result::Ok) {
        engineLog(2, "Audio error! (%d) %s %s", audio::code(result), audio::errorString(result),
                  context.c_str());
    }
}
