#pragma once
// Decodes local MPEG audio (MP1, MP2, MP3 files and memory blocks) with libmpg123 into
// interleaved stereo float at the file's own rate; mono is duplicated. libopenmpt loads
// libmpg123 anyway, so playing an MP3 this way needs no further library. Only data that
// passes the frame-chain rule (MpegFrameChain.h) is opened; everything else, and every URL,
// is left to the other decoders.
//
// Encoder delay and padding named in a LAME/Xing tag are removed (gapless decoding), so the
// frame count is that of the encoded audio. The length is exact with accurateTime (every frame
// header is read at open) or when a Xing tag counts the frames; otherwise it is estimated from
// the size and bit rate. Seeking is sample-exact either way: libmpg123 finds the frame through
// its index or by reading the frame headers up to it, decodes a few frames before it to fill
// the bit reservoir and drops the samples before the target.
//
// Threading: see Decoder.h (one thread at a time; opening reads the file on the caller's
// thread).

#include "Decoder.h"
#include "MpegByteSource.h"
#include "MpegFrameChain.h"
#include "Mpg123Handle.h"
#include "SourceLocation.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace audio::mpg123_decoder {

// Opens `where` (a local file or `source.memory`) when the data surely is MPEG audio and its
// first frames decode. Returns Ok with *out set, FormatUnsupported (not surely MPEG audio, a
// URL, or a file that cannot be read) or FormatCorrupt (accepted, but libmpg123 cannot
// decode the start).
Result openMpg123Decoder(const SourceLocation& where, const DecoderSource& source,
                         std::unique_ptr<Decoder>* out);

class Mpg123Decoder final : public Decoder {
public:
    explicit Mpg123Decoder(std::unique_ptr<MpegByteSource> bytes);

    int sampleRate() const override { return sampleRate_; }
    SoundType type() const override { return SoundType::MPEG; }
    uint64_t lengthFrames() const override { return lengthFrames_; }
    uint64_t lengthRawBytes() const override { return bytes_->size(); }
    int64_t bitRate() const override { return bitRate_; }
    int subsongCount() const override { return 1; }
    Result selectSubsong(int index) override;
    size_t read(float* out, size_t frames) override;
    Result seek(uint64_t frame) override;
    Result lastError() const override { return lastError_; }

    // Second step of opening: the library handle on the bytes, the format (which must match
    // `start`), the length (every frame header read when `exactLength`) and the first decoded
    // frames. Returns Ok, FormatUnsupported (the library lacks float output, or a LAME tag
    // counts frames the data does not have) or FormatCorrupt.
    Result start(const MpegStreamStart& start, bool exactLength);

private:
    // Decodes up to `frames` frames into `out`; fewer at the end of the data or on an error
    // (then ended_ is set, and lastError_ for an error).
    size_t decode(float* out, size_t frames);
    // Reads every frame header for the exact length. Returns Ok, FormatCorrupt, or
    // FormatUnsupported when the LAME tag's frame count is wrong (FFmpeg handles such files).
    Result scanFrames();
    void findLengthAndBitRate(const MpegStreamStart& start, bool exactLength);

    std::unique_ptr<MpegByteSource> bytes_; // before handle_: the open handle reads from it
    Mpg123Handle handle_;
    int sampleRate_ = 0;
    uint64_t lengthFrames_ = 0;
    int64_t bitRate_ = 0;
    std::vector<float> pending_; // first decoded frames, handed out before decoding more
    size_t pendingOffset_ = 0;   // in frames
    bool ended_ = false;
    Result lastError_ = Result::Ok;
};

} // namespace audio::mpg123_decoder
