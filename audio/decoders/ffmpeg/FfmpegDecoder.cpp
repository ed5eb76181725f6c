#include "FfmpegDecoder.h"

#include "FfmpegFormats.h"

#include <algorithm>
#include <cstring>

namespace audio::ffmpeg {

namespace {

// Packets in a row that fail to decode before the data counts as corrupt; single bad packets
// in the middle of a file are skipped.
constexpr int MaxDecodeErrorsInARow = 64;
constexpr int MaxSampleRate = 768000;

// MP4/QuickTime: the edit list (or the sample table) states the exact number of samples, but
// the demuxer trims only the encoder delay at the start; the padding in the last packet is
// ours to cut.
bool statesExactDuration(const AVFormatContext* format) {
    return std::strncmp(format->iformat->name, "mov,", 4) == 0;
}

} // namespace

Result openFfmpegDecoder(const SourceLocation& where, const DecoderSource& source,
                         std::unique_ptr<Decoder>* out) {
    FfmpegInput input;
    const Result opened = openFfmpegInput(where, source, &input);
    if (opened != Result::Ok) {
        return opened;
    }
    auto decoder = std::make_unique<FfmpegDecoder>(std::move(input), where, source.network);
    const Result started = decoder->start(source.accurateTime, source.network.readTimeoutMs);
    if (started != Result::Ok) {
        return started;
    }
    *out = std::move(decoder);
    return Result::Ok;
}

FfmpegDecoder::FfmpegDecoder(FfmpegInput input, SourceLocation where, NetworkOptions network)
    : where_(std::move(where)), network_(network), input_(std::move(input)) {
    input_.guard->obey(&interruption_);
    if (input_.network) {
        status_.reconnectTries = std::max(0, network_.reconnectTries);
        readIcyStation();
    }
}

Result FfmpegDecoder::openAudioCodec(AVFormatContext* format, AVStream** stream,
                                     CodecContext* codec) {
    const AVCodec* decoder = nullptr;
    const int index = av_find_best_stream(format, AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
    if (index < 0 || decoder == nullptr) {
        return Result::FormatUnsupported;
    }
    *stream = format->streams[index];
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        if (static_cast<int>(i) != index) {
            format->streams[i]->discard = AVDISCARD_ALL;
        }
    }
    codec->reset(avcodec_alloc_context3(decoder));
    if (!*codec) {
        return Result::OutOfMemory;
    }
    if (avcodec_parameters_to_context(codec->get(), (*stream)->codecpar) < 0) {
        return Result::FormatUnsupported;
    }
    (*codec)->pkt_timebase = (*stream)->time_base;
    if (avcodec_open2(codec->get(), decoder, nullptr) < 0) {
        return Result::FormatUnsupported;
    }
    return Result::Ok;
}

Result FfmpegDecoder::start(bool countLength, int readTimeoutMs) {
    readTimeoutMs_ = readTimeoutMs;
    AVFormatContext* format = input_.format.get();
    const Result opened = openAudioCodec(format, &stream_, &codec_);
    if (opened != Result::Ok) {
        return opened;
    }
    packet_ = makePacket();
    frame_ = makeFrame();
    if (!packet_ || !frame_) {
        return Result::OutOfMemory;
    }
    type_ = soundTypeOf(format->iformat->name, stream_->codecpar->codec_id);

    // Accept only what decodes: the first frame must come out with a sane format.
    if (!receiveFrame()) {
        if (lastError_ == Result::NetworkRead) {
            // Before the first frame a stalled stream is a slow one, not one that stopped.
            return input_.guard->timedOut() ? Result::NetworkTooSlow : Result::NetworkRead;
        }
        return lastError_ == Result::StreamOverBudget ? lastError_ : Result::FormatCorrupt;
    }
    sampleRate_ = frame_->sample_rate;
    if (sampleRate_ <= 0 || sampleRate_ > MaxSampleRate || frame_->ch_layout.nb_channels <= 0) {
        return Result::FormatCorrupt;
    }
    startTimestamp_ = frame_->best_effort_timestamp;
    const uint64_t firstFrames = static_cast<uint64_t>(frame_->nb_samples);
    if (!convertFrame()) {
        return Result::FormatCorrupt;
    }

    const bool seekable =
        input_.format->pb != nullptr && (input_.format->pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
    const AVRational perFrame{1, sampleRate_};
    if (statesExactDuration(format) && stream_->duration != AV_NOPTS_VALUE &&
        stream_->duration > 0) {
        endFrame_ =
            static_cast<uint64_t>(av_rescale_q(stream_->duration, stream_->time_base, perFrame));
    }
    if (input_.network && (!seekable || format->duration == AV_NOPTS_VALUE)) {
        lengthFrames_ = UnknownFrames;
    } else if (!countLength && stream_->duration != AV_NOPTS_VALUE && stream_->duration > 0) {
        lengthFrames_ =
            static_cast<uint64_t>(av_rescale_q(stream_->duration, stream_->time_base, perFrame));
    } else if (!countLength && format->duration != AV_NOPTS_VALUE && format->duration > 0) {
        lengthFrames_ =
            static_cast<uint64_t>(av_rescale_q(format->duration, AV_TIME_BASE_Q, perFrame));
    } else {
        // Exact length: decode everything once, then go back to the start.
        uint64_t total = firstFrames;
        while (receiveFrame()) {
            total += static_cast<uint64_t>(frame_->nb_samples);
        }
        lengthFrames_ = std::min(total, endFrame_);
        const Result rewound = containerSeek(0);
        if (rewound != Result::Ok) {
            return rewound;
        }
    }
    started_ = true;
    return Result::Ok;
}

int64_t FfmpegDecoder::bitRate() const {
    // A stream that dropped has no input until a reconnect brings a new one.
    if (input_.format && input_.format->bit_rate > 0) {
        return input_.format->bit_rate;
    }
    return stream_ != nullptr ? std::max<int64_t>(0, stream_->codecpar->bit_rate) : 0;
}

Result FfmpegDecoder::selectSubsong(int index) {
    if (index != 0) {
        return Result::InvalidParameter;
    }
    return isLive() ? Result::Ok : seek(0);
}

bool FfmpegDecoder::receiveFrame() {
    int errorsInARow = 0;
    while (!ended_) {
        const int received = avcodec_receive_frame(codec_.get(), frame_.get());
        if (received == 0) {
            input_.guard->noteProgress();
            triesUsed_ = 0; // sound came: a later drop starts a new round of tries
            return true;
        }
        if (received == AVERROR_EOF) {
            ended_ = true;
            break;
        }
        if (received != AVERROR(EAGAIN)) {
            if (++errorsInARow > MaxDecodeErrorsInARow) {
                lastError_ = Result::FormatCorrupt;
                ended_ = true;
            }
            continue;
        }
        if (flushed_) {
            ended_ = true;
            break;
        }
        if (input_.network) {
            input_.guard->arm(readTimeoutMs_);
        }
        const int read = av_read_frame(input_.format.get(), packet_.get());
        if (read < 0) {
            // A live stream has no normal end: the server went away. Either way, drain what the
            // codec still holds.
            if (input_.guard->overBudget()) {
                lastError_ = Result::StreamOverBudget;
            } else if (mayReconnect() && reconnect()) {
                continue;
            } else if (read != AVERROR_EOF || isLive()) {
                lastError_ = input_.network ? Result::NetworkRead : Result::FormatCorrupt;
            }
            avcodec_send_packet(codec_.get(), nullptr);
            flushed_ = true;
            continue;
        }
        if (input_.network) {
            readIcyTitle();
        }
        if (packet_->stream_index == stream_->index) {
            const int sent = avcodec_send_packet(codec_.get(), packet_.get());
            if (sent < 0 && sent != AVERROR(EAGAIN) && ++errorsInARow > MaxDecodeErrorsInARow) {
                lastError_ = Result::FormatCorrupt;
                ended_ = true;
            }
        }
        av_packet_unref(packet_.get());
    }
    return false;
}

bool FfmpegDecoder::convertFrame() {
    AVFrame* frame = frame_.get();
    const int channels = frame->ch_layout.nb_channels;
    const int outChannels = channels == 1 ? 1 : 2;
    const uint64_t layoutMask =
        frame->ch_layout.order == AV_CHANNEL_ORDER_NATIVE ? frame->ch_layout.u.mask : 0;
    if (!swr_ || swrChannels_ != channels || swrFormat_ != frame->format ||
        swrRate_ != frame->sample_rate || swrLayoutMask_ != layoutMask) {
        AVChannelLayout inLayout{};
        if (frame->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
            av_channel_layout_default(&inLayout, channels);
        } else if (av_channel_layout_copy(&inLayout, &frame->ch_layout) < 0) {
            return false;
        }
        AVChannelLayout outLayout{};
        av_channel_layout_default(&outLayout, outChannels);
        ::SwrContext* raw = nullptr;
        // A rate change inside a chained stream is resampled back to the rate we announced.
        const int made = swr_alloc_set_opts2(&raw, &outLayout, AV_SAMPLE_FMT_FLT, sampleRate_,
                                             &inLayout, static_cast<AVSampleFormat>(frame->format),
                                             frame->sample_rate, 0, nullptr);
        av_channel_layout_uninit(&inLayout);
        av_channel_layout_uninit(&outLayout);
        swr_.reset(raw);
        if (made < 0 || swr_init(swr_.get()) < 0) {
            swr_.reset();
            return false;
        }
        swrChannels_ = channels;
        swrFormat_ = frame->format;
        swrRate_ = frame->sample_rate;
        swrLayoutMask_ = layoutMask;
    }
    const int room = swr_get_out_samples(swr_.get(), frame->nb_samples);
    if (room < 0) {
        return false;
    }
    pending_.resize(static_cast<size_t>(room) * 2);
    uint8_t* outPlanes[1] = {reinterpret_cast<uint8_t*>(pending_.data())};
    const int converted =
        swr_convert(swr_.get(), outPlanes, room, const_cast<const uint8_t**>(frame->extended_data),
                    frame->nb_samples);
    av_frame_unref(frame);
    if (converted < 0) {
        return false;
    }
    if (outChannels == 1) {
        // Duplicate mono to both sides, from the back so nothing is overwritten early.
        for (int i = converted - 1; i >= 0; --i) {
            const float value = pending_[static_cast<size_t>(i)];
            pending_[2 * static_cast<size_t>(i)] = value;
            pending_[2 * static_cast<size_t>(i) + 1] = value;
        }
    }
    pending_.resize(static_cast<size_t>(converted) * 2);
    pendingOffset_ = 0;
    return true;
}

bool FfmpegDecoder::decodeMore() {
    while (receiveFrame()) {
        if (!convertFrame()) {
            lastError_ = Result::FormatCorrupt;
            return false;
        }
        if (!pending_.empty()) {
            return true;
        }
    }
    return false;
}

size_t FfmpegDecoder::read(float* out, size_t frames) {
    if (endFrame_ != UnknownFrames) {
        frames = static_cast<size_t>(
            std::min<uint64_t>(frames, endFrame_ - std::min(endFrame_, nextFrame_)));
    }
    size_t written = 0;
    while (written < frames) {
        const size_t available = pending_.size() / 2 - pendingOffset_;
        if (available == 0) {
            if (!decodeMore()) {
                break;
            }
            continue;
        }
        const size_t count = std::min(available, frames - written);
        std::memcpy(out + 2 * written, pending_.data() + 2 * pendingOffset_,
                    count * 2 * sizeof(float));
        pendingOffset_ += count;
        written += count;
    }
    nextFrame_ += written;
    return written;
}

std::optional<int64_t> FfmpegDecoder::positionOfFrame() const {
    const int64_t timestamp = frame_->best_effort_timestamp;
    if (timestamp == AV_NOPTS_VALUE || startTimestamp_ == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    return av_rescale_q(timestamp - startTimestamp_, stream_->time_base,
                        AVRational{1, sampleRate_});
}

Result FfmpegDecoder::seek(uint64_t frame) {
    if (isLive()) {
        return Result::Unsupported;
    }
    if (frame > lengthFrames_) {
        return Result::SeekFailed;
    }
    return containerSeek(frame);
}

Result FfmpegDecoder::containerSeek(uint64_t frame) {
    AVFormatContext* format = input_.format.get();
    // Start a little early so that codecs with inter-frame state (the MP3 bit reservoir,
    // overlapping transforms) have settled by the target.
    const auto preroll = static_cast<uint64_t>(sampleRate_ / 10);
    const uint64_t from = frame > preroll ? frame - preroll : 0;
    const int64_t origin = startTimestamp_ == AV_NOPTS_VALUE ? 0 : startTimestamp_;

    // First try near the target; if the container lands after it or frames carry no
    // timestamps, go back to the very start and count frames instead.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const bool fromStart = attempt == 1;
        const int64_t target =
            fromStart ? origin
                      : origin + av_rescale_q(static_cast<int64_t>(from),
                                              AVRational{1, sampleRate_}, stream_->time_base);
        int sought = avformat_seek_file(format, stream_->index, INT64_MIN, target, target, 0);
        if (sought < 0) {
            sought = av_seek_frame(format, stream_->index, target, AVSEEK_FLAG_BACKWARD);
        }
        if (sought < 0 && fromStart) {
            sought = av_seek_frame(format, -1, 0, AVSEEK_FLAG_BYTE);
        }
        if (sought < 0) {
            continue;
        }
        avcodec_flush_buffers(codec_.get());
        pending_.clear();
        pendingOffset_ = 0;
        flushed_ = false;
        ended_ = false;
        lastError_ = Result::Ok;

        int64_t counted = 0;
        bool first = true;
        bool retry = false;
        while (receiveFrame()) {
            // Before the start (codec delay that a seek does not trim again) counts negative
            // and is dropped like any frame before the target.
            const auto stamped = fromStart ? std::optional<int64_t>(counted) : positionOfFrame();
            if (!stamped || (first && *stamped > static_cast<int64_t>(frame))) {
                retry = true;
                break;
            }
            const int64_t position = *stamped;
            first = false;
            const int64_t size = frame_->nb_samples;
            counted += size;
            if (position + size <= static_cast<int64_t>(frame)) {
                av_frame_unref(frame_.get());
                continue;
            }
            if (!convertFrame()) {
                lastError_ = Result::FormatCorrupt;
                return Result::SeekFailed;
            }
            const auto skip = static_cast<size_t>(static_cast<int64_t>(frame) - position);
            pendingOffset_ = std::min(skip, pending_.size() / 2);
            nextFrame_ = frame;
            return Result::Ok;
        }
        if (retry) {
            continue;
        }
        // The data ended before the target: fine exactly at the end, a failure before it.
        if (lastError_ == Result::Ok && (frame >= lengthFrames_ || counted > 0 || !first)) {
            nextFrame_ = frame;
            return Result::Ok;
        }
        return Result::SeekFailed;
    }
    return Result::SeekFailed;
}

} // namespace audio::ffmpeg
