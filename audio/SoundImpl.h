#pragma once
// What a Sound holds: its decoder (streams and open-only sounds) or its decoded PCM (samples),
// the facts reported by getLength/getType, the caller-side read cursor, and the channels that
// play it.
//
// Threading: GUI thread, except that the decoder is shared with playing channels' workers
// under SharedDecoder::mutex and the PCM is immutable once made. The decoder pointer itself
// never changes after make, so streamStatus and interruptStream reach it without that lock.

#include "Audio.h"
#include "FrameSource.h"

#include <memory>
#include <string>
#include <vector>

namespace audio {

class Sound::Impl {
public:
    // Longest sound decoded whole at creation: longer ones are refused rather than filling
    // memory (a sample is meant for short pieces).
    static constexpr uint64_t MaxSampleSeconds = 30 * 60;

    // Takes the decoder; for Sample mode (without OpenOnly) decodes it whole.
    static Result make(detail::SystemCore* core, std::unique_ptr<Decoder> decoder, Mode mode,
                       std::unique_ptr<Impl>* out);

    detail::SystemCore* core() const { return core_; }
    bool isStream() const { return pcm_ == nullptr; }
    int sampleRate() const { return sampleRate_; }
    uint64_t lengthFrames() const;
    int subsongCount() const;
    int64_t bitRate() const;

    // A fresh source for a channel, positioned at the start.
    std::shared_ptr<detail::FrameSource> playbackSource();
    std::vector<Channel>& channels() { return channels_; }

    Result getLength(unsigned* length, TimeUnit unit) const;
    SoundType type() const { return type_; }
    const std::string& formatName() const { return formatName_; }
    Result readData(void* buffer, unsigned bytes, unsigned* read);
    Result seekData(unsigned frame);
    // Without the decoder's lock: the decoder guards its status itself.
    StreamStatus streamStatus() const;
    // Ends the decoder's network waits for good (the sound is going away).
    void interruptStream();

private:
    Impl() = default;
    bool playing() const;

    detail::SystemCore* core_ = nullptr;
    int sampleRate_ = 44100;
    SoundType type_ = SoundType::Unknown;
    std::string formatName_;
    uint64_t rawBytes_ = 0;
    std::shared_ptr<detail::SharedDecoder> decoder_;
    std::shared_ptr<const std::vector<float>> pcm_;
    uint64_t pcmCursor_ = 0;
    std::vector<float> scratch_;
    std::vector<Channel> channels_;
    mutable int64_t lastBitRate_ = 0; // answers bitRate() while the worker holds the decoder
};

} // namespace audio
