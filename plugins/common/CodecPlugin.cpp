#include "CodecPlugin.h"

#include <algorithm>
#include <fstream>

namespace tamberlo_codec {

namespace {
// Frames decoded per step while seeking by discarding (stereo scratch of 32 KiB).
constexpr size_t DiscardFrames = 4096;
} // namespace

size_t Codec::read(float* out, size_t frames) {
    const size_t got = std::min(frames, decode(out, frames));
    position_ += got;
    return got;
}

bool Codec::seek(uint64_t frame) {
    if (jump(frame)) {
        position_ = frame;
        return true;
    }
    if (frame < position_) {
        if (!restart()) {
            return false;
        }
        position_ = 0;
    }
    discard_.resize(2 * DiscardFrames);
    while (position_ < frame) {
        const size_t want =
            static_cast<size_t>(std::min<uint64_t>(DiscardFrames, frame - position_));
        if (read(discard_.data(), want) == 0) {
            return false;
        }
    }
    return true;
}

bool Codec::selectSubsong(int index) {
    if (!select(index)) {
        return false;
    }
    position_ = 0;
    return true;
}

void setFormatName(TamberloCodecInfo& info, std::string_view name) {
    const size_t length = std::min(name.size(), sizeof info.format_name - 1);
    std::memcpy(info.format_name, name.data(), length);
    info.format_name[length] = '\0';
}

std::vector<uint8_t> readWholeFile(const char* path, size_t maxBytes) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) {
        return {};
    }
    const std::streamoff size = file.tellg();
    if (size <= 0 || static_cast<uint64_t>(size) > maxBytes) {
        return {};
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    file.seekg(0);
    if (!file.read(reinterpret_cast<char*>(bytes.data()), size)) {
        return {};
    }
    return bytes;
}

} // namespace tamberlo_codec
