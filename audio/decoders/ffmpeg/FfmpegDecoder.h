#pragma once
// Decodes files, memory blocks and http(s) streams with FFmpeg into interleaved stereo float at
// the source's own rate. Encoder delay and padding that the demuxer reports are trimmed by the
// codec (MP3 LAME/Xing, Opus pre-skip and end granule, Vorbis, AAC priming in MP4); the padding
// at the end of an MP4 file, which FFmpeg leaves in, is cut at the length the container states.
// So sample counts are exact. Seeking is sample-accurate: a container seek a little
// before the target, then decode and discard up to it. A live stream that drops after it has
// played is reconnected as NetworkOptions allow, and its ICY title is kept for display.
//
// Threading: see Decoder.h (one thread at a time; openFfmpegDecoder may block on the network).
// streamStatus and interrupt may be called from any thread: the status has its own lock, and
// the interruption is atomic and wakes the reconnect back-off through a condition variable.

#include "CodecContext.h"
#include "Decoder.h"
#include "FfmpegInput.h"
#include "Frame.h"
#include "Packet.h"
#include "StreamInterruption.h"
#include "SwrContext.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace audio::ffmpeg {

// Opens `where` and accepts it only when a demuxer is confident and the first frames decode.
// Returns Ok with *out set, or the failures of openFfmpegInput, FormatUnsupported (no audio
// stream or decoder) and FormatCorrupt (the first frames do not decode).
Result openFfmpegDecoder(const SourceLocation& where, const DecoderSource& source,
                         std::unique_ptr<Decoder>* out);

class FfmpegDecoder final : public Decoder {
public:
    // `where` and `network` are what a live stream reconnects to after a drop.
    FfmpegDecoder(FfmpegInput input, SourceLocation where, NetworkOptions network);

    int sampleRate() const override { return sampleRate_; }
    SoundType type() const override { return type_; }
    uint64_t lengthFrames() const override { return lengthFrames_; }
    uint64_t lengthRawBytes() const override { return input_.rawBytes; }
    int64_t bitRate() const override;
    int subsongCount() const override { return 1; }
    Result selectSubsong(int index) override;
    size_t read(float* out, size_t frames) override;
    Result seek(uint64_t frame) override;
    Result lastError() const override { return lastError_; }
    StreamStatus streamStatus() const override;
    void interrupt() override;

    // Second step of opening: the codec, the first decoded frames, and the length (counted by
    // decoding the whole input when `countLength`). Returns Ok, FormatUnsupported, FormatCorrupt.
    Result start(bool countLength, int readTimeoutMs);

private:
    // The best audio stream of `format` and a decoder opened for it. Returns Ok,
    // FormatUnsupported or OutOfMemory.
    static Result openAudioCodec(AVFormatContext* format, AVStream** stream, CodecContext* codec);
    // Decodes the next frame into pending_. False at the end of the data or on an error.
    bool decodeMore();
    // The next decoded AVFrame into frame_; false at the end or on an error (sets lastError_).
    bool receiveFrame();
    bool convertFrame();
    // Frame index of frame_'s first sample from its timestamp (negative before the start), or
    // nothing when the frame has no timestamp.
    std::optional<int64_t> positionOfFrame() const;
    Result containerSeek(uint64_t frame);
    bool isLive() const { return lengthFrames_ == UnknownFrames; }

    // Network stream parts (FfmpegStream.cpp).
    // Whether a failed read of the stream is a drop to reconnect rather than the end.
    bool mayReconnect() const;
    // Waits and reconnects as network_ allows; true when a new connection plays on, false when
    // every try failed or the decoder was interrupted.
    bool reconnect();
    // Takes a new ICY title from the connection, when the server sent one.
    void readIcyTitle();
    // Takes the station name from the connection's answer headers.
    void readIcyStation();
    // Status updates: try `tryNumber` after the latest drop begins; the reconnect is over.
    void setReconnectTry(int tryNumber);
    void endReconnect(bool lost);

    SourceLocation where_;
    NetworkOptions network_;
    StreamInterruption interruption_; // before input_: the input's guard points at it
    FfmpegInput input_;
    AVStream* stream_ = nullptr;
    CodecContext codec_;
    Packet packet_;
    Frame frame_;
    SwrContext swr_;
    int swrChannels_ = 0;
    int swrFormat_ = -1;
    int swrRate_ = 0;
    uint64_t swrLayoutMask_ = 0;

    int sampleRate_ = 0;
    SoundType type_ = SoundType::Unknown;
    uint64_t lengthFrames_ = UnknownFrames;
    int readTimeoutMs_ = 0;
    int64_t startTimestamp_ = AV_NOPTS_VALUE; // timestamp of output frame 0
    uint64_t endFrame_ = UnknownFrames;       // the exact end the container states, if any
    uint64_t nextFrame_ = 0;                  // frame index of the next frame read() gives
    std::vector<float> pending_;              // decoded stereo frames not yet read
    size_t pendingOffset_ = 0;                // in frames
    bool flushed_ = false;                    // the decoder has been sent the end of input
    bool ended_ = false;
    Result lastError_ = Result::Ok;

    bool started_ = false; // start() succeeded: from now on a live stream's drop is reconnected
    int triesUsed_ = 0;    // reconnect tries since the last drop; 0 again once sound comes
    std::chrono::steady_clock::time_point dropAt_; // when the current round of tries began
    std::string icyBlock_;                         // the last metadata block seen
    mutable std::mutex statusMutex_;               // guards status_ (read by other threads)
    StreamStatus status_;
};

} // namespace audio::ffmpeg
