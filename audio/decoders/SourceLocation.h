#pragma once
// Decides where a DecoderSource's bytes come from before any decoder sees it, and refuses
// locations that could make a decoder library read something other than the named file or an
// http(s) resource (concat:, subfile:, pipe:, data:, ...).
//
// Threading: pure functions, callable from any thread.

#include "Decoder.h"

#include <string>

namespace audio {

enum class SourceKind {
    Memory,     // DecoderSource::memory is set
    LocalFile,  // location is an absolute file system path (no scheme)
    NetworkUrl, // location is an http:// or https:// URL
};

struct SourceLocation {
    SourceKind kind = SourceKind::LocalFile;
    std::string location; // absolute path or URL; the source's name for memory blocks
};

// Resolves `source`: a memory block wins over the path; "http://" and "https://" (any case)
// are URLs; "file:" is stripped; any other scheme of two or more letters is refused; plain
// paths are made absolute from the current directory (so "concat:x" can never be read as a
// protocol). Returns Ok, FileNotFound for an empty path, or ProtocolRefused.
Result resolveSourceLocation(const DecoderSource& source, SourceLocation* out);

} // namespace audio
