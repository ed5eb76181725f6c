// The audiofile plug-in: libaudiofile for the sound-file formats the player's FFmpeg does not
// open. Plug-ins are asked before FFmpeg, so this one claims only formats FFmpeg refuses or
// gets wrong, and leaves the rest to FFmpeg, which gives them their proper type (e.g. "AIFF").
// Tone files of every format libaudiofile reads, made with sox and opened both ways, decide:
//
//   format                       FFmpeg in the player             here
//   Sample Vision (.smp)         refused (no demuxer)             claimed
//   IRCAM / BICSF (.sf)          refused (demuxer not allowed)    claimed
//   AVR (.avr)                   refused (demuxer not allowed)    claimed
//   IFF 8SVX (.8svx)             refused (demuxer not allowed)    claimed
//   NIST SPHERE (.sph)           refused (demuxer not allowed)    claimed
//   AIFF, AIFF-C (any codec)     right length, rate and pitch     FFmpeg's
//   AU/SND (PCM, G.711, float)   right                            FFmpeg's
//   WAVE (PCM, G.711, ADPCM)     right                            FFmpeg's
//   VOC, CAF                     right                            FFmpeg's
//
// (tests/plugins/audiofile checks this table.) Output is float at the file's own rate, mono or
// stereo; files with more channels are mixed down to stereo.
#include "AudioFileFormats.h"
#include "AudioFileHandle.h"
#include "CodecPlugin.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace {

using audiofile_codec::FileHandle;
using audiofile_codec::MemoryCursor;

// Most frames one decode() call reads: bounded work whatever the caller asks for.
constexpr size_t MaxFramesPerRead = 16384;
// Files with more channels than this are taken for broken headers.
constexpr int MaxChannels = 64;
constexpr double MinRate = 1000;
constexpr double MaxRate = 768000;

// What the header promises, checked against the file's size.
struct TrackFacts {
    int channels = 0;
    int rate = 0;
    uint64_t frames = 0;
    int64_t bitRate = 0;
};

std::optional<TrackFacts> checkedFacts(AFfilehandle file, uint64_t fileBytes) {
    TrackFacts facts;
    facts.channels = afGetChannels(file, AF_DEFAULT_TRACK);
    const double rate = afGetRate(file, AF_DEFAULT_TRACK);
    const AFframecount frames = afGetFrameCount(file, AF_DEFAULT_TRACK);
    const AFfileoffset offset = afGetDataOffset(file, AF_DEFAULT_TRACK);
    const AFfileoffset trackBytes = afGetTrackBytes(file, AF_DEFAULT_TRACK);
    if (facts.channels < 1 || facts.channels > MaxChannels || !(rate >= MinRate) ||
        !(rate <= MaxRate) || frames <= 0 || offset < 0 || trackBytes <= 0) {
        return std::nullopt;
    }
    // A truncated file, or a header that promises more than the file holds.
    if (static_cast<uint64_t>(offset) > fileBytes ||
        static_cast<uint64_t>(trackBytes) > fileBytes - static_cast<uint64_t>(offset)) {
        return std::nullopt;
    }
    if (afGetCompression(file, AF_DEFAULT_TRACK) == AF_COMPRESSION_NONE) {
        const double frameBytes = afGetFrameSize(file, AF_DEFAULT_TRACK, 0);
        if (!(frameBytes >= 1) ||
            static_cast<double>(frames) * frameBytes > static_cast<double>(trackBytes)) {
            return std::nullopt;
        }
    } else if (static_cast<uint64_t>(frames) >
               4 * static_cast<uint64_t>(trackBytes) / static_cast<uint64_t>(facts.channels)) {
        // No codec libaudiofile knows packs a sample into less than two bits.
        return std::nullopt;
    }
    facts.rate = static_cast<int>(std::lround(rate));
    facts.frames = static_cast<uint64_t>(frames);
    facts.bitRate =
        std::llround(static_cast<double>(trackBytes) * 8 * rate / static_cast<double>(frames));
    return facts;
}

class AudioFileCodec final : public tamberlo_codec::Codec {
public:
    static std::unique_ptr<AudioFileCodec> open(std::span<const uint8_t> data) {
        if (!audiofile_codec::fitsInFile(data)) {
            return nullptr;
        }
        // The cursor lives on the heap so that it stays put when the codec is moved into place.
        auto cursor = std::make_unique<MemoryCursor>();
        cursor->data = data;
        FileHandle file = audiofile_codec::openMemoryAudioFile(*cursor);
        if (!file) {
            return nullptr;
        }
        const std::string_view name =
            audiofile_codec::formatDisplayName(afGetFileFormat(file.get(), nullptr));
        const auto facts = checkedFacts(file.get(), data.size());
        if (name.empty() || !facts) {
            return nullptr;
        }
        // Frames arrive as float with the file's channels; decode() mixes more than two down.
        if (afSetVirtualSampleFormat(file.get(), AF_DEFAULT_TRACK, AF_SAMPFMT_FLOAT, 32) != 0) {
            return nullptr;
        }
        return std::unique_ptr<AudioFileCodec>(
            new AudioFileCodec(std::move(cursor), std::move(file), name, *facts));
    }

    void describe(TamberloCodecInfo& info) const override {
        info.sample_rate = facts_.rate;
        info.channels = std::min(facts_.channels, 2);
        info.length_frames = facts_.frames;
        info.subsong_count = 1;
        info.bit_rate = facts_.bitRate;
        tamberlo_codec::setFormatName(info, formatName_);
    }

protected:
    size_t decode(float* out, size_t frames) override {
        frames = std::min({frames, MaxFramesPerRead, remaining()});
        if (frames == 0) {
            return 0;
        }
        if (facts_.channels <= 2) {
            return framesRead(
                afReadFrames(file_.get(), AF_DEFAULT_TRACK, out, static_cast<int>(frames)));
        }
        scratch_.resize(frames * static_cast<size_t>(facts_.channels));
        const size_t got = framesRead(
            afReadFrames(file_.get(), AF_DEFAULT_TRACK, scratch_.data(), static_cast<int>(frames)));
        mixToStereo(out, got);
        return got;
    }
    bool restart() override { return jump(0); }
    bool select(int index) override { return index == 0 && restart(); }
    bool jump(uint64_t frame) override {
        if (frame > facts_.frames) {
            return false;
        }
        const auto target = static_cast<AFframecount>(frame);
        if (afSeekFrame(file_.get(), AF_DEFAULT_TRACK, target) != target) {
            return false;
        }
        next_ = frame;
        return true;
    }

private:
    AudioFileCodec(std::unique_ptr<MemoryCursor> cursor, FileHandle file, std::string_view name,
                   const TrackFacts& facts)
        : cursor_(std::move(cursor)), file_(std::move(file)), formatName_(name), facts_(facts) {}

    size_t remaining() const { return static_cast<size_t>(facts_.frames - next_); }

    size_t framesRead(int result) {
        const size_t got = result > 0 ? static_cast<size_t>(result) : 0;
        next_ += got;
        return got;
    }

    // Even channels to the left, odd ones to the right, each side averaged.
    void mixToStereo(float* out, size_t frames) const {
        const auto channels = static_cast<size_t>(facts_.channels);
        const float leftScale = 1.0f / static_cast<float>((channels + 1) / 2);
        const float rightScale = 1.0f / static_cast<float>(channels / 2);
        for (size_t i = 0; i < frames; ++i) {
            const float* frame = scratch_.data() + i * channels;
            float left = 0, right = 0;
            for (size_t c = 0; c < channels; c += 2) {
                left += frame[c];
            }
            for (size_t c = 1; c < channels; c += 2) {
                right += frame[c];
            }
            out[2 * i] = left * leftScale;
            out[2 * i + 1] = right * rightScale;
        }
    }

    // Declared first: the file reads through the cursor until it is closed.
    std::unique_ptr<MemoryCursor> cursor_;
    FileHandle file_;
    std::string_view formatName_; // one of formatDisplayName's literals
    TrackFacts facts_;
    uint64_t next_ = 0; // the next frame afReadFrames delivers
    std::vector<float> scratch_;
};

struct AudioFilePlugin {
    static constexpr const char* Name = "audiofile";
    static constexpr size_t MaxFileBytes = size_t{512} << 20;

    static bool probe(std::span<const uint8_t> head, std::string_view) {
        return audiofile_codec::isClaimedFormat(head);
    }
    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data, const char*) {
        return AudioFileCodec::open(data);
    }
};

} // namespace

TAMBERLO_CODEC_PLUGIN(AudioFilePlugin)
