#pragma once
// Owns an AVCodecContext (one opened audio decoder).
//
// Threading: as the owning decoder (one thread at a time).

#include "FfmpegHeaders.h"

#include <memory>

namespace audio::ffmpeg {

struct CodecContextFreer {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
using CodecContext = std::unique_ptr<AVCodecContext, CodecContextFreer>;

} // namespace audio::ffmpeg
