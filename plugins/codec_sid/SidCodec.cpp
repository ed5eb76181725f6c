// The plug-in for C64 SID tunes: PSID and RSID files, every subsong, played by libsidplayfp.
// SID files carry no length (players look it up in a song-length database, which is not here),
// so every subsong plays until the player's time limit stops it; seeking decodes and discards.
#include "CodecPlugin.h"
#include "SidEngine.h"
#include "SidHeader.h"

#include <algorithm>
#include <array>

namespace {

constexpr int SampleRate = 44100;
// Frames rendered per decode call at most: about 93 ms of emulation, a bounded amount of
// work whatever the caller asks for.
constexpr size_t MaxFramesPerCall = 4096;

class SidCodec final : public tamberlo_codec::Codec {
public:
    SidCodec(std::unique_ptr<sid::SidEngine> engine, sid::SidKind kind)
        : engine_(std::move(engine)), kind_(kind) {}

    void describe(TamberloCodecInfo& info) const override {
        info.sample_rate = SampleRate;
        info.channels = engine_->channels();
        info.length_frames = TAMBERLO_CODEC_UNKNOWN_LENGTH;
        info.subsong_count = engine_->subsongCount();
        tamberlo_codec::setFormatName(info, kind_ == sid::SidKind::Rsid ? "C64 RSID" : "C64 PSID");
    }

protected:
    size_t decode(float* out, size_t frames) override {
        const size_t channels = static_cast<size_t>(engine_->channels());
        const size_t wanted = std::min(frames, MaxFramesPerCall);
        const size_t got = engine_->render(samples_.data(), wanted);
        for (size_t i = 0; i < got * channels; ++i) {
            out[i] = static_cast<float>(samples_[i]) * (1.0f / 32768.0f);
        }
        return got;
    }
    bool restart() override { return engine_->start(subsong_); }
    bool select(int index) override {
        if (!engine_->start(index)) {
            return false;
        }
        subsong_ = index;
        return true;
    }

private:
    std::unique_ptr<sid::SidEngine> engine_;
    sid::SidKind kind_;
    int subsong_ = 0;
    std::array<int16_t, 2 * MaxFramesPerCall> samples_{};
};

struct SidPlugin {
    static constexpr const char* Name = "sid";
    // A tune fills at most the C64's 64 KiB plus its load address and header.
    static constexpr size_t MaxFileBytes = 0x7C + 2 + 65536;

    static bool probe(std::span<const uint8_t> head, std::string_view) {
        return sid::readSidHeader(head).has_value();
    }
    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data, const char*) {
        const auto header = sid::readSidHeader(data);
        if (!header || data.size() <= header->dataOffset) {
            return nullptr;
        }
        auto engine = sid::SidEngine::open(data, SampleRate);
        if (!engine) {
            return nullptr;
        }
        return std::make_unique<SidCodec>(std::move(engine), header->kind);
    }
};

} // namespace

TAMBERLO_CODEC_PLUGIN(SidPlugin)
