#pragma once
// The table the FFmpeg module (libtamberlo-ffmpeg) hands to the sound library: the only way
// into the FFmpeg decoder code, which the programs do not link (see ProgramModule.h). Module
// and library are built from the same tree with the same compiler, so the table may carry C++
// types; the version catches a module left over from another build, and sourceBytes a
// DecoderSource whose layout changed without the version.
//
// Threading: both functions may be called from any thread (see Decoder.h for the decoder).

#include "Decoder.h"
#include "SourceLocation.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace audio::ffmpeg {

inline constexpr uint32_t ModuleTableVersion = 1;
inline constexpr const char* ModuleName = "ffmpeg";
inline constexpr const char* ModuleEntryName = "tamberlo_ffmpeg_module";

struct ModuleTable {
    uint32_t version;     // ModuleTableVersion
    uint32_t sourceBytes; // sizeof(DecoderSource) as the module was built
    // True when `head` (the first `size` bytes of local data) lists other inputs (ffconcat,
    // HLS, DASH) rather than holding audio.
    bool (*isInputList)(const uint8_t* head, size_t size);
    // openFfmpegDecoder (FfmpegDecoder.h): Ok with *out set, or the failure.
    Result (*open)(const SourceLocation& where, const DecoderSource& source,
                   std::unique_ptr<Decoder>* out);
};

} // namespace audio::ffmpeg
