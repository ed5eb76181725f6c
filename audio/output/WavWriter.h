#pragma once
// Writes interleaved stereo float as a 16-bit PCM WAV file (scaled by 32768, rounded, clipped).
// The header's sizes are patched by finish() (or the destructor); data beyond the format's
// 4 GiB limit is dropped.
//
// Threading: one thread at a time; it does file I/O, so never the real-time callback.

#include "Result.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace audio {

class WavWriter {
public:
    // Creates (truncates) `path`. Returns Ok or FileUnreadable when it cannot be written.
    static Result open(const std::string& path, int sampleRate, std::unique_ptr<WavWriter>* out);
    ~WavWriter();
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    Result write(const float* samples, size_t frames);
    // Patches the header and closes the file. Returns Ok or FileUnreadable (write error).
    Result finish();
    uint64_t framesWritten() const { return frames_; }

private:
    struct FileCloser {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    WavWriter(std::FILE* file, int sampleRate) : file_(file), sampleRate_(sampleRate) {}
    Result writeHeader(uint32_t dataBytes);

    std::unique_ptr<std::FILE, FileCloser> file_;
    int sampleRate_;
    uint64_t frames_ = 0;
    bool failed_ = false;
    std::vector<int16_t> pcm_;
};

} // namespace audio
