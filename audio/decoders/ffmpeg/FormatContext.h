#pragma once
// Owns an opened AVFormatContext (the demuxer of one input).
//
// Threading: as the owning decoder (one thread at a time).

#include "FfmpegHeaders.h"

#include <memory>

namespace audio::ffmpeg {

struct FormatContextCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
// Holds only contexts that avformat_open_input opened; a custom AVIOContext is not freed here.
using FormatContext = std::unique_ptr<AVFormatContext, FormatContextCloser>;

} // namespace audio::ffmpeg
