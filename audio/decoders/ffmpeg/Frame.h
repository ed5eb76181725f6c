#pragma once
// Owns an AVFrame; av_frame_unref between uses keeps the same allocation.
//
// Threading: as the owning decoder (one thread at a time).

#include "FfmpegHeaders.h"

#include <memory>

namespace audio::ffmpeg {

struct FrameFreer {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FrameFreer>;

// Returns an empty frame, or null when out of memory.
inline Frame makeFrame() {
    return Frame(av_frame_alloc());
}

} // namespace audio::ffmpeg
