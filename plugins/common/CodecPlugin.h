#pragma once
// The C++ side of a codec plug-in: a plug-in implements one Codec class per open file and a
// Plugin description (probe and open), and TAMBERLO_CODEC_PLUGIN turns them into the C table
// of TamberloCodec.h. The adapter catches every exception at the C edge, reads files for
// open_path (bounded by the plug-in's MaxFileBytes), keeps the read position, and seeks by
// decoding and discarding where a library cannot jump.
//
// A Plugin type provides:
//   static constexpr const char* Name;            // short name, e.g. "sid"
//   static constexpr size_t MaxFileBytes;         // larger files are refused unread
//   static bool probe(std::span<const uint8_t> head, std::string_view fileName);
//     (or returning Claim, for a plug-in with formats to be decoded in a separate process)
//   static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data,
//                                                      const char* pathOrNull);
// open() gets the whole file or block; the bytes stay valid until the codec is destroyed.
//
// Threading: as TamberloCodec.h says: one Codec is used by one thread at a time; Plugin's
// static functions may run on several threads at once and keep no state.

#include "TamberloCodec.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tamberlo_codec {

// A probe's answer (TamberloCodec.h): not claimed, decoded in the player, or decoded in a
// separate process because the library may crash or hang on a damaged file of the format.
enum class Claim { No = 0, Yes = 1, Isolated = 2 };

class Codec {
public:
    virtual ~Codec() = default;

    // Facts of the selected subsong: sample_rate, channels, length_frames (or
    // TAMBERLO_CODEC_UNKNOWN_LENGTH), subsong_count, bit_rate, format_name (see setFormatName).
    // `info` arrives zeroed.
    virtual void describe(TamberloCodecInfo& info) const = 0;

    // Decodes up to `frames` frames at the current position (see TamberloCodecInfo.channels).
    // Returns the frames written, 0 at the end. Bounded work per call, whatever the data.
    size_t read(float* out, size_t frames);
    // Positions at `frame` of the selected subsong: jump() when the codec can, else from the
    // start by decoding and discarding. False past the end of the data.
    bool seek(uint64_t frame);
    // Selects subsong `index` (0-based) and positions at its start. False when out of range.
    bool selectSubsong(int index);

    uint64_t position() const { return position_; }

protected:
    virtual size_t decode(float* out, size_t frames) = 0;
    // Back to the start of the selected subsong. False when the library fails.
    virtual bool restart() = 0;
    // Selects subsong `index` and goes to its start; false when out of range or it fails.
    virtual bool select(int index) = 0;
    // Jumps straight to `frame` when the library can; false to fall back to decoding.
    virtual bool jump(uint64_t /*frame*/) { return false; }

private:
    uint64_t position_ = 0;
    std::vector<float> discard_;
};

// Copies `name` into info.format_name, cut to fit.
void setFormatName(TamberloCodecInfo& info, std::string_view name);

// The whole file at `path` when it holds 1..maxBytes bytes; empty otherwise.
std::vector<uint8_t> readWholeFile(const char* path, size_t maxBytes);

// True when `head` starts with `magic`.
inline bool startsWith(std::span<const uint8_t> head, std::string_view magic) {
    return head.size() >= magic.size() && std::memcmp(head.data(), magic.data(), magic.size()) == 0;
}

// The C functions of the table for Plugin (see the top of this file).
template <class Plugin> struct CodecTableFunctions {
    struct Handle {
        std::vector<uint8_t> owned; // the file's bytes when opened by path
        std::unique_ptr<Codec> codec;
    };
    static Codec& codecOf(void* handle) { return *static_cast<Handle*>(handle)->codec; }

    static int probe(const uint8_t* head, size_t size, const char* name) noexcept {
        try {
            const auto claim = Plugin::probe({head, size}, name != nullptr ? name : "");
            if constexpr (std::is_same_v<decltype(claim), const Claim>) {
                return static_cast<int>(claim);
            } else {
                return claim ? 1 : 0;
            }
        } catch (...) {
            return 0;
        }
    }
    static void* openBytes(std::vector<uint8_t> owned, std::span<const uint8_t> data,
                           const char* path) {
        auto handle = std::make_unique<Handle>();
        handle->owned = std::move(owned);
        if (!handle->owned.empty()) {
            data = handle->owned;
        }
        if (data.empty() || data.size() > Plugin::MaxFileBytes) {
            return nullptr;
        }
        handle->codec = Plugin::open(data, path);
        return handle->codec ? handle.release() : nullptr;
    }
    static void* openPath(const char* path) noexcept {
        try {
            std::vector<uint8_t> bytes = readWholeFile(path, Plugin::MaxFileBytes);
            return openBytes(std::move(bytes), {}, path);
        } catch (...) {
            return nullptr;
        }
    }
    static void* openMemory(const uint8_t* data, size_t size) noexcept {
        try {
            return openBytes({}, {data, size}, nullptr);
        } catch (...) {
            return nullptr;
        }
    }
    static int getInfo(void* handle, TamberloCodecInfo* info) noexcept {
        try {
            *info = TamberloCodecInfo{};
            codecOf(handle).describe(*info);
            return 0;
        } catch (...) {
            return -1;
        }
    }
    static size_t read(void* handle, float* out, size_t frames) noexcept {
        try {
            return codecOf(handle).read(out, frames);
        } catch (...) {
            return 0;
        }
    }
    static int seek(void* handle, uint64_t frame) noexcept {
        try {
            return codecOf(handle).seek(frame) ? 0 : -1;
        } catch (...) {
            return -1;
        }
    }
    static int selectSubsong(void* handle, int32_t index) noexcept {
        try {
            return codecOf(handle).selectSubsong(index) ? 0 : -1;
        } catch (...) {
            return -1;
        }
    }
    static void close(void* handle) noexcept { delete static_cast<Handle*>(handle); }

    static constexpr TamberloCodecTable table = {TAMBERLO_CODEC_ABI_VERSION,
                                                 Plugin::Name,
                                                 probe,
                                                 openPath,
                                                 openMemory,
                                                 getInfo,
                                                 read,
                                                 seek,
                                                 selectSubsong,
                                                 close};
};

} // namespace tamberlo_codec

// Defines the plug-in's exported entry point for Plugin. Use once per plug-in library.
#define TAMBERLO_CODEC_PLUGIN(Plugin)                                                              \
    extern "C" TAMBERLO_CODEC_EXPORT const TamberloCodecTable* tamberlo_codec_entry() {            \
        return &tamberlo_codec::CodecTableFunctions<Plugin>::table;                                \
    }
