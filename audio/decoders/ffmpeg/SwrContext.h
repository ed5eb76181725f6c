#pragma once
// Owns a SwrContext (sample format and channel layout conversion, never a rate change here).
//
// Threading: as the owning decoder (one thread at a time).

#include "FfmpegHeaders.h"

#include <memory>

namespace audio::ffmpeg {

struct SwrContextFreer {
    void operator()(::SwrContext* context) const { swr_free(&context); }
};
using SwrContext = std::unique_ptr<::SwrContext, SwrContextFreer>;

} // namespace audio::ffmpeg
