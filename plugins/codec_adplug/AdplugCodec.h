#pragma once
// One AdLib song played by libadplug: the format's player drives a Nuked OPL3 emulator at the
// chip's own rate, stereo (Nuked keeps all its state in the instance, so songs on different
// threads do not share anything). The length of a subsong is found by running its player silently
// (bounded to MaxLengthSeconds of song time); longer or endless songs have an unknown length.
//
// Threading: as tamberlo_codec::Codec: one thread at a time.

#include "CodecPlugin.h"
#include "MemoryFileProvider.h"
#include "TickClock.h"

#include <adplug/opl.h>
#include <adplug/player.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace adplug_codec {

class AdplugCodec final : public tamberlo_codec::Codec {
public:
    // The OPL2's own sample rate (14.31818 MHz / 288): no resampling in the emulator.
    static constexpr int SampleRate = 49716;
    // Songs that play longer than this count as of unknown length.
    static constexpr double MaxLengthSeconds = 20 * 60;
    // Most player ticks the length scan runs (20 minutes at 1250 Hz).
    static constexpr uint64_t MaxLengthTicks = 1'500'000;
    // Most player ticks a seek runs through.
    static constexpr uint64_t MaxSeekTicks = 4 * MaxLengthTicks;
    // Subsongs offered at most.
    static constexpr int MaxSubsongs = 256;

    // Loads `data` (which must outlive the codec) with the libadplug players of the file-name
    // `extension` (e.g. ".dro"), never trying other players. Null when none of them accepts it.
    static std::unique_ptr<AdplugCodec> load(std::span<const uint8_t> data,
                                             std::string_view extension);

    void describe(TamberloCodecInfo& info) const override;

protected:
    size_t decode(float* out, size_t frames) override;
    bool restart() override;
    bool select(int index) override;
    // Runs the player's ticks up to `frame` without rendering sound, so a seek costs the
    // player's work only. Held notes start their envelopes anew there. False past the end
    // (the song is then at its end).
    bool jump(uint64_t frame) override;

private:
    AdplugCodec(std::unique_ptr<Copl> opl, std::unique_ptr<MemoryFileProvider> provider);

    // Frames of the selected subsong, or TAMBERLO_CODEC_UNKNOWN_LENGTH.
    uint64_t scanLength();

    std::unique_ptr<Copl> opl_; // outlives the player, which writes to it
    std::unique_ptr<MemoryFileProvider> provider_;
    std::unique_ptr<CPlayer> player_;
    std::string formatName_;
    int subsongs_ = 1;
    int subsong_ = 0;
    uint64_t lengthFrames_ = TAMBERLO_CODEC_UNKNOWN_LENGTH;

    TickClock clock_{SampleRate};
    uint64_t emitted_ = 0; // frames put out since the subsong's start
    uint64_t tickEnd_ = 0; // frame at which the current tick ends
    bool ended_ = false;
    std::vector<short> scratch_;
};

} // namespace adplug_codec
