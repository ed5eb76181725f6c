// The plug-in for Future Composer 1.3 and 1.4 modules, replayed by our own code (FcReplay.h).
#include "CodecPlugin.h"
#include "FcModule.h"
#include "FcReplay.h"

#include <memory>

namespace {

// Songs longer than this report an unknown length (the player then applies its time limit);
// they still stop at the end of their sequence.
constexpr uint64_t MaxKnownSongTicks = 30ull * 60 * fc::TicksPerSecond;

class FcCodec final : public tamberlo_codec::Codec {
public:
    explicit FcCodec(fc::Module module) : module_(std::move(module)), replay_(module_) {}

    bool playable() const { return replay_.songTicks() > 0; }

    void describe(TamberloCodecInfo& info) const override {
        info.sample_rate = fc::OutputRate;
        info.channels = 2;
        info.length_frames = replay_.songTicks() <= MaxKnownSongTicks
                                 ? replay_.songFrames()
                                 : TAMBERLO_CODEC_UNKNOWN_LENGTH;
        info.subsong_count = 1;
        tamberlo_codec::setFormatName(info, module_.version() == fc::Version::Fc13
                                                ? "Future Composer 1.3"
                                                : "Future Composer 1.4");
    }

protected:
    size_t decode(float* out, size_t frames) override { return replay_.render(out, frames); }
    bool restart() override {
        replay_.restart();
        return true;
    }
    bool select(int index) override { return index == 0 && restart(); }
    bool jump(uint64_t frame) override {
        if (frame > replay_.songFrames()) {
            return false;
        }
        replay_.skipTo(frame);
        return true;
    }

private:
    fc::Module module_;
    fc::Replay replay_;
};

struct FcPlugin {
    static constexpr const char* Name = "fc";
    // Ten samples of at most 128 KiB and the rest are far below this.
    static constexpr size_t MaxFileBytes = 4u << 20;

    static bool probe(std::span<const uint8_t> head, std::string_view) {
        // Less than 4 KiB means the head is the whole file.
        return fc::looksLikeModule(head, head.size() < 4096);
    }
    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data, const char*) {
        auto module = fc::Module::parse(data);
        if (!module) {
            return nullptr;
        }
        auto codec = std::make_unique<FcCodec>(std::move(*module));
        return codec->playable() ? std::move(codec) : nullptr;
    }
};

} // namespace

TAMBERLO_CODEC_PLUGIN(FcPlugin)
