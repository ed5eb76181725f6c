#pragma once
// Opens the demuxer for a file, memory block or http(s) URL with the safety options every input
// gets: a protocol whitelist (file only for files; http, https and their transports for URLs),
// the demuxer whitelist, bounded network timeouts, and a minimum probe confidence.
//
// Threading: called on the thread that opens the decoder.

#include "Deadline.h"
#include "FormatContext.h"
#include "MemoryIo.h"
#include "SourceLocation.h"

#include <cstdint>
#include <memory>

namespace audio::ffmpeg {

// Everything that must live as long as the demuxer. Members are destroyed in reverse order, so
// the format context closes before the I/O objects it reads from.
struct FfmpegInput {
    std::unique_ptr<MemoryReader> memory;
    AvioContext avio; // memory blocks
    UrlAvio url;      // network connections
    std::unique_ptr<Deadline> deadline;
    FormatContext format;
    bool network = false;
    uint64_t rawBytes = 0; // size of the file or block; 0 for network inputs of unknown size
};

// Opens the input and reads its stream information. Returns Ok, FileNotFound, FileUnreadable,
// FormatUnsupported (no allowed demuxer is confident), ProtocolRefused, NetworkConnect or
// OutOfMemory.
Result openFfmpegInput(const SourceLocation& where, const DecoderSource& source, FfmpegInput* out);

// Maps an FFmpeg error code met while opening to our result.
Result resultOfOpenError(int averror, bool network);

} // namespace audio::ffmpeg
