#pragma once
// The FFmpeg decoder, reached through its module (libtamberlo-ffmpeg, see ProgramModule.h and
// ffmpeg/FfmpegModuleTable.h). The module is loaded the first time either function is called,
// once for the process; songs that other decoders take never load FFmpeg.
//
// Threading: any thread; the first call loads the module while concurrent callers wait.

#include "Decoder.h"
#include "SourceLocation.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace audio::ffmpeg_module {

// True when `head` (the first `size` bytes of local data) is a list naming other inputs
// (ffconcat, HLS, DASH manifests). False when it is not, or the module is missing.
bool isInputList(const uint8_t* head, size_t size);

// Opens `where` with FFmpeg (openFfmpegDecoder in ffmpeg/FfmpegDecoder.h): Ok with *out set,
// that function's failures, or NoFfmpegModule when the module cannot be loaded (the
// reason then goes to stderr, once).
Result openDecoder(const SourceLocation& where, const DecoderSource& source,
                   std::unique_ptr<Decoder>* out);

} // namespace audio::ffmpeg_module
