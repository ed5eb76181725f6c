#pragma once
// The FFmpeg C headers, included once with C linkage for every file of this folder.
//
// Threading: no state; see the users.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}
