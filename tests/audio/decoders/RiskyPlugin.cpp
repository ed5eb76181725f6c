// A codec plug-in that claims its files for decoding in a separate process and then, as the file
// says, plays a tone or misbehaves the way a library does on a damaged file. A file is one line:
//
//   RISKY <behaviour> <rate> <frequency> <frames> <subsongs> <failAt>
//
// Subsong i plays a mono sine of frequency * (i + 1) Hz at half amplitude for frames / (i + 1)
// frames. Behaviours: "tone" plays; "crash" writes through a null pointer, "abort" aborts and
// "hang" loops for ever when the frame failAt is due; "hangopen" loops for ever while opening.
#include "CodecPlugin.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>

namespace {

enum class Behaviour { Tone, Crash, Abort, Hang, HangOpen };

struct Description {
    Behaviour behaviour = Behaviour::Tone;
    int rate = 0;
    double frequency = 0;
    uint64_t frames = 0;
    int subsongs = 1;
    uint64_t failAt = 0;
};

[[noreturn]] void spinForEver() {
    volatile unsigned spins = 0;
    for (;;) {
        spins = spins + 1;
    }
}

class RiskyCodec final : public tamberlo_codec::Codec {
public:
    explicit RiskyCodec(const Description& description) : description_(description) {}

    void describe(TamberloCodecInfo& info) const override {
        info.sample_rate = description_.rate;
        info.channels = 1;
        info.length_frames = length();
        info.subsong_count = description_.subsongs;
        tamberlo_codec::setFormatName(info, "Risky tone");
    }

protected:
    size_t decode(float* out, size_t frames) override {
        if (description_.behaviour != Behaviour::Tone && next_ == description_.failAt) {
            fail();
        }
        const double step =
            2 * std::numbers::pi * description_.frequency * (subsong_ + 1) / description_.rate;
        size_t written = 0;
        while (written < frames && next_ < length() &&
               (description_.behaviour == Behaviour::Tone || next_ < description_.failAt)) {
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
        if (frame > length()) {
            return false;
        }
        next_ = frame;
        return true;
    }

private:
    uint64_t length() const { return description_.frames / static_cast<uint64_t>(subsong_ + 1); }

    void fail() const {
        switch (description_.behaviour) {
        case Behaviour::Crash:
            *static_cast<volatile int*>(nullptr) = 1;
            break;
        case Behaviour::Abort:
            std::abort();
        case Behaviour::Hang:
            spinForEver();
        default:
            break;
        }
    }

    Description description_;
    int subsong_ = 0;
    uint64_t next_ = 0;
};

constexpr char Magic[] = "RISKY ";

struct RiskyPlugin {
    static constexpr const char* Name = "risky";
    static constexpr size_t MaxFileBytes = 256;

    static tamberlo_codec::Claim probe(std::span<const uint8_t> head, std::string_view) {
        return tamberlo_codec::startsWith(head, Magic) ? tamberlo_codec::Claim::Isolated
                                                       : tamberlo_codec::Claim::No;
    }
    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data, const char*) {
        const std::string text(data.begin(), data.end());
        char behaviour[16] = {};
        Description d;
        unsigned long long frames = 0;
        unsigned long long failAt = 0;
        if (std::sscanf(text.c_str(), "RISKY %15s %d %lf %llu %d %llu", behaviour, &d.rate,
                        &d.frequency, &frames, &d.subsongs, &failAt) != 6) {
            return nullptr;
        }
        d.frames = frames;
        d.failAt = failAt;
        const std::string word = behaviour;
        if (word == "hangopen") {
            spinForEver();
        }
        d.behaviour = word == "crash"   ? Behaviour::Crash
                      : word == "abort" ? Behaviour::Abort
                      : word == "hang"  ? Behaviour::Hang
                                        : Behaviour::Tone;
        return std::make_unique<RiskyCodec>(d);
    }
};

} // namespace

TAMBERLO_CODEC_PLUGIN(RiskyPlugin)
