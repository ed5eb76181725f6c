#pragma once
// Shared helpers of the decoder tests: the generated media folder, whole-source decoding, an
// independent reference decode by the ffmpeg command, and signal comparison.
//
// Threading: test thread only.

#include "Decoder.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace audio::test {

// A file in the folder the test-media step filled (TAMBERLO_TEST_MEDIA, else the build tree's).
std::string mediaPath(const std::string& relative);

// Opens `path` with default options; fails the test and returns null when it is refused.
std::unique_ptr<Decoder> openOrFail(const std::string& path, bool accurateTime = false);

// Reads everything `decoder` delivers, in blocks of `blockFrames`, as interleaved stereo.
std::vector<float> readAll(Decoder& decoder, size_t blockFrames = 4096);

// Decodes `path` with the ffmpeg command into interleaved stereo float at the file's own rate
// (mono duplicated to both sides, as our decoders do).
std::vector<float> ffmpegReference(const std::string& path);

// Number of channels the ffmpeg command sees in `path`'s audio stream.
int ffmpegChannels(const std::string& path);

// Best normalised cross-correlation of the left channels of `a` and `b` over shifts within
// +-maxShift frames, using the first `frames` frames.
double bestCorrelation(const std::vector<float>& a, const std::vector<float>& b, size_t frames,
                       int maxShift);

// A gtest-safe name for a parameter made from a file name ("music-vbr.mp3" -> "music_vbr_mp3").
std::string testName(const std::string& file);

// The bytes of a file, or empty when it cannot be read.
std::vector<uint8_t> fileBytes(const std::string& path);
// Writes `bytes` to a new file in a per-process temporary folder and returns its path.
std::string writeTempFile(const std::string& name, const std::vector<uint8_t>& bytes);

} // namespace audio::test
