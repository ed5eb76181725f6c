#pragma once
// Which FFmpeg demuxers we allow, and how an opened input maps to a SoundType.
//
// Threading: pure functions, callable from any thread.

#include "FfmpegHeaders.h"
#include "SoundType.h"

#include <cstddef>
#include <cstdint>

namespace audio::ffmpeg {

// Comma-separated demuxer names for the `format_whitelist` option: audio containers only, so
// playlist-like inputs (HLS, ffconcat, image sequences, ...) are never opened.
extern const char* const AllowedDemuxers;

// Lowest AVFormatContext::probe_score we trust. MPEG audio scores 25 or less for random bytes
// and a handful of frames; real files score 51 and up.
inline constexpr int MinimumProbeScore = AVPROBE_SCORE_MAX / 4 + 1;

// True when `head` (the first `size` bytes of local data) is a list that names other inputs
// (ffconcat, HLS, DASH manifests) rather than audio. Such data must be refused as a protocol
// matter, not reported as an unknown format.
bool isInputList(const uint8_t* head, size_t size);

// The SoundType of audio stream `codecId` inside the demuxer called `demuxerName`.
SoundType soundTypeOf(const char* demuxerName, AVCodecID codecId);

} // namespace audio::ffmpeg
