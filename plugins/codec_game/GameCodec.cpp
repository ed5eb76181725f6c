// The plug-in for console and home-computer music played through libgme (see GameFormat.h for
// the formats claimed).
#include "CodecPlugin.h"
#include "GameFormat.h"
#include "GameTrack.h"
#include "Gunzip.h"

#include <algorithm>
#include <string>

namespace game_codec {

namespace {

// Frames emulated per decode call at most: bounds the work of one call whatever the data.
constexpr size_t MaxFramesPerCall = 4096;
constexpr size_t MaxFileBytes = 16 << 20;

class GameCodec final : public tamberlo_codec::Codec {
public:
    GameCodec(EmuPtr emu, const TrackPlan& plan, std::string formatName)
        : emu_(std::move(emu)), plan_(plan), formatName_(std::move(formatName)),
          samples_(2 * MaxFramesPerCall) {}

    void describe(TamberloCodecInfo& info) const override {
        info.sample_rate = SampleRate;
        info.channels = 2;
        info.length_frames = plan_.lengthFrames == UnknownLength ? TAMBERLO_CODEC_UNKNOWN_LENGTH
                                                                 : plan_.lengthFrames;
        info.subsong_count = std::max(1, gme_track_count(emu_.get()));
        tamberlo_codec::setFormatName(info, formatName_);
    }

protected:
    size_t decode(float* out, size_t frames) override {
        const bool known = plan_.lengthFrames != UnknownLength;
        const uint64_t end = known ? plan_.lengthFrames : MaxTrackFrames;
        if (next_ >= end || (!known && gme_track_ended(emu_.get()))) {
            return 0;
        }
        const size_t count =
            static_cast<size_t>(std::min<uint64_t>({frames, MaxFramesPerCall, end - next_}));
        if (gme_play(emu_.get(), static_cast<int>(2 * count), samples_.data()) != nullptr) {
            return 0; // an emulation error ends the track
        }
        const uint64_t fadeStart = end - plan_.fadeFrames;
        for (size_t i = 0; i < count; ++i) {
            const uint64_t frame = next_ + i;
            float gain = 1.0f / 32768.0f;
            if (frame >= fadeStart && plan_.fadeFrames > 0) {
                gain *= static_cast<float>(end - frame) / static_cast<float>(plan_.fadeFrames);
            }
            out[2 * i] = samples_[2 * i] * gain;
            out[2 * i + 1] = samples_[2 * i + 1] * gain;
        }
        next_ += count;
        return count;
    }

    bool restart() override { return select(track_); }

    bool select(int index) override {
        const auto plan = startTrack(*emu_, index);
        if (!plan) {
            return false;
        }
        track_ = index;
        plan_ = *plan;
        next_ = 0;
        return true;
    }

    // Seeking decodes and discards from the start (or from here, going forward): libgme's own
    // seek skips through the emulation with a different timing, which lands out of phase with
    // what plain decoding gives. Work is bounded by MaxTrackFrames.
    bool jump(uint64_t frame) override {
        const uint64_t end =
            plan_.lengthFrames != UnknownLength ? plan_.lengthFrames : MaxTrackFrames;
        if (frame > end) {
            // Past the end: leave the track at its end, so that the caller's fallback of
            // decoding forward stops at once instead of playing through the whole song.
            next_ = end;
        }
        return false;
    }

private:
    EmuPtr emu_;
    TrackPlan plan_;
    std::string formatName_;
    std::vector<short> samples_;
    int track_ = 0;
    uint64_t next_ = 0;
};

std::unique_ptr<tamberlo_codec::Codec> openGame(std::span<const uint8_t> data,
                                                const char* pathOrNull) {
    const auto head = data.first(std::min<size_t>(data.size(), 4096));
    auto format = identifyGameFormat(head, pathOrNull != nullptr ? pathOrNull : "");
    // A memory block has no name; the player only opens what the probe claimed by its name.
    if (!format && looksLikeHeaderlessGym(head, data.size() <= head.size())) {
        format = GameFormat{gme_gym_type, "GYM"};
    }
    if (!format) {
        return nullptr;
    }
    std::vector<uint8_t> inflated;
    if (format->gzipped) {
        auto bytes = gunzip(data, MaxFileBytes);
        if (!bytes) {
            return nullptr;
        }
        inflated = std::move(*bytes);
        data = inflated;
    }
    if (!isComplete(*format, data)) {
        return nullptr;
    }
    EmuPtr emu(gme_new_emu(format->type, SampleRate));
    // gme_load_data copies the data.
    if (!emu || gme_load_data(emu.get(), data.data(), static_cast<long>(data.size())) != nullptr ||
        gme_track_count(emu.get()) < 1) {
        return nullptr;
    }
    const auto plan = startTrack(*emu, 0);
    if (!plan) {
        return nullptr;
    }
    std::string name = format->label;
    const std::string system = systemName(*emu);
    if (!system.empty()) {
        name += " (" + system + ")";
    }
    return std::make_unique<GameCodec>(std::move(emu), *plan, std::move(name));
}

struct GamePlugin {
    static constexpr const char* Name = "game";
    static constexpr size_t MaxFileBytes = game_codec::MaxFileBytes;

    static tamberlo_codec::Claim probe(std::span<const uint8_t> head, std::string_view fileName) {
        const auto format = identifyGameFormat(head, fileName);
        if (!format) {
            return tamberlo_codec::Claim::No;
        }
        return format->isolated ? tamberlo_codec::Claim::Isolated : tamberlo_codec::Claim::Yes;
    }
    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data,
                                                       const char* pathOrNull) {
        return openGame(data, pathOrNull);
    }
};

} // namespace

} // namespace game_codec

TAMBERLO_CODEC_PLUGIN(game_codec::GamePlugin)
