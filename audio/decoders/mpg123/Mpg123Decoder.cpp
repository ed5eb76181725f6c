#include "Mpg123Decoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace audio::mpg123_decoder {

namespace {

constexpr size_t FrameBytes = 2 * sizeof(float); // one stereo float frame
// Frames decoded at open to prove the data decodes; handed out by the first reads.
constexpr size_t FirstBlockFrames = 2048;
// Calls in a row that bring no sample before the data counts as corrupt. Each call reads at
// least one frame, so this only cuts short a long run of frames that produce nothing.
constexpr int MaxEmptyReadsInARow = 256;

// Gapless (LAME/Xing delay and padding removed), mono duplicated into stereo, no resampling in
// the library, quiet, and a single stream: a second stream glued behind the first (another
// format, or frames past the count a Xing tag announces) ends the data instead of changing it.
constexpr long DecoderFlags = MPG123_QUIET | MPG123_GAPLESS | MPG123_FORCE_STEREO |
                              MPG123_NO_FRANKENSTEIN | MPG123_SKIP_ID3V2;

bool allowOnlyStereoFloat(mpg123_handle* handle, long sampleRate) {
    if (mpg123_format_none(handle) != MPG123_OK) {
        return false;
    }
    const long* rates = nullptr;
    size_t count = 0;
    mpg123_rates(&rates, &count);
    for (size_t i = 0; i < count; ++i) {
        mpg123_format(handle, rates[i], MPG123_STEREO, MPG123_ENC_FLOAT_32);
    }
    return mpg123_format_support(handle, sampleRate, MPG123_ENC_FLOAT_32) == MPG123_STEREO;
}

} // namespace

Result openMpg123Decoder(const SourceLocation& where, const DecoderSource& source,
                         std::unique_ptr<Decoder>* out) {
    std::unique_ptr<MpegByteSource> bytes;
    if (where.kind == SourceKind::Memory && source.memory != nullptr) {
        bytes = std::make_unique<MpegByteSource>(source.memory);
    } else if (where.kind == SourceKind::LocalFile) {
        bytes = std::make_unique<MpegByteSource>(where.location);
    } else {
        return Result::FormatUnsupported;
    }
    if (!bytes->isOpen()) {
        return Result::FormatUnsupported;
    }
    const auto start = findMpegStreamStart(*bytes);
    if (!start) {
        return Result::FormatUnsupported;
    }
    auto decoder = std::make_unique<Mpg123Decoder>(std::move(bytes));
    const Result started = decoder->start(*start, source.accurateTime);
    if (started != Result::Ok) {
        return started;
    }
    *out = std::move(decoder);
    return Result::Ok;
}

Mpg123Decoder::Mpg123Decoder(std::unique_ptr<MpegByteSource> bytes) : bytes_(std::move(bytes)) {}

Result Mpg123Decoder::start(const MpegStreamStart& start, bool exactLength) {
    handle_ = makeMpg123Handle();
    if (!handle_) {
        return Result::OutOfMemory;
    }
    mpg123_handle* handle = handle_.get();
    if (mpg123_param(handle, MPG123_FLAGS, DecoderFlags, 0.0) != MPG123_OK ||
        !allowOnlyStereoFloat(handle, start.sampleRate)) {
        return Result::FormatUnsupported;
    }
    if (mpg123_replace_reader_handle(handle, &MpegByteSource::readStream,
                                     &MpegByteSource::seekStream, nullptr) != MPG123_OK ||
        mpg123_open_handle(handle, bytes_.get()) != MPG123_OK) {
        return Result::FormatCorrupt;
    }
    // The library must see the stream the chain rule saw.
    long rate = 0;
    int channels = 0;
    int encoding = 0;
    mpg123_frameinfo info{};
    if (mpg123_getformat(handle, &rate, &channels, &encoding) != MPG123_OK ||
        mpg123_info(handle, &info) != MPG123_OK || rate != start.sampleRate || channels != 2 ||
        encoding != MPG123_ENC_FLOAT_32 || info.layer != start.layer) {
        return Result::FormatCorrupt;
    }
    sampleRate_ = static_cast<int>(rate);
    if (exactLength) {
        const Result scanned = scanFrames();
        if (scanned != Result::Ok) {
            return scanned;
        }
    }
    findLengthAndBitRate(start, exactLength);

    pending_.resize(FirstBlockFrames * 2);
    const size_t got = decode(pending_.data(), FirstBlockFrames);
    pending_.resize(got * 2);
    pendingOffset_ = 0;
    return got > 0 ? Result::Ok : Result::FormatCorrupt;
}

Result Mpg123Decoder::scanFrames() {
    mpg123_handle* handle = handle_.get();
    const off_t announced = mpg123_length(handle);
    long delay = -1;
    double unused = 0;
    const bool gapless =
        mpg123_getstate(handle, MPG123_ENC_DELAY, &delay, &unused) == MPG123_OK && delay >= 0;
    if (mpg123_scan(handle) != MPG123_OK) {
        return Result::FormatCorrupt;
    }
    // A LAME tag that counts frames which are not there (a cut file) makes libmpg123 drop the
    // gapless trimming once the scan finds the real end; FFmpeg still trims the start.
    if (gapless && mpg123_length(handle) != announced) {
        return Result::FormatUnsupported;
    }
    return Result::Ok;
}

void Mpg123Decoder::findLengthAndBitRate(const MpegStreamStart& start, bool exactLength) {
    mpg123_handle* handle = handle_.get();
    off_t length = mpg123_length(handle);
    // No Xing tag and no size to estimate from: count the frames after all.
    if (length <= 0 && !exactLength && mpg123_scan(handle) == MPG123_OK) {
        length = mpg123_length(handle);
    }
    lengthFrames_ = length > 0 ? static_cast<uint64_t>(length) : 0;

    mpg123_frameinfo info{};
    if (mpg123_info(handle, &info) == MPG123_OK && info.vbr == MPG123_CBR && info.bitrate > 0) {
        bitRate_ = int64_t{info.bitrate} * 1000;
    } else if (lengthFrames_ > 0) {
        // Variable rate: the audio bytes over the playing time.
        const auto audioBytes = static_cast<double>(bytes_->size() - start.audioOffset);
        bitRate_ = std::llround(audioBytes * 8.0 * sampleRate_ / double(lengthFrames_));
    } else {
        bitRate_ = int64_t{start.bitRateKbps} * 1000;
    }
}

size_t Mpg123Decoder::decode(float* out, size_t frames) {
    size_t written = 0;
    int emptyReads = 0;
    while (written < frames && !ended_) {
        size_t done = 0;
        const int status =
            mpg123_read(handle_.get(), out + 2 * written, (frames - written) * FrameBytes, &done);
        const size_t got = done / FrameBytes;
        written += got;
        emptyReads = got > 0 ? 0 : emptyReads + 1;
        if (status == MPG123_DONE) {
            ended_ = true;
        } else if (status == MPG123_NEW_FORMAT) {
            long rate = 0;
            int channels = 0;
            int encoding = 0;
            if (mpg123_getformat(handle_.get(), &rate, &channels, &encoding) != MPG123_OK ||
                rate != sampleRate_ || channels != 2 || encoding != MPG123_ENC_FLOAT_32) {
                ended_ = true;
                lastError_ = Result::FormatCorrupt;
            }
        } else if (status != MPG123_OK || emptyReads > MaxEmptyReadsInARow) {
            ended_ = true;
            lastError_ = Result::FormatCorrupt;
        }
    }
    return written;
}

size_t Mpg123Decoder::read(float* out, size_t frames) {
    const size_t fromPending = std::min(frames, pending_.size() / 2 - pendingOffset_);
    if (fromPending > 0) {
        std::memcpy(out, pending_.data() + 2 * pendingOffset_, fromPending * FrameBytes);
        pendingOffset_ += fromPending;
    }
    return fromPending + decode(out + 2 * fromPending, frames - fromPending);
}

Result Mpg123Decoder::seek(uint64_t frame) {
    if (frame > lengthFrames_) {
        return Result::SeekFailed;
    }
    pending_.clear();
    pendingOffset_ = 0;
    ended_ = false;
    lastError_ = Result::Ok;
    const off_t reached = mpg123_seek(handle_.get(), static_cast<off_t>(frame), SEEK_SET);
    if (reached < 0) {
        ended_ = true;
        return Result::SeekFailed;
    }
    // The data may end before an estimated length: only a landing at the target counts.
    return static_cast<uint64_t>(reached) == frame ? Result::Ok : Result::SeekFailed;
}

Result Mpg123Decoder::selectSubsong(int index) {
    return index == 0 ? seek(0) : Result::InvalidParameter;
}

} // namespace audio::mpg123_decoder
