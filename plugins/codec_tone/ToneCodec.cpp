// The plug-in's C table for ".tone" descriptions (see ToneDescription.h).
#include "TamberloCodec.h"
#include "ToneDescription.h"

#include <cmath>
#include <fstream>
#include <iterator>
#include <new>
#include <numbers>
#include <string>

namespace {

struct ToneHandle {
    tone::ToneDescription description;
    int subsong = 0;
    uint64_t position = 0; // next frame
};

void* openText(const char* text, size_t size) {
    const auto description = tone::parseToneDescription(text, size);
    if (!description) {
        return nullptr;
    }
    return new (std::nothrow) ToneHandle{*description};
}

int probe(const uint8_t* head, size_t size, const char*) {
    return tone::hasMagic(head, size);
}

void* openPath(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char buffer[4097];
    file.read(buffer, sizeof buffer);
    text.assign(buffer, static_cast<size_t>(file.gcount()));
    return openText(text.data(), text.size());
}

void* openMemory(const uint8_t* data, size_t size) {
    return openText(reinterpret_cast<const char*>(data), size);
}

int getInfo(void* handle, TamberloCodecInfo* info) {
    const auto* tone = static_cast<ToneHandle*>(handle);
    info->sample_rate = tone->description.rate;
    info->channels = 1;
    info->length_frames = tone->description.frames;
    info->subsong_count = tone->description.subsongs;
    info->bit_rate = 0;
    return 0;
}

size_t read(void* handle, float* out, size_t frames) {
    auto* tone = static_cast<ToneHandle*>(handle);
    const double step = 2 * std::numbers::pi * tone->description.frequency * (tone->subsong + 1) /
                        tone->description.rate;
    size_t written = 0;
    while (written < frames && tone->position < tone->description.frames) {
        out[written++] = static_cast<float>(0.5 * std::sin(step * tone->position++));
    }
    return written;
}

int seek(void* handle, uint64_t frame) {
    auto* tone = static_cast<ToneHandle*>(handle);
    if (frame > tone->description.frames) {
        return -1;
    }
    tone->position = frame;
    return 0;
}

int selectSubsong(void* handle, int32_t index) {
    auto* tone = static_cast<ToneHandle*>(handle);
    if (index < 0 || index >= tone->description.subsongs) {
        return -1;
    }
    tone->subsong = index;
    tone->position = 0;
    return 0;
}

void close(void* handle) {
    delete static_cast<ToneHandle*>(handle);
}

const TamberloCodecTable table = {
    TAMBERLO_CODEC_ABI_VERSION,
    "tone",
    probe,
    openPath,
    openMemory,
    getInfo,
    read,
    seek,
    selectSubsong,
    close,
};

} // namespace

extern "C" TAMBERLO_CODEC_EXPORT const TamberloCodecTable* tamberlo_codec_entry() {
    return &table;
}
