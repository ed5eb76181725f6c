#pragma once
// Bridges a codec plug-in's C table to the Decoder interface: checks what the plug-in reports,
// turns mono into stereo, and keeps the plug-in's library loaded while the decoder lives.
//
// Threading: see Decoder.h (one thread at a time).

#include "Decoder.h"
#include "LoadedPlugin.h"

#include <vector>

namespace audio {

// Opens the file `path` (when `memory` is null) or `memory` with `plugin`, which has already
// claimed the data. Accepted only when the plug-in's info is sane and the first frames decode.
// Returns Ok with *out set, FormatUnsupported (the plug-in cannot open it) or FormatCorrupt.
Result openPluginDecoder(const LoadedPlugin& plugin, const std::string& path,
                         std::shared_ptr<const std::vector<uint8_t>> memory, uint64_t rawBytes,
                         std::unique_ptr<Decoder>* out);

class PluginDecoder final : public Decoder {
public:
    PluginDecoder(const LoadedPlugin& plugin, void* handle,
                  std::shared_ptr<const std::vector<uint8_t>> memory, uint64_t rawBytes);
    ~PluginDecoder() override;
    PluginDecoder(const PluginDecoder&) = delete;
    PluginDecoder& operator=(const PluginDecoder&) = delete;

    int sampleRate() const override { return info_.sample_rate; }
    SoundType type() const override { return SoundType::User; }
    std::string formatName() const override { return info_.format_name; }
    uint64_t lengthFrames() const override { return info_.length_frames; }
    uint64_t lengthRawBytes() const override { return rawBytes_; }
    int64_t bitRate() const override { return info_.bit_rate; }
    int subsongCount() const override { return info_.subsong_count; }
    Result selectSubsong(int index) override;
    size_t read(float* out, size_t frames) override;
    Result seek(uint64_t frame) override;
    Result lastError() const override { return Result::Ok; }

    // Reads and checks the plug-in's info. False when it is missing or out of range.
    bool loadInfo();

private:
    const TamberloCodecTable& table_;
    std::shared_ptr<LibraryHandle> library_;
    std::shared_ptr<const std::vector<uint8_t>> memory_; // must outlive handle_
    void* handle_;
    uint64_t rawBytes_;
    TamberloCodecInfo info_{};
    std::vector<float> mono_; // scratch for mono plug-ins
};

} // namespace audio
