#pragma once
// The interface every decoder implements (FFmpeg, libopenmpt, codec plug-ins), and the
// factory that picks one for a source.
//
// Threading: a Decoder is not thread-safe. It is created on the caller's thread (usually the
// GUI thread, inside System::createSound) and afterwards used by exactly one thread at a time:
// the sound's decode worker, or the caller for open-only sounds. It is never touched by the
// real-time output callback. openDecoder may block (file or network I/O, bounded by the
// network timeouts). The exceptions are streamStatus and interrupt, which any thread may call
// at any time, also while another thread is inside read.

#include "Result.h"
#include "SoundType.h"
#include "StreamStatus.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace audio {

class PluginRegistry;

// Length value for sounds without a known end (live streams).
inline constexpr uint64_t UnknownFrames = ~uint64_t{0};

class Decoder {
public:
    virtual ~Decoder() = default;

    // Sample rate of the decoded output in Hz (the sound's own rate; 1..768000).
    virtual int sampleRate() const = 0;
    virtual SoundType type() const = 0;
    // A codec plug-in's display name for the format (e.g. "C64 PSID"); empty for the built-in
    // decoders, whose type() says it all.
    virtual std::string formatName() const { return {}; }
    // Length of the current subsong in frames at sampleRate(), or UnknownFrames.
    virtual uint64_t lengthFrames() const = 0;
    // Size of the encoded source in bytes (file or memory block); 0 when unknown (streams).
    virtual uint64_t lengthRawBytes() const = 0;
    // Average encoded bit rate in bits per second, 0 when unknown.
    virtual int64_t bitRate() const = 0;
    // Number of subsongs, at least 1.
    virtual int subsongCount() const = 0;
    // Switches to subsong `index` (0-based) and positions at its start.
    // Returns InvalidParameter for an index out of range.
    virtual Result selectSubsong(int index) = 0;

    // Decodes up to `frames` frames of interleaved stereo float samples (nominal range -1..1;
    // mono is duplicated, more channels are mixed down) into `out` (room for 2 * frames floats).
    // Returns the number of frames written; 0 means the end of the data. A read error (network
    // gone, corrupt data past the start) also ends the data and is kept in lastError().
    virtual size_t read(float* out, size_t frames) = 0;
    // Moves to `frame` (0-based, at sampleRate()) exactly: the next read starts with that frame.
    // Returns Unsupported for streams that cannot seek, SeekFailed past the end.
    virtual Result seek(uint64_t frame) = 0;
    // The error that ended the data, Ok if it ended normally or has not ended.
    virtual Result lastError() const = 0;

    // Title and reconnect state of a network stream; an empty status for other sources.
    virtual StreamStatus streamStatus() const { return {}; }
    // Ends every network wait of this decoder at once and for good: a reconnect's back-off or a
    // read blocked on the server returns, and the data ends. For a sound that is going away.
    virtual void interrupt() {}
};

// Network limits for URLs. Defaults suit a desktop player; tests shorten them.
struct NetworkOptions {
    int connectTimeoutMs = 5000; // from the request until the stream's format is known
    int readTimeoutMs = 5000;    // longest wait for more data once playing
    // Most bytes a stream may send without sound coming out (at the start: tags, headers and
    // the first frame). A demuxer holds on to what it cannot use yet, so this bounds memory.
    int64_t maxBytesWithoutSound = int64_t{16} << 20;
    // A live stream that drops (closed, read error) or stalls (readTimeoutMs without data)
    // after it has played is reconnected: up to reconnectTries tries (0: it ends at once), the
    // first reconnectDelayMs after the drop, each following wait twice the one before. All
    // waits and connects after one drop end within reconnectWindowMs; then the data ends.
    int reconnectTries = 4;
    int reconnectDelayMs = 1000;
    int reconnectWindowMs = 30000;
};

// What to open: a path or an http(s) URL, or a memory block.
struct DecoderSource {
    std::string path;                                   // file path or URL; a name for memory
    std::shared_ptr<const std::vector<uint8_t>> memory; // set: decode this block, not the path
    bool accurateTime = false; // exact length and sample-accurate seeking (scans VBR at open)
    NetworkOptions network;
    // Only this part plays, as a sound of its own (RangeDecoder.h): ms from the source's start;
    // rangeEndMs 0 means to the source's end. Both 0: the whole source.
    uint32_t rangeStartMs = 0;
    uint32_t rangeEndMs = 0;
    // Set: while it is true, blocked FFmpeg calls (a connect, a read) return at once, so another
    // thread can abandon an open. Shared, because the opened decoder keeps looking at it.
    std::shared_ptr<const std::atomic<bool>> cancel;
};

// Picks the decoder for `source`: plug-ins first (those that claim the data), then libopenmpt
// (by content, not by extension), then libmpg123 (local MPEG audio), then FFmpeg. A decoder is
// accepted only when it is confident and its first frames decode, so random bytes and packed
// modules are refused. A source with a range gets the chosen decoder wrapped in a RangeDecoder.
// Returns Ok with *out set, or FileNotFound, FileUnreadable, FormatUnsupported, FormatCorrupt,
// ProtocolRefused, and for URLs NetworkConnect, NetworkTimeout, NetworkTooSlow, HttpError,
// NetworkBadAnswer, NetworkRead or StreamOverBudget; for a range, also InvalidParameter (empty,
// or past the source's end) and the failure of the seek to its start.
Result openDecoder(const DecoderSource& source, const PluginRegistry* plugins,
                   std::unique_ptr<Decoder>* out);

} // namespace audio
