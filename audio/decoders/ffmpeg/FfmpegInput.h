#pragma once
// Opens the demuxer for a file, memory block or http(s) URL with the safety options every input
// gets: a protocol whitelist (file only for files; http, https and their transports for URLs),
// the demuxer whitelist, bounded network timeouts, a bound on what a stream may send without
// sound (InputGuard.h), and a minimum probe confidence.
//
// Threading: called on the thread that opens the decoder.

#include "FormatContext.h"
#include "InputGuard.h"
#include "MemoryIo.h"
#include "SourceLocation.h"

#include <cstdint>
#include <memory>

namespace audio::ffmpeg {

// Everything that must live as long as the demuxer. Members are destroyed in reverse order, so
// the format context closes before the I/O objects it reads from.
struct FfmpegInput {
    std::unique_ptr<MemoryReader> memory;
    AvioContext avio;                  // memory blocks
    UrlAvio url;                       // network connections
    std::unique_ptr<InputGuard> guard; // time limit and byte budget of blocking calls
    FormatContext format;
    bool network = false;
    uint64_t rawBytes = 0; // size of the file or block; 0 for network inputs of unknown size
};

// Opens the input and reads its stream information. Returns Ok, FileNotFound, FileUnreadable,
// FormatUnsupported (no allowed demuxer is confident), ProtocolRefused, OutOfMemory, and for
// URLs the failures of resultOfConnectError and resultOfStreamError. `interruption` (may be
// null; it must outlive *out) ends the opening and every later blocking call when set.
Result openFfmpegInput(const SourceLocation& where, const DecoderSource& source, FfmpegInput* out,
                       const StreamInterruption* interruption = nullptr);

// Maps an FFmpeg error met while opening a file or memory block to our result.
Result resultOfFileError(int averror);
// Maps an error of the HTTP request (before any of the stream arrived) to our result; `guard`
// tells whether its time limit ended the call.
Result resultOfConnectError(int averror, const InputGuard& guard);
// Maps an error met after the server's answer began (opening the demuxer, reading the stream
// information or the first frames) to our result.
Result resultOfStreamError(int averror, const InputGuard& guard);

} // namespace audio::ffmpeg
