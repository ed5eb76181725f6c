#pragma once
// Renders tracker modules (MOD, S3M, XM, IT and the other formats libopenmpt reads) into
// interleaved stereo float. Modules are recognised by content, never by file name extension.
//
// Threading: see Decoder.h (one thread at a time).

#include "Decoder.h"

#include <libopenmpt/libopenmpt.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace audio::openmpt_decoder {

// The rate modules are rendered at, in Hz.
inline constexpr int ModuleSampleRate = 44100;

// How many leading bytes looksLikeModule wants to see for a certain answer.
size_t probeBytesWanted();

// True when libopenmpt recognises the leading bytes `head` of a source of `totalBytes` bytes.
bool looksLikeModule(const uint8_t* head, size_t size, uint64_t totalBytes);

// Loads a whole module from `data` and accepts it when the first frames render.
// Returns Ok with *out set, FormatUnsupported (not a module) or FormatCorrupt.
Result openOpenMptDecoder(const std::vector<uint8_t>& data, std::unique_ptr<Decoder>* out);

class OpenMptDecoder final : public Decoder {
public:
    OpenMptDecoder(std::unique_ptr<openmpt::module> module, uint64_t rawBytes);

    int sampleRate() const override { return ModuleSampleRate; }
    SoundType type() const override { return type_; }
    uint64_t lengthFrames() const override { return lengthFrames_; }
    uint64_t lengthRawBytes() const override { return rawBytes_; }
    int64_t bitRate() const override;
    int subsongCount() const override { return subsongs_; }
    Result selectSubsong(int index) override;
    size_t read(float* out, size_t frames) override;
    Result seek(uint64_t frame) override;
    Result lastError() const override { return Result::Ok; }

    // Renders the first block; false when nothing comes out (the module is unusable).
    bool renderFirstFrames();

private:
    void updateLength();
    size_t render(float* out, size_t frames);

    std::unique_ptr<openmpt::module> module_;
    uint64_t rawBytes_ = 0;
    SoundType type_ = SoundType::OtherModule;
    int subsongs_ = 1;
    uint64_t lengthFrames_ = 0;
    std::vector<float> pending_; // first rendered frames, handed out before rendering more
    size_t pendingOffset_ = 0;   // in frames
};

} // namespace audio::openmpt_decoder
