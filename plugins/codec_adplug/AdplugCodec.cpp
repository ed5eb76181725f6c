#include "AdplugCodec.h"

#include <adplug/adplug.h>
#include <adplug/nemuopl.h>

#include <algorithm>
#include <cstring>

namespace adplug_codec {

namespace {

// Frames the emulator renders per call.
constexpr size_t BlockFrames = 1024;

bool hasExtension(const CPlayerDesc& description, std::string_view extension) {
    for (unsigned i = 0; const char* candidate = description.get_extension(i); ++i) {
        if (extension == candidate) {
            return true;
        }
    }
    return false;
}

} // namespace

AdplugCodec::AdplugCodec(std::unique_ptr<Copl> opl, std::unique_ptr<MemoryFileProvider> provider)
    : opl_(std::move(opl)), provider_(std::move(provider)), scratch_(2 * BlockFrames) {}

std::unique_ptr<AdplugCodec> AdplugCodec::load(std::span<const uint8_t> data,
                                               std::string_view extension) {
    const std::string name = "song" + std::string(extension);
    std::unique_ptr<AdplugCodec> codec(new AdplugCodec(
        std::make_unique<CNemuopl>(SampleRate), std::make_unique<MemoryFileProvider>(name, data)));
    // Only the players of this extension: libadplug's own factory would go on to try every
    // loader on data they were not written for.
    for (const CPlayerDesc* description : CAdPlug::players) {
        if (description == nullptr || description->factory == nullptr ||
            !hasExtension(*description, extension)) {
            continue;
        }
        std::unique_ptr<CPlayer> player(description->factory(codec->opl_.get()));
        if (player && player->load(name, *codec->provider_)) {
            codec->player_ = std::move(player);
            break;
        }
    }
    if (!codec->player_) {
        return nullptr;
    }
    codec->formatName_ = codec->player_->gettype();
    codec->subsongs_ =
        static_cast<int>(std::clamp(codec->player_->getsubsongs(), 1u, unsigned{MaxSubsongs}));
    if (!codec->select(0)) {
        return nullptr;
    }
    return codec;
}

void AdplugCodec::describe(TamberloCodecInfo& info) const {
    info.sample_rate = SampleRate;
    info.channels = 2;
    info.length_frames = lengthFrames_;
    info.subsong_count = subsongs_;
    tamberlo_codec::setFormatName(info, formatName_);
}

uint64_t AdplugCodec::scanLength() {
    opl_->init();
    player_->rewind(subsong_);
    TickClock clock(SampleRate);
    uint64_t frames = 0;
    for (uint64_t tick = 0; tick < MaxLengthTicks; ++tick) {
        if (!player_->update()) {
            return frames;
        }
        frames = clock.advance(player_->getrefresh());
        if (clock.seconds() > MaxLengthSeconds) {
            break;
        }
    }
    return TAMBERLO_CODEC_UNKNOWN_LENGTH;
}

bool AdplugCodec::select(int index) {
    if (index < 0 || index >= subsongs_) {
        return false;
    }
    subsong_ = index;
    lengthFrames_ = scanLength();
    return restart();
}

bool AdplugCodec::restart() {
    opl_->init();
    player_->rewind(subsong_);
    clock_.reset();
    emitted_ = 0;
    tickEnd_ = 0;
    ended_ = false;
    return true;
}

bool AdplugCodec::jump(uint64_t frame) {
    restart();
    for (uint64_t tick = 0; tickEnd_ < frame; ++tick) {
        if (tick >= MaxSeekTicks || !player_->update()) {
            ended_ = true;
            emitted_ = tickEnd_;
            return false;
        }
        tickEnd_ = clock_.advance(player_->getrefresh());
    }
    emitted_ = frame;
    return true;
}

size_t AdplugCodec::decode(float* out, size_t frames) {
    size_t written = 0;
    while (written < frames && !ended_) {
        if (emitted_ == tickEnd_) {
            // The tick whose update() says the song is over is not played: the length scan
            // does not count it either.
            if (!player_->update()) {
                ended_ = true;
                break;
            }
            tickEnd_ = clock_.advance(player_->getrefresh());
            continue;
        }
        const size_t count = static_cast<size_t>(
            std::min<uint64_t>({frames - written, tickEnd_ - emitted_, BlockFrames}));
        opl_->update(scratch_.data(), static_cast<int>(count));
        for (size_t i = 0; i < 2 * count; ++i) {
            out[2 * written + i] = static_cast<float>(scratch_[i]) / 32768.0f;
        }
        written += count;
        emitted_ += count;
    }
    return written;
}

} // namespace adplug_codec
