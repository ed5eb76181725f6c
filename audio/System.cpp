#include "SystemCore.h"
#include "SystemInternal.h"

#include "Normalizer.h"
#include "Reverb.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace audio {

System::System() : core_(std::make_unique<detail::SystemCore>()) {}
System::~System() = default;

Result System::create(System** out) {
    if (out == nullptr) {
        return Result::InvalidParameter;
    }
    *out = new (std::nothrow) System();
    return *out != nullptr ? Result::Ok : Result::OutOfMemory;
}

Result System::release() {
    core_->close();
    delete this;
    return Result::Ok;
}

Result System::getSpeakerMode(int driver, SpeakerMode* mode) const {
    if (driver != 0 || mode == nullptr) {
        return Result::InvalidParameter;
    }
    *mode = SpeakerMode::Stereo;
    return Result::Ok;
}

Result System::init(int maxChannels, const OutputSpec& output) {
    return core_->init(maxChannels, output);
}

Result System::getOutputInfo(OutputInfo* info) const {
    if (info == nullptr) {
        return Result::InvalidParameter;
    }
    if (!core_->initialised()) {
        return Result::NotReady;
    }
    *info = core_->outputInfo();
    return Result::Ok;
}

Result System::close() {
    return core_->close();
}

Result System::update() {
    if (!core_->initialised()) {
        return Result::NotReady;
    }
    core_->pool()->reclaim();
    return Result::Ok;
}

Result System::getMasterChannelGroup(ChannelGroup** group) {
    if (group == nullptr) {
        return Result::InvalidParameter;
    }
    *group = &core_->master();
    return Result::Ok;
}

Result ChannelGroup::setVolume(float volume) {
    if (std::isnan(volume)) {
        return Result::InvalidParameter;
    }
    if (core_->mixer() == nullptr) {
        return Result::NotReady;
    }
    core_->mixer()->setMasterVolume(std::clamp(volume, 0.0f, 1.0f));
    return Result::Ok;
}

Result ChannelGroup::getVolume(float* volume) const {
    if (volume == nullptr) {
        return Result::InvalidParameter;
    }
    if (core_->mixer() == nullptr) {
        return Result::NotReady;
    }
    *volume = core_->mixer()->masterVolume();
    return Result::Ok;
}

Result System::createDsp(DspType type, Dsp** dsp) {
    if (dsp == nullptr) {
        return Result::InvalidParameter;
    }
    *dsp = nullptr;
    if (!core_->initialised()) {
        return Result::NotReady; // delay lines are sized for the output rate
    }
    const int rate = core_->mixer()->sampleRate();
    std::unique_ptr<Dsp::Unit> unit;
    switch (type) {
    case DspType::Reverb:
        unit = std::make_unique<detail::Reverb>(rate);
        break;
    case DspType::Normalize:
        unit = std::make_unique<detail::Normalizer>(rate);
        break;
    default:
        return Result::InvalidParameter;
    }
    core_->dsps().push_back(std::unique_ptr<Dsp>(new Dsp(std::move(unit))));
    *dsp = core_->dsps().back().get();
    return Result::Ok;
}

Result System::addDsp(Dsp* dsp) {
    if (!core_->initialised()) {
        return Result::NotReady;
    }
    auto& dsps = core_->dsps();
    const bool ours = std::any_of(dsps.begin(), dsps.end(),
                                  [dsp](const std::unique_ptr<Dsp>& d) { return d.get() == dsp; });
    if (dsp == nullptr || !ours) {
        return Result::InvalidHandle;
    }
    return core_->mixer()->addUnit(&dsp->unit()) ? Result::Ok : Result::InvalidParameter;
}

Result System::playSound(Sound* sound, bool paused, Channel* channel) {
    return core_->playSound(sound, paused, channel);
}

Result System::playSoundAfter(Sound* next, Channel current, Channel* channel) {
    return core_->playSoundAfter(next, current, channel);
}

Result System::mix(size_t frames, float* out) {
    if (!core_->initialised() || !core_->offline()) {
        return Result::NotReady;
    }
    if (out == nullptr && frames > 0) {
        return Result::InvalidParameter;
    }
    core_->mixer()->render(out, frames);
    return Result::Ok;
}

uint64_t System::underrunCount() const {
    return core_->initialised() ? core_->mixer()->underruns() : 0;
}

void System::getCallbackLoad(double* median, double* p99) const {
    *median = 0.0;
    *p99 = 0.0;
    if (core_->initialised()) {
        core_->mixer()->callbackLoad(median, p99);
    }
}

int64_t System::firstSoundTime() const {
    return core_->initialised() ? core_->mixer()->firstSound() : 0;
}

Result createSoundFromDecoder(System* system, std::unique_ptr<Decoder> decoder, Mode mode,
                              Sound** sound) {
    if (system == nullptr || decoder == nullptr || sound == nullptr) {
        return Result::InvalidParameter;
    }
    return system->core().createSound(std::move(decoder), mode, sound);
}

} // namespace audio
