// FfmpegDecoder's network stream parts: reconnecting a live stream after a drop, and the ICY
// title and station name the server sends along.
#include "FfmpegDecoder.h"

#include "IcyMetadata.h"

#include <algorithm>

namespace audio::ffmpeg {

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

// The wait before try `tryNumber` (1-based): the first delay, doubled for each later try.
Milliseconds backoffBefore(int tryNumber, int firstDelayMs) {
    const int doublings = std::clamp(tryNumber - 1, 0, 20);
    return Milliseconds(int64_t{std::max(0, firstDelayMs)} << doublings);
}

// A string option of the connection (an AVIOContext from avio_open2), empty when not set.
std::string connectionOption(AVIOContext* connection, const char* name) {
    uint8_t* value = nullptr;
    if (connection == nullptr || av_opt_get(connection, name, AV_OPT_SEARCH_CHILDREN, &value) < 0 ||
        value == nullptr) {
        return {};
    }
    std::string text(reinterpret_cast<const char*>(value));
    av_free(value);
    return text;
}

} // namespace

StreamStatus FfmpegDecoder::streamStatus() const {
    std::lock_guard lock(statusMutex_);
    return status_;
}

void FfmpegDecoder::interrupt() {
    interruption_.interrupt();
}

bool FfmpegDecoder::mayReconnect() const {
    // Only a live stream that has played: a server that never answers, answers with an error,
    // or a file served over http that simply ends keeps its result as it is.
    return started_ && input_.network && isLive() && network_.reconnectTries > 0 &&
           !interruption_.interrupted();
}

void FfmpegDecoder::setReconnectTry(int tryNumber) {
    std::lock_guard lock(statusMutex_);
    status_.triesAfterDrop = tryNumber;
    status_.reconnecting = true;
}

void FfmpegDecoder::endReconnect(bool lost) {
    std::lock_guard lock(statusMutex_);
    status_.reconnecting = false;
    status_.lost = lost;
}

bool FfmpegDecoder::reconnect() {
    if (triesUsed_ == 0) {
        // A new drop. Tries continue the current round instead when the last reconnect brought
        // no sound yet, so a server that accepts and drops at once cannot keep us forever.
        dropAt_ = Clock::now();
        std::lock_guard lock(statusMutex_);
        ++status_.drops;
        status_.triesAfterDrop = 0;
    }
    // The dead connection goes at once: a server that serves one listener at a time, or counts
    // them, must not keep seeing it through the waits.
    input_.format.reset();
    input_.url.reset();
    input_.guard = std::make_unique<InputGuard>();
    input_.guard->obey(&interruption_);
    stream_ = nullptr;
    const Clock::time_point giveUpAt =
        dropAt_ + Milliseconds(std::max(0, network_.reconnectWindowMs));
    const auto timeLeft = [&] {
        return std::max(Milliseconds(0),
                        std::chrono::duration_cast<Milliseconds>(giveUpAt - Clock::now()));
    };
    while (triesUsed_ < network_.reconnectTries) {
        ++triesUsed_;
        setReconnectTry(triesUsed_);
        if (!interruption_.waitFor(
                std::min(backoffBefore(triesUsed_, network_.reconnectDelayMs), timeLeft()))) {
            break;
        }
        const int64_t connectMs = std::min<int64_t>(network_.connectTimeoutMs, timeLeft().count());
        if (connectMs <= 0) {
            break;
        }
        DecoderSource source;
        source.path = where_.location;
        source.network = network_;
        source.network.connectTimeoutMs = static_cast<int>(connectMs);
        FfmpegInput fresh;
        AVStream* stream = nullptr;
        CodecContext codec;
        if (openFfmpegInput(where_, source, &fresh, &interruption_) == Result::Ok &&
            openAudioCodec(fresh.format.get(), &stream, &codec) == Result::Ok) {
            input_ = std::move(fresh);
            stream_ = stream;
            codec_ = std::move(codec);
            icyBlock_.clear();
            readIcyStation();
            endReconnect(false);
            return true;
        }
        if (interruption_.interrupted()) {
            break;
        }
    }
    // An interrupted decoder is going away: its stream ends, but was not lost.
    endReconnect(!interruption_.interrupted());
    return false;
}

void FfmpegDecoder::readIcyTitle() {
    std::string block = connectionOption(input_.url.get(), "icy_metadata_packet");
    if (block.empty() || block == icyBlock_) {
        return;
    }
    icyBlock_ = std::move(block);
    if (std::optional<std::string> title = icyStreamTitle(icyBlock_)) {
        std::lock_guard lock(statusMutex_);
        status_.title = std::move(*title);
    }
}

void FfmpegDecoder::readIcyStation() {
    const std::string station =
        icyHeader(connectionOption(input_.url.get(), "icy_metadata_headers"), "icy-name");
    std::lock_guard lock(statusMutex_);
    status_.station = station;
}

} // namespace audio::ffmpeg
