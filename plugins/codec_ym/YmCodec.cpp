// The plug-in for YM register dumps (see YmFile.h), played by our YM2149 emulation.
#include "CodecPlugin.h"
#include "YmFile.h"
#include "YmPlayer.h"

namespace {

class YmCodec final : public tamberlo_codec::Codec {
public:
    YmCodec(ym::YmSong song, size_t fileBytes) : player_(std::move(song)), fileBytes_(fileBytes) {}

    void describe(TamberloCodecInfo& info) const override {
        info.sample_rate = ym::YmPlayer::SampleRate;
        info.channels = 1; // the YM2149 of the Atari ST has one output
        info.length_frames = player_.lengthSamples();
        info.subsong_count = 1;
        const double seconds =
            static_cast<double>(player_.lengthSamples()) / ym::YmPlayer::SampleRate;
        info.bit_rate = seconds > 0 ? static_cast<int64_t>(8.0 * fileBytes_ / seconds) : 0;
        tamberlo_codec::setFormatName(info, ym::formatName(player_.song()));
    }

protected:
    size_t decode(float* out, size_t frames) override { return player_.render(out, frames); }
    bool restart() override { return player_.seek(0); }
    bool select(int index) override { return index == 0 && restart(); }
    bool jump(uint64_t frame) override {
        if (frame > player_.lengthSamples()) {
            // Park at the end so the adapter's fallback finds no more data at once instead of
            // playing through the rest of the song.
            player_.seek(player_.lengthSamples());
            return false;
        }
        return player_.seek(frame);
    }

private:
    ym::YmPlayer player_;
    size_t fileBytes_;
};

struct YmPlugin {
    static constexpr const char* Name = "ym";
    static constexpr size_t MaxFileBytes = size_t{64} << 20;

    static bool probe(std::span<const uint8_t> head, std::string_view fileName) {
        return ym::looksLikeYm(head, fileName);
    }
    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data, const char*) {
        auto song = ym::parseYm(data);
        if (!song) {
            return nullptr;
        }
        return std::make_unique<YmCodec>(std::move(*song), data.size());
    }
};

} // namespace

TAMBERLO_CODEC_PLUGIN(YmPlugin)
