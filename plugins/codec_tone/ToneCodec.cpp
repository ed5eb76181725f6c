// The plug-in for ".tone" descriptions (see ToneDescription.h).
#include "CodecPlugin.h"
#include "ToneDescription.h"

#include <cmath>
#include <numbers>

namespace {

class ToneCodec final : public tamberlo_codec::Codec {
public:
    explicit ToneCodec(const tone::ToneDescription& description) : description_(description) {}

    void describe(TamberloCodecInfo& info) const override {
        info.sample_rate = description_.rate;
        info.channels = 1;
        info.length_frames = description_.frames;
        info.subsong_count = description_.subsongs;
        tamberlo_codec::setFormatName(info, "Tamberlo tone");
    }

protected:
    size_t decode(float* out, size_t frames) override {
        const double step =
            2 * std::numbers::pi * description_.frequency * (subsong_ + 1) / description_.rate;
        size_t written = 0;
        while (written < frames && next_ < description_.frames) {
            out[written++] =
                static_cast<float>(0.5 * std::sin(step * static_cast<double>(next_++)));
        }
        return written;
    }
    bool restart() override {
        next_ = 0;
        return true;
    }
    bool select(int index) override {
        if (index < 0 || index >= description_.subsongs) {
            return false;
        }
        subsong_ = index;
        return restart();
    }
    bool jump(uint64_t frame) override {
        if (frame > description_.frames) {
            return false;
        }
        next_ = frame;
        return true;
    }

private:
    tone::ToneDescription description_;
    int subsong_ = 0;
    uint64_t next_ = 0;
};

struct TonePlugin {
    static constexpr const char* Name = "tone";
    static constexpr size_t MaxFileBytes = 4096;

    static bool probe(std::span<const uint8_t> head, std::string_view) {
        return tone::hasMagic(head.data(), head.size());
    }
    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data, const char*) {
        const auto description =
            tone::parseToneDescription(reinterpret_cast<const char*>(data.data()), data.size());
        if (!description) {
            return nullptr;
        }
        return std::make_unique<ToneCodec>(*description);
    }
};

} // namespace

TAMBERLO_CODEC_PLUGIN(TonePlugin)
