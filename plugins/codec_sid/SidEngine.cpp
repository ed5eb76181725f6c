#include "SidEngine.h"

#include <sidplayfp/SidConfig.h>
#include <sidplayfp/SidInfo.h>
#include <sidplayfp/SidTune.h>
#include <sidplayfp/SidTuneInfo.h>
#include <sidplayfp/builders/residfp.h>
#include <sidplayfp/sidplayfp.h>

#include <mutex>

namespace sid {

namespace {
// A fixed delay between power-on and the tune's init, so that every start of a subsong sounds
// the same, as seeking by decoding from the start needs (the library's default picks a random
// delay; its output dither still varies the lowest bit).
constexpr uint_least16_t PowerOnDelayCycles = 0;

// Engines are set up one at a time: the first chip created in the process fills tables that
// all chips share, and nothing promises that doing so from two threads at once is safe.
std::mutex setupMutex;
} // namespace

SidEngine::SidEngine() = default;
SidEngine::~SidEngine() = default;

std::unique_ptr<SidEngine> SidEngine::open(std::span<const uint8_t> file, int sampleRate) {
    std::unique_ptr<SidEngine> sid(new SidEngine());
    sid->file_.assign(file.begin(), file.end());
    sid->tune_ = std::make_unique<SidTune>(sid->file_.data(),
                                           static_cast<uint_least32_t>(sid->file_.size()));
    if (!sid->tune_->getStatus()) {
        return nullptr;
    }
    const SidTuneInfo* info = sid->tune_->getInfo();
    if (info == nullptr || info->songs() < 1 ||
        info->compatibility() == SidTuneInfo::COMPATIBILITY_BASIC) {
        return nullptr;
    }
    sid->subsongs_ = static_cast<int>(info->songs());
    sid->channels_ = info->sidChips() > 1 ? 2 : 1;
    sid->sampleRate_ = sampleRate;
    if (!sid->start(0)) {
        return nullptr;
    }
    return sid;
}

bool SidEngine::start(int index) {
    if (index < 0 || index >= subsongs_) {
        return false;
    }
    // selectSong counts from 1 (0 means the file's default).
    if (tune_->selectSong(static_cast<unsigned>(index + 1)) != static_cast<unsigned>(index + 1)) {
        return false;
    }
    // A fresh engine and chips each time: loading the tune again into a used engine keeps some
    // chip state, so the same subsong would not sound the same twice.
    const std::lock_guard lock(setupMutex);
    ready_ = false;
    engine_.reset();
    builder_ = std::make_unique<ReSIDfpBuilder>("Tamberlo");
    engine_ = std::make_unique<sidplayfp>();
    builder_->create(engine_->info().maxsids());
    if (!builder_->getStatus()) {
        return false;
    }
    SidConfig config;
    config.frequency = static_cast<uint_least32_t>(sampleRate_);
    config.playback = channels_ == 2 ? SidConfig::STEREO : SidConfig::MONO;
    config.defaultC64Model = SidConfig::PAL;
    config.defaultSidModel = SidConfig::MOS6581;
    config.samplingMethod = SidConfig::INTERPOLATE;
    config.powerOnDelay = PowerOnDelayCycles;
    config.sidEmulation = builder_.get();
    ready_ = engine_->config(config) && engine_->load(tune_.get());
    return ready_;
}

size_t SidEngine::render(int16_t* out, size_t frames) {
    if (!ready_) {
        return 0;
    }
    const auto samples = static_cast<uint_least32_t>(frames * static_cast<size_t>(channels_));
    const uint_least32_t got = engine_->play(out, samples);
    return got / static_cast<unsigned>(channels_);
}

} // namespace sid
