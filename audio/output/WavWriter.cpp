#include "WavWriter.h"

#include <algorithm>
#include <cmath>

namespace audio {
namespace {

constexpr uint64_t MaxDataBytes = 0xFFFFFFFFull - 36;

void put16(unsigned char* at, uint16_t v) {
    at[0] = static_cast<unsigned char>(v & 0xFF);
    at[1] = static_cast<unsigned char>(v >> 8);
}
void put32(unsigned char* at, uint32_t v) {
    put16(at, static_cast<uint16_t>(v & 0xFFFF));
    put16(at + 2, static_cast<uint16_t>(v >> 16));
}

} // namespace

Result WavWriter::open(const std::string& path, int sampleRate, std::unique_ptr<WavWriter>* out) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return Result::FileUnreadable;
    }
    std::unique_ptr<WavWriter> writer(new WavWriter(file, sampleRate));
    const Result header = writer->writeHeader(0);
    if (header != Result::Ok) {
        return header;
    }
    *out = std::move(writer);
    return Result::Ok;
}

WavWriter::~WavWriter() {
    finish();
}

Result WavWriter::writeHeader(uint32_t dataBytes) {
    unsigned char h[44] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm',
                           't', ' ', 0,   0,   0, 0, 0, 0, 0,   0,   0,   0,   0,   0,
                           0,   0,   0,   0,   0, 0, 0, 0, 'd', 'a', 't', 'a'};
    put32(h + 4, 36 + dataBytes);
    put32(h + 16, 16);                                     // fmt chunk size
    put16(h + 20, 1);                                      // PCM
    put16(h + 22, 2);                                      // channels
    put32(h + 24, static_cast<uint32_t>(sampleRate_));     // frames per second
    put32(h + 28, static_cast<uint32_t>(sampleRate_) * 4); // bytes per second
    put16(h + 32, 4);                                      // bytes per frame
    put16(h + 34, 16);                                     // bits per sample
    put32(h + 40, dataBytes);
    if (std::fseek(file_.get(), 0, SEEK_SET) != 0 || std::fwrite(h, 1, 44, file_.get()) != 44) {
        failed_ = true;
        return Result::FileUnreadable;
    }
    return Result::Ok;
}

Result WavWriter::write(const float* samples, size_t frames) {
    if (!file_ || failed_) {
        return Result::FileUnreadable;
    }
    frames = static_cast<size_t>(std::min<uint64_t>(frames, MaxDataBytes / 4 - frames_));
    pcm_.resize(frames * 2);
    for (size_t i = 0; i < frames * 2; ++i) {
        // The inverse of the decoders' k / 32768, so 16-bit sources pass through unchanged.
        const long v = std::lrint(static_cast<double>(samples[i]) * 32768.0);
        pcm_[i] = static_cast<int16_t>(std::clamp<long>(v, -32768, 32767));
    }
    // WAV is little-endian, like every machine this player builds for.
    if (std::fwrite(pcm_.data(), sizeof(int16_t), pcm_.size(), file_.get()) != pcm_.size()) {
        failed_ = true;
        return Result::FileUnreadable;
    }
    frames_ += frames;
    return Result::Ok;
}

Result WavWriter::finish() {
    if (!file_) {
        return failed_ ? Result::FileUnreadable : Result::Ok;
    }
    if (!failed_) {
        writeHeader(static_cast<uint32_t>(frames_ * 4));
    }
    const bool closedCleanly = std::fclose(file_.release()) == 0;
    return failed_ || !closedCleanly ? Result::FileUnreadable : Result::Ok;
}

} // namespace audio
