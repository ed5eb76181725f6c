#include "SoundImpl.h"
#include "SystemCore.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace audio {
namespace {

unsigned clampToUnsigned(uint64_t value) {
    return static_cast<unsigned>(std::min<uint64_t>(value, UnknownLength - 1));
}

// Clamped before rounding: lrint of an infinity or of NaN has no defined result. NaN is silence.
int16_t toPcm16(float value) {
    if (value != value) {
        return 0;
    }
    const double scaled = std::clamp(static_cast<double>(value) * 32768.0, -32768.0, 32767.0);
    return static_cast<int16_t>(std::lrint(scaled));
}

} // namespace

Result Sound::Impl::make(detail::SystemCore* core, std::unique_ptr<Decoder> decoder, Mode mode,
                         std::unique_ptr<Impl>* out) {
    std::unique_ptr<Impl> impl(new Impl());
    impl->core_ = core;
    impl->sampleRate_ = decoder->sampleRate();
    impl->type_ = decoder->type();
    impl->formatName_ = decoder->formatName();
    impl->rawBytes_ = decoder->lengthRawBytes();
    impl->lastBitRate_ = decoder->bitRate();
    // A source without a known end (a live stream) cannot be decoded whole; it plays as a
    // stream whatever the mode asked.
    const uint64_t known = decoder->lengthFrames();
    const bool wholeSample =
        !hasMode(mode, Mode::Stream) && !hasMode(mode, Mode::OpenOnly) && known != UnknownFrames;
    if (wholeSample) {
        const uint64_t limit = MaxSampleSeconds * static_cast<uint64_t>(impl->sampleRate_);
        if (known > limit) {
            return Result::OutOfMemory;
        }
        auto pcm = std::make_shared<std::vector<float>>();
        pcm->reserve(static_cast<size_t>(known) * 2);
        std::vector<float> block(4096 * 2);
        for (;;) {
            const size_t frames = decoder->read(block.data(), 4096);
            if (frames == 0) {
                break;
            }
            if (pcm->size() / 2 + frames > limit) {
                return Result::OutOfMemory; // the source runs far past its reported length
            }
            pcm->insert(pcm->end(), block.begin(), block.begin() + static_cast<long>(frames * 2));
        }
        impl->pcm_ = std::move(pcm);
    }
    impl->decoder_ = std::make_shared<detail::SharedDecoder>();
    impl->decoder_->decoder = std::move(decoder);
    *out = std::move(impl);
    return Result::Ok;
}

uint64_t Sound::Impl::lengthFrames() const {
    if (pcm_ != nullptr) {
        return pcm_->size() / 2;
    }
    std::lock_guard lock(decoder_->mutex);
    return decoder_->decoder->lengthFrames();
}

int Sound::Impl::subsongCount() const {
    std::lock_guard lock(decoder_->mutex);
    return decoder_->decoder->subsongCount();
}

int64_t Sound::Impl::bitRate() const {
    // Asked on every display tick: a worker that holds the decoder through a long network wait
    // (a stalled read, a reconnect's back-off) must not stall the caller, so the last known
    // rate answers then.
    std::unique_lock lock(decoder_->mutex, std::try_to_lock);
    if (lock.owns_lock()) {
        lastBitRate_ = decoder_->decoder->bitRate();
    }
    return lastBitRate_;
}

StreamStatus Sound::Impl::streamStatus() const {
    return decoder_->decoder->streamStatus();
}

void Sound::Impl::interruptStream() {
    decoder_->decoder->interrupt();
}

std::shared_ptr<detail::FrameSource> Sound::Impl::playbackSource() {
    if (pcm_ != nullptr) {
        return std::make_shared<detail::PcmFrameSource>(pcm_);
    }
    {
        // readData may have moved the decoder; a live stream cannot seek and simply goes on.
        std::lock_guard lock(decoder_->mutex);
        decoder_->decoder->seek(0);
    }
    return std::make_shared<detail::DecoderFrameSource>(decoder_);
}

Result Sound::Impl::getLength(unsigned* length, TimeUnit unit) const {
    if (length == nullptr) {
        return Result::InvalidParameter;
    }
    const uint64_t frames = lengthFrames();
    switch (unit) {
    case TimeUnit::Ms:
        *length = frames == UnknownFrames
                      ? UnknownLength
                      : clampToUnsigned(frames * 1000 / static_cast<uint64_t>(sampleRate_));
        return Result::Ok;
    case TimeUnit::Pcm:
        *length = frames == UnknownFrames ? UnknownLength : clampToUnsigned(frames);
        return Result::Ok;
    case TimeUnit::RawBytes:
        *length = clampToUnsigned(rawBytes_);
        return Result::Ok;
    case TimeUnit::SubsongCount:
        *length = static_cast<unsigned>(std::max(1, subsongCount()));
        return Result::Ok;
    }
    return Result::InvalidParameter;
}

bool Sound::Impl::playing() const {
    return std::any_of(channels_.begin(), channels_.end(), [](const Channel& channel) {
        bool isPlaying = false;
        return channel.isPlaying(&isPlaying) == Result::Ok && isPlaying;
    });
}

Result Sound::Impl::readData(void* buffer, unsigned bytes, unsigned* read) {
    if (read != nullptr) {
        *read = 0;
    }
    if (buffer == nullptr) {
        return Result::InvalidParameter;
    }
    if (playing()) {
        return Result::Unsupported;
    }
    auto* out = static_cast<int16_t*>(buffer);
    const size_t wanted = bytes / 4;
    size_t done = 0;
    if (pcm_ != nullptr) {
        const uint64_t total = pcm_->size() / 2;
        const size_t n = pcmCursor_ < total
                             ? static_cast<size_t>(std::min<uint64_t>(wanted, total - pcmCursor_))
                             : 0;
        for (size_t i = 0; i < n * 2; ++i) {
            out[i] = toPcm16((*pcm_)[pcmCursor_ * 2 + i]);
        }
        pcmCursor_ += n;
        done = n;
    } else {
        scratch_.resize(4096 * 2);
        std::lock_guard lock(decoder_->mutex);
        while (done < wanted) {
            const size_t n =
                decoder_->decoder->read(scratch_.data(), std::min<size_t>(4096, wanted - done));
            if (n == 0) {
                break;
            }
            for (size_t i = 0; i < n * 2; ++i) {
                out[done * 2 + i] = toPcm16(scratch_[i]);
            }
            done += n;
        }
    }
    if (read != nullptr) {
        *read = static_cast<unsigned>(done * 4);
    }
    return done == 0 && wanted > 0 ? Result::FileEndOfData : Result::Ok;
}

Result Sound::Impl::seekData(unsigned frame) {
    if (playing()) {
        return Result::Unsupported;
    }
    if (pcm_ != nullptr) {
        if (frame > pcm_->size() / 2) {
            return Result::SeekFailed;
        }
        pcmCursor_ = frame;
        return Result::Ok;
    }
    std::lock_guard lock(decoder_->mutex);
    return decoder_->decoder->seek(frame);
}

Sound::Sound(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Sound::~Sound() = default;

Result Sound::getLength(unsigned* length, TimeUnit unit) const {
    return impl_->getLength(length, unit);
}

Result Sound::getType(SoundType* type) const {
    if (type == nullptr) {
        return Result::InvalidParameter;
    }
    *type = impl_->type();
    return Result::Ok;
}

Result Sound::getFormatName(std::string* name) const {
    if (name == nullptr) {
        return Result::InvalidParameter;
    }
    *name = impl_->formatName();
    return Result::Ok;
}

Result Sound::getDefaultFrequency(float* hz) const {
    if (hz == nullptr) {
        return Result::InvalidParameter;
    }
    *hz = static_cast<float>(impl_->sampleRate());
    return Result::Ok;
}

Result Sound::readData(void* buffer, unsigned bytes, unsigned* read) {
    return impl_->readData(buffer, bytes, read);
}

Result Sound::seekData(unsigned frame) {
    return impl_->seekData(frame);
}

Result Sound::getStreamStatus(StreamStatus* status) const {
    if (status == nullptr) {
        return Result::InvalidParameter;
    }
    *status = impl_->streamStatus();
    return Result::Ok;
}

Result Sound::release() {
    // First, so that a worker waiting on the network lets go of the decoder at once.
    impl_->interruptStream();
    impl_->core()->forgetSound(this);
    delete this;
    return Result::Ok;
}

} // namespace audio
