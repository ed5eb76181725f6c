#include "PluginDecoder.h"

#include <algorithm>

namespace audio {

namespace {
constexpr int32_t MaxSampleRate = 768000;
constexpr size_t MonoChunkFrames = 4096;
} // namespace

Result openPluginDecoder(const LoadedPlugin& plugin, const std::string& path,
                         std::shared_ptr<const std::vector<uint8_t>> memory, uint64_t rawBytes,
                         std::unique_ptr<Decoder>* out) {
    const TamberloCodecTable& table = plugin.table();
    void* handle = nullptr;
    if (memory) {
        if (table.open_memory != nullptr) {
            handle = table.open_memory(memory->data(), memory->size());
        }
    } else if (table.open_path != nullptr) {
        handle = table.open_path(path.c_str());
    }
    if (handle == nullptr) {
        return Result::FormatUnsupported;
    }
    auto decoder = std::make_unique<PluginDecoder>(plugin, handle, std::move(memory), rawBytes);
    if (!decoder->loadInfo()) {
        return Result::FormatCorrupt;
    }
    // The first frames must decode; then go back to the start.
    float probe[2 * 64];
    if (decoder->read(probe, 64) == 0 || decoder->seek(0) != Result::Ok) {
        return Result::FormatCorrupt;
    }
    *out = std::move(decoder);
    return Result::Ok;
}

PluginDecoder::PluginDecoder(const LoadedPlugin& plugin, void* handle,
                             std::shared_ptr<const std::vector<uint8_t>> memory, uint64_t rawBytes)
    : table_(plugin.table()), library_(plugin.library()), memory_(std::move(memory)),
      handle_(handle), rawBytes_(rawBytes) {}

PluginDecoder::~PluginDecoder() {
    table_.close(handle_);
}

bool PluginDecoder::loadInfo() {
    TamberloCodecInfo info{};
    if (table_.get_info(handle_, &info) != 0) {
        return false;
    }
    if (info.sample_rate < 1 || info.sample_rate > MaxSampleRate ||
        (info.channels != 1 && info.channels != 2) || info.subsong_count < 1) {
        return false;
    }
    info.bit_rate = std::max<int64_t>(0, info.bit_rate);
    // A plug-in that forgot the terminator must not make the player read past the name.
    info.format_name[sizeof info.format_name - 1] = '\0';
    info_ = info;
    return true;
}

size_t PluginDecoder::read(float* out, size_t frames) {
    if (info_.channels == 2) {
        return std::min(frames, table_.read(handle_, out, frames));
    }
    size_t written = 0;
    mono_.resize(MonoChunkFrames);
    while (written < frames) {
        const size_t want = std::min(MonoChunkFrames, frames - written);
        const size_t got = std::min(want, table_.read(handle_, mono_.data(), want));
        for (size_t i = 0; i < got; ++i) {
            out[2 * (written + i)] = mono_[i];
            out[2 * (written + i) + 1] = mono_[i];
        }
        written += got;
        if (got < want) {
            break;
        }
    }
    return written;
}

Result PluginDecoder::seek(uint64_t frame) {
    if (table_.seek == nullptr) {
        return Result::Unsupported;
    }
    if (info_.length_frames != TAMBERLO_CODEC_UNKNOWN_LENGTH && frame > info_.length_frames) {
        return Result::SeekFailed;
    }
    return table_.seek(handle_, frame) == 0 ? Result::Ok : Result::SeekFailed;
}

Result PluginDecoder::selectSubsong(int index) {
    if (index < 0 || index >= info_.subsong_count) {
        return Result::InvalidParameter;
    }
    if (table_.select_subsong == nullptr) {
        return index == 0 ? seek(0) : Result::Unsupported;
    }
    if (table_.select_subsong(handle_, index) != 0) {
        return Result::InvalidParameter;
    }
    return loadInfo() ? Result::Ok : Result::FormatCorrupt;
}

} // namespace audio
