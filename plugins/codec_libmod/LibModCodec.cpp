// The libmod plug-in: libmodplug for ABC tunes. Plug-ins are asked before libopenmpt, so this
// one claims only what libopenmpt refuses and libmodplug plays audibly. Tried with generated
// files (tests/plugins/libmod checks this):
//
//   format                 libopenmpt   libmodplug                               claimed
//   ABC notation (text)    refuses      plays the tune: right rhythm, intervals  yes
//                                       and repeats, in its built-in voice
//   MIDI (.mid)            refuses      the same voice for every channel, drums  no
//                                       too: a song comes out as pitched beeps
//   tracker modules        plays        -                                        no
//
// The built-in voice stands in for instrument patches, which libmodplug looks for in a
// timidity.cfg under /usr/local/share/timidity; none are installed. It sounds two octaves above
// the written pitch, the melody intact. Each tune of a file (from its "X:" line) is a subsong.
// Output: 44100 Hz stereo float; the length is libmodplug's play-through, where decoding stops
// (what follows is silence; tunes without a length are refused); seeking is exact, by decoding
// and discarding.
#include "AbcText.h"
#include "CodecPlugin.h"
#include "ModPlugSong.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace {

using libmod_codec::ModPlugSong;

// libmodplug's module type bit for ABC tunes.
constexpr int AbcModuleType = 0x1000000;
// Tunes offered as subsongs; collections hold hundreds, more are left out.
constexpr size_t MaxTunes = 4096;
// libmodplug's ABC loader takes time that grows with the square of a tune's length: about 60 ms
// for 8 KiB of notes, 1 s for 32 KiB. Real tunes stay well below this; longer ones are refused.
constexpr size_t MaxTuneBytes = 32 * 1024;

// The tune `index` of `tunes` loaded on its own, or null when it is too long, or libmodplug does
// not play it as ABC or finds no length (a tune without notes it could place).
std::unique_ptr<ModPlugSong> loadTune(const libmod_codec::AbcTunes& tunes, size_t index) {
    std::vector<uint8_t> text = libmod_codec::tuneText(tunes, index);
    if (text.size() > MaxTuneBytes) {
        return nullptr;
    }
    auto song = ModPlugSong::load(std::move(text));
    if (!song || song->moduleType() != AbcModuleType || song->lengthFrames() == 0) {
        return nullptr;
    }
    return song;
}

class LibModCodec final : public tamberlo_codec::Codec {
public:
    LibModCodec(libmod_codec::AbcTunes tunes, std::unique_ptr<ModPlugSong> first)
        : tunes_(std::move(tunes)), song_(std::move(first)) {}

    void describe(TamberloCodecInfo& info) const override {
        info.sample_rate = ModPlugSong::Rate;
        info.channels = 2;
        info.length_frames = song_->lengthFrames();
        info.subsong_count = static_cast<int32_t>(tunes_.tunes.size());
        tamberlo_codec::setFormatName(info, "ABC tune");
    }

protected:
    size_t decode(float* out, size_t frames) override {
        const uint64_t length = song_->lengthFrames();
        frames =
            static_cast<size_t>(std::min<uint64_t>(frames, length - std::min(played_, length)));
        const size_t got = frames > 0 ? song_->render(out, frames) : 0;
        played_ += got;
        return got;
    }
    bool restart() override {
        song_->rewind();
        played_ = 0;
        return true;
    }
    bool select(int index) override {
        if (index < 0 || static_cast<size_t>(index) >= tunes_.tunes.size()) {
            return false;
        }
        auto song = loadTune(tunes_, static_cast<size_t>(index));
        if (!song) {
            return false;
        }
        song_ = std::move(song);
        played_ = 0;
        return true;
    }

private:
    libmod_codec::AbcTunes tunes_; // views into the file's bytes, which outlive the codec
    std::unique_ptr<ModPlugSong> song_;
    uint64_t played_ = 0; // frames rendered since the tune's start
};

struct LibModPlugin {
    static constexpr const char* Name = "libmod";
    // ABC files are text; even large collections of tunes stay far below this.
    static constexpr size_t MaxFileBytes = size_t{4} << 20;

    static bool probe(std::span<const uint8_t> head, std::string_view) {
        return libmod_codec::looksLikeAbcTune(head);
    }
    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data, const char*) {
        auto tunes = libmod_codec::findAbcTunes(
            {reinterpret_cast<const char*>(data.data()), data.size()}, MaxTunes);
        // The probe saw only the head: the first tune must still be what libmodplug plays as
        // ABC, not some other format it also knows.
        auto first = loadTune(tunes, 0);
        if (!first) {
            return nullptr;
        }
        return std::make_unique<LibModCodec>(std::move(tunes), std::move(first));
    }
};

} // namespace

TAMBERLO_CODEC_PLUGIN(LibModPlugin)
