#pragma once
// Owns a custom AVIOContext together with its I/O buffer (FFmpeg may have replaced the buffer
// it was created with, so the current one is freed).
//
// Threading: as the owning decoder (one thread at a time).

#include "FfmpegHeaders.h"

#include <memory>

namespace audio::ffmpeg {

struct AvioContextFreer {
    void operator()(AVIOContext* context) const {
        if (context != nullptr) {
            av_freep(&context->buffer);
        }
        avio_context_free(&context);
    }
};
using AvioContext = std::unique_ptr<AVIOContext, AvioContextFreer>;

} // namespace audio::ffmpeg

namespace audio::ffmpeg {

struct UrlAvioCloser {
    void operator()(AVIOContext* context) const { avio_closep(&context); }
};
// Owns an AVIOContext opened by avio_open2 (a URL connection with FFmpeg's own buffer).
using UrlAvio = std::unique_ptr<AVIOContext, UrlAvioCloser>;

} // namespace audio::ffmpeg
