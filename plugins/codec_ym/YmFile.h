#pragma once
// YM register dumps of the YM2149 sound chip: "YM2!", "YM3!", "YM3b", "YM5!" and "YM6!", plain
// or as the first member of an LHA archive. Parsing turns any of them into one frame list of
// 16 registers (registers 14 and 15 and the spare bits of the others carry the YM5/YM6
// special effects) plus the song's clock, frame rate and digidrum samples.
//
// Threading: pure functions, callable from any thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ym {

enum class YmVersion { Ym2, Ym3, Ym3b, Ym5, Ym6 };

using YmRegisters = std::array<uint8_t, 16>;

struct YmSong {
    YmVersion version = YmVersion::Ym3;
    bool packed = false;             // came out of an LHA archive
    uint32_t clockHz = 2000000;      // chip clock, 100 kHz .. 10 MHz
    uint32_t frameRate = 50;         // register frames per second, 1 .. 1000
    uint32_t loopFrame = 0;          // frame the song loops to (< frames.size())
    std::vector<YmRegisters> frames; // at least one
    // Digidrum samples, one level per byte: 8-bit unsigned, or 4-bit volumes when drums4Bit.
    std::vector<std::vector<uint8_t>> drums;
    bool drums4Bit = false;
    std::string name;
    std::string author;
};

// Largest unpacked dump accepted (bytes).
inline constexpr size_t MaxUnpackedBytes = size_t{64} << 20;

// True when `head` (a file's first bytes) starts like a YM dump, or like an LHA archive whose
// member, or `fileName`, is called *.ym. Cheap: a few byte compares.
bool looksLikeYm(std::span<const uint8_t> head, std::string_view fileName);

// Parses a whole file; nothing when it is not a complete, sane YM dump.
std::optional<YmSong> parseYm(std::span<const uint8_t> file);

// "YM5 (Atari ST YM2149)" and the like.
std::string formatName(const YmSong& song);

} // namespace ym
