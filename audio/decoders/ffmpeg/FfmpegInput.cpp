#include "FfmpegInput.h"

#include "FfmpegFormats.h"

#include <mutex>
#include <string>

namespace audio::ffmpeg {

namespace {

// Owns the option dictionary handed to avformat_open_input.
class Options {
public:
    ~Options() { av_dict_free(&dictionary_); }
    void set(const char* key, const std::string& value) {
        av_dict_set(&dictionary_, key, value.c_str(), 0);
    }
    AVDictionary** get() { return &dictionary_; }

private:
    AVDictionary* dictionary_ = nullptr;
};

// Probe no more than this much of a network stream: Icecast sends a burst of this size at once,
// so the format is known without waiting for more live data.
constexpr int NetworkProbeBytes = 64 * 1024;

// The demuxer for a stream's Content-Type, so that opening does not wait for enough live data
// to probe. Null when the type says nothing certain.
const AVInputFormat* demuxerForContentType(AVIOContext* connection) {
    uint8_t* value = nullptr;
    if (av_opt_get(connection, "mime_type", AV_OPT_SEARCH_CHILDREN, &value) < 0 ||
        value == nullptr) {
        return nullptr;
    }
    std::string type(reinterpret_cast<char*>(value));
    av_free(value);
    type = type.substr(0, type.find(';'));
    const struct {
        const char* contentType;
        const char* demuxer;
    } known[] = {
        {"audio/mpeg", "mp3"}, {"audio/mp3", "mp3"},   {"application/ogg", "ogg"},
        {"audio/ogg", "ogg"},  {"audio/opus", "ogg"},  {"audio/aac", "aac"},
        {"audio/aacp", "aac"}, {"audio/flac", "flac"}, {"audio/x-flac", "flac"},
    };
    for (const auto& entry : known) {
        if (type == entry.contentType) {
            return av_find_input_format(entry.demuxer);
        }
    }
    return nullptr;
}

bool isHttpErrorStatus(int averror) {
    switch (averror) {
    case AVERROR_HTTP_BAD_REQUEST:
    case AVERROR_HTTP_UNAUTHORIZED:
    case AVERROR_HTTP_FORBIDDEN:
    case AVERROR_HTTP_NOT_FOUND:
    case AVERROR_HTTP_OTHER_4XX:
    case AVERROR_HTTP_SERVER_ERROR:
        return true;
    default:
        return false;
    }
}

} // namespace

Result resultOfFileError(int averror) {
    if (averror == AVERROR(ENOENT)) {
        return Result::FileNotFound;
    }
    if (averror == AVERROR(EACCES) || averror == AVERROR(EISDIR) || averror == AVERROR(EIO)) {
        return Result::FileUnreadable;
    }
    if (averror == AVERROR(ENOMEM)) {
        return Result::OutOfMemory;
    }
    // Otherwise the probe's guess is outside the demuxer whitelist, or nothing was found.
    // (Input lists are refused before opening, see isInputList.)
    return Result::FormatUnsupported;
}

Result resultOfConnectError(int averror, const InputGuard& guard) {
    if (guard.timedOut() || averror == AVERROR_EXIT || averror == AVERROR(ETIMEDOUT)) {
        return Result::NetworkTimeout; // a silent server, or one that never ends its headers
    }
    if (isHttpErrorStatus(averror)) {
        return Result::HttpError;
    }
    if (averror == AVERROR(EINVAL) || averror == AVERROR_PROTOCOL_NOT_FOUND) {
        return Result::ProtocolRefused; // also a redirect to a protocol outside the whitelist
    }
    // FFmpeg reports a name that does not resolve and a redirect loop alike.
    if (averror == AVERROR(EIO) || averror == AVERROR_EOF || averror == AVERROR_INVALIDDATA) {
        return Result::NetworkBadAnswer;
    }
    if (averror == AVERROR(ENOMEM)) {
        return Result::OutOfMemory;
    }
    return Result::NetworkConnect; // refused, unreachable, reset
}

Result resultOfStreamError(int averror, const InputGuard& guard) {
    if (guard.overBudget()) {
        return Result::StreamOverBudget;
    }
    if (guard.timedOut() || averror == AVERROR_EXIT || averror == AVERROR(ETIMEDOUT)) {
        return Result::NetworkTooSlow;
    }
    // The protocol was settled by the connection, so a refusal now is the demuxer whitelist's:
    // the stream's format is one we do not play.
    if (averror == AVERROR(EINVAL) || averror == AVERROR_INVALIDDATA ||
        averror == AVERROR_DEMUXER_NOT_FOUND) {
        return Result::FormatUnsupported;
    }
    if (averror == AVERROR(EIO)) {
        return Result::NetworkBadAnswer;
    }
    if (averror == AVERROR(ENOMEM)) {
        return Result::OutOfMemory;
    }
    return Result::NetworkRead;
}

Result openFfmpegInput(const SourceLocation& where, const DecoderSource& source, FfmpegInput* out,
                       const StreamInterruption* interruption) {
    // FFmpeg's warnings about misdetected junk would flood the terminal; our results say it.
    static std::once_flag quietLog;
    std::call_once(quietLog, [] { av_log_set_level(AV_LOG_ERROR); });
    out->network = where.kind == SourceKind::NetworkUrl;
    out->guard = std::make_unique<InputGuard>();
    out->guard->obey(interruption);
    out->guard->cancelWith(source.cancel);

    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        return Result::OutOfMemory;
    }
    context->interrupt_callback = {&InputGuard::interrupt, out->guard.get()};

    Options options;
    options.set("format_whitelist", AllowedDemuxers);
    std::string url;
    const AVInputFormat* forced = nullptr;
    switch (where.kind) {
    case SourceKind::Memory:
        out->memory = std::make_unique<MemoryReader>(source.memory);
        out->avio = makeMemoryAvio(out->memory.get());
        if (!out->avio) {
            avformat_free_context(context);
            return Result::OutOfMemory;
        }
        context->pb = out->avio.get();
        context->flags |= AVFMT_FLAG_CUSTOM_IO;
        out->rawBytes = source.memory->size();
        break;
    case SourceKind::LocalFile:
        // The prefix keeps a name with a colon from being read as a protocol.
        url = "file:" + where.location;
        options.set("protocol_whitelist", "file");
        break;
    case SourceKind::NetworkUrl: {
        // Connect first, so that the Content-Type can choose the demuxer.
        Options connection;
        connection.set("protocol_whitelist", "http,https,tcp,tls,crypto");
        connection.set("rw_timeout", std::to_string(int64_t{source.network.readTimeoutMs} * 1000));
        connection.set("timeout", std::to_string(int64_t{source.network.connectTimeoutMs} * 1000));
        connection.set("user_agent", "Tamberlo");
        out->guard->arm(source.network.connectTimeoutMs);
        AVIOContext* connected = nullptr;
        const int status = avio_open2(&connected, where.location.c_str(), AVIO_FLAG_READ,
                                      &context->interrupt_callback, connection.get());
        if (status < 0) {
            avformat_free_context(context);
            return resultOfConnectError(status, *out->guard);
        }
        out->url.reset(connected);
        out->guard->watch(connected, source.network.maxBytesWithoutSound);
        forced = demuxerForContentType(connected);
        context->pb = connected;
        context->flags |= AVFMT_FLAG_CUSTOM_IO;
        options.set("formatprobesize", std::to_string(NetworkProbeBytes));
        break;
    }
    }

    const int opened =
        avformat_open_input(&context, url.empty() ? nullptr : url.c_str(), forced, options.get());
    if (opened < 0) {
        // avformat_open_input has freed the context.
        return out->network ? resultOfStreamError(opened, *out->guard) : resultOfFileError(opened);
    }
    out->format.reset(context);
    // A demuxer chosen by the server's Content-Type has no probe score; the first-frame check
    // still applies to it.
    if (forced == nullptr && context->probe_score < MinimumProbeScore) {
        return Result::FormatUnsupported;
    }
    if (out->network) {
        // Stream information must come from the burst already received, not from minutes of
        // live data.
        context->probesize = NetworkProbeBytes;
        context->max_analyze_duration = AV_TIME_BASE / 2;
    }
    const int found = avformat_find_stream_info(context, nullptr);
    if (found < 0) {
        const Result failure =
            out->network ? resultOfStreamError(found, *out->guard) : Result::FormatUnsupported;
        return failure == Result::NetworkRead ? Result::FormatUnsupported : failure;
    }
    if (out->network) {
        const int64_t size = context->pb != nullptr ? avio_size(context->pb) : -1;
        out->rawBytes = size > 0 ? static_cast<uint64_t>(size) : 0;
    } else if (where.kind == SourceKind::LocalFile) {
        const int64_t size = avio_size(context->pb);
        out->rawBytes = size > 0 ? static_cast<uint64_t>(size) : 0;
    }
    out->guard->arm(0);
    return Result::Ok;
}

} // namespace audio::ffmpeg
