#include "AyCheck.h"

#include <cstring>
#include <optional>

namespace game_codec {

namespace {

class AyFile {
public:
    explicit AyFile(std::span<const uint8_t> data) : data_(data) {}

    // The target of the big-endian signed relative pointer at `at`, when it leaves at least
    // `room` bytes to the end of the file.
    std::optional<size_t> follow(size_t at, size_t room) const {
        if (at + 2 > data_.size()) {
            return std::nullopt;
        }
        const auto offset = static_cast<int16_t>((data_[at] << 8) | data_[at + 1]);
        const int64_t target = static_cast<int64_t>(at) + offset;
        if (target < 0 || static_cast<uint64_t>(target) + room > data_.size()) {
            return std::nullopt;
        }
        return static_cast<size_t>(target);
    }
    // True when the pointer at `at` leads to a NUL-terminated string inside the file.
    bool string(size_t at) const {
        const auto target = follow(at, 1);
        return target && std::memchr(data_.data() + *target, 0, data_.size() - *target) != nullptr;
    }
    uint16_t word(size_t at) const {
        return static_cast<uint16_t>((data_[at] << 8) | data_[at + 1]);
    }

private:
    std::span<const uint8_t> data_;
};

constexpr size_t SongDataSize = 14; // channels, noise, lengths, registers, two pointers
constexpr size_t PointsSize = 6;    // stack, init and interrupt addresses
constexpr size_t BlockSize = 6;     // address, length, data pointer
constexpr int MaxBlocks = 256;

bool songIsPlayable(const AyFile& file, size_t entry) {
    if (!file.string(entry)) {
        return false;
    }
    const auto song = file.follow(entry + 2, SongDataSize);
    if (!song || !file.follow(*song + 10, PointsSize)) {
        return false;
    }
    auto block = file.follow(*song + 12, 2);
    for (int i = 0; block && i < MaxBlocks; ++i) {
        if (file.word(*block) == 0) {
            return true; // end of the block list
        }
        // The block must fit the Z80's 64 KiB: libgme copies it there without a check.
        const uint32_t address = file.word(*block);
        if (!file.follow(*block, BlockSize) || !file.follow(*block + 4, 1) ||
            address + file.word(*block + 2) > 0x10000) {
            return false;
        }
        block = *block + BlockSize;
    }
    return false;
}

} // namespace

bool isPlayableAy(std::span<const uint8_t> data) {
    if (data.size() < 0x14) {
        return false;
    }
    const AyFile file(data);
    const size_t songs = size_t{data[0x10]} + 1;
    if (!file.string(0x0C) || !file.string(0x0E) || data[0x11] >= songs) {
        return false;
    }
    const auto table = file.follow(0x12, 4 * songs);
    if (!table) {
        return false;
    }
    for (size_t song = 0; song < songs; ++song) {
        if (!songIsPlayable(file, *table + 4 * song)) {
            return false;
        }
    }
    return true;
}

} // namespace game_codec
