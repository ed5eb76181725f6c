#include "YmFile.h"

#include "LhaArchive.h"

#include <algorithm>
#include <cstring>

namespace ym {

namespace {

constexpr uint32_t MinClockHz = 100000;
constexpr uint32_t MaxClockHz = 10000000;
constexpr uint32_t MaxFrameRate = 1000;

bool hasPrefix(std::span<const uint8_t> bytes, std::string_view magic) {
    return bytes.size() >= magic.size() &&
           std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
}

bool endsWithYm(std::string_view name) {
    if (name.size() < 3) {
        return false;
    }
    const auto tail = name.substr(name.size() - 3);
    return tail[0] == '.' && (tail[1] == 'y' || tail[1] == 'Y') &&
           (tail[2] == 'm' || tail[2] == 'M');
}

// Reads big-endian values and NUL-terminated strings, failing once past the end.
class Reader {
public:
    explicit Reader(std::span<const uint8_t> bytes) : bytes_(bytes) {}
    bool has(size_t count) const { return count <= bytes_.size() - at_; }
    uint32_t big(int count) {
        uint32_t value = 0;
        for (int i = 0; i < count; ++i) {
            value = (value << 8) | bytes_[at_++];
        }
        return value;
    }
    std::optional<std::string> text() {
        const auto rest = bytes_.subspan(at_);
        const auto end = std::find(rest.begin(), rest.end(), uint8_t{0});
        if (end == rest.end()) {
            return std::nullopt;
        }
        std::string value(rest.begin(), end);
        at_ += value.size() + 1;
        return value;
    }
    std::span<const uint8_t> take(size_t count) {
        const auto part = bytes_.subspan(at_, count);
        at_ += count;
        return part;
    }
    size_t left() const { return bytes_.size() - at_; }

private:
    std::span<const uint8_t> bytes_;
    size_t at_ = 0;
};

// Frames of `registers` registers each; interleaved dumps hold all frames of register 0 first.
std::vector<YmRegisters> readFrames(std::span<const uint8_t> data, size_t frameCount,
                                    size_t registers, bool interleaved) {
    std::vector<YmRegisters> frames(frameCount);
    for (size_t frame = 0; frame < frameCount; ++frame) {
        frames[frame].fill(0);
        for (size_t r = 0; r < registers; ++r) {
            frames[frame][r] =
                interleaved ? data[r * frameCount + frame] : data[frame * registers + r];
        }
    }
    return frames;
}

std::optional<YmSong> parseYm3(std::span<const uint8_t> file, YmVersion version) {
    YmSong song;
    song.version = version;
    auto data = file.subspan(4);
    if (version == YmVersion::Ym3b) {
        if (data.size() < 4) {
            return std::nullopt;
        }
        const auto tail = data.subspan(data.size() - 4);
        song.loopFrame = static_cast<uint32_t>(tail[0]) | (static_cast<uint32_t>(tail[1]) << 8) |
                         (static_cast<uint32_t>(tail[2]) << 16) |
                         (static_cast<uint32_t>(tail[3]) << 24);
        data = data.first(data.size() - 4);
    }
    const size_t frameCount = data.size() / 14;
    if (frameCount == 0) {
        return std::nullopt;
    }
    song.frames = readFrames(data, frameCount, 14, true);
    if (song.loopFrame >= frameCount) {
        song.loopFrame = 0;
    }
    return song;
}

std::optional<YmSong> parseYm5(std::span<const uint8_t> file, YmVersion version) {
    Reader reader(file.subspan(12)); // magic and "LeOnArD!"
    if (!reader.has(22)) {
        return std::nullopt;
    }
    YmSong song;
    song.version = version;
    const uint32_t frameCount = reader.big(4);
    const uint32_t attributes = reader.big(4);
    const uint32_t drumCount = reader.big(2);
    song.clockHz = reader.big(4);
    song.frameRate = reader.big(2);
    song.loopFrame = reader.big(4);
    const uint32_t extraBytes = reader.big(2);
    if (frameCount == 0 || song.clockHz < MinClockHz || song.clockHz > MaxClockHz ||
        song.frameRate == 0 || song.frameRate > MaxFrameRate || !reader.has(extraBytes)) {
        return std::nullopt;
    }
    reader.take(extraBytes);
    song.drums4Bit = (attributes & 4) != 0;
    const bool drumsSigned = (attributes & 2) != 0;
    for (uint32_t i = 0; i < drumCount; ++i) {
        if (!reader.has(4)) {
            return std::nullopt;
        }
        const uint32_t size = reader.big(4);
        if (!reader.has(size)) {
            return std::nullopt;
        }
        const auto sample = reader.take(size);
        auto& drum = song.drums.emplace_back(sample.begin(), sample.end());
        if (drumsSigned && !song.drums4Bit) {
            for (auto& level : drum) {
                level ^= 0x80;
            }
        }
    }
    auto name = reader.text();
    auto author = reader.text();
    auto comment = reader.text();
    if (!name || !author || !comment || reader.left() / 16 < frameCount) {
        return std::nullopt;
    }
    song.name = std::move(*name);
    song.author = std::move(*author);
    song.frames =
        readFrames(reader.take(size_t{16} * frameCount), frameCount, 16, (attributes & 1) != 0);
    if (song.loopFrame >= frameCount) {
        song.loopFrame = 0;
    }
    return song;
}

std::optional<YmSong> parsePlain(std::span<const uint8_t> file) {
    if (hasPrefix(file, "YM2!")) {
        return parseYm3(file, YmVersion::Ym2);
    }
    if (hasPrefix(file, "YM3!")) {
        return parseYm3(file, YmVersion::Ym3);
    }
    if (hasPrefix(file, "YM3b")) {
        return parseYm3(file, YmVersion::Ym3b);
    }
    if (hasPrefix(file, "YM5!LeOnArD!")) {
        return parseYm5(file, YmVersion::Ym5);
    }
    if (hasPrefix(file, "YM6!LeOnArD!")) {
        return parseYm5(file, YmVersion::Ym6);
    }
    return std::nullopt;
}

bool isPlainMagic(std::span<const uint8_t> head) {
    return hasPrefix(head, "YM2!") || hasPrefix(head, "YM3!") || hasPrefix(head, "YM3b") ||
           hasPrefix(head, "YM5!LeOnArD!") || hasPrefix(head, "YM6!LeOnArD!");
}

} // namespace

bool looksLikeYm(std::span<const uint8_t> head, std::string_view fileName) {
    if (isPlainMagic(head)) {
        return true;
    }
    if (head.size() < 22 || head[2] != '-' || head[3] != 'l' || head[4] != 'h' || head[6] != '-') {
        return false;
    }
    const auto member = readLhaHeader(head);
    return member && (endsWithYm(member->name) || endsWithYm(fileName));
}

std::optional<YmSong> parseYm(std::span<const uint8_t> file) {
    if (isPlainMagic(file)) {
        return parsePlain(file);
    }
    const auto member = readLhaHeader(file);
    if (!member) {
        return std::nullopt;
    }
    const auto unpacked = unpackLhaMember(file, *member, MaxUnpackedBytes);
    if (!unpacked || !isPlainMagic(*unpacked)) {
        return std::nullopt;
    }
    auto song = parsePlain(*unpacked);
    if (song) {
        song->packed = true;
    }
    return song;
}

std::string formatName(const YmSong& song) {
    static constexpr const char* Names[] = {"YM2", "YM3", "YM3b", "YM5", "YM6"};
    std::string name = Names[static_cast<int>(song.version)];
    name += " (Atari ST YM2149)";
    return name;
}

} // namespace ym
