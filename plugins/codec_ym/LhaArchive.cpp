#include "LhaArchive.h"

#include "LhStaticDecoder.h"

#include <cstring>

namespace ym {

namespace {

uint32_t little(std::span<const uint8_t> bytes, size_t at, int count) {
    uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i) {
        value = (value << 8) | bytes[at + static_cast<size_t>(i)];
    }
    return value;
}

bool knownMethodShape(std::span<const uint8_t> archive) {
    return archive.size() >= 22 && archive[2] == '-' && archive[3] == 'l' &&
           (archive[4] == 'h' || archive[4] == 'z') && archive[6] == '-';
}

// Walks the extended headers that start at `at` with the first one's size `next`; adds their
// total size to `total` and picks up the file name. False when one runs past the data.
bool readExtendedHeaders(std::span<const uint8_t> archive, size_t at, uint32_t next,
                         uint64_t& total, LhaMember& member) {
    // Each header is at least 3 bytes long, so the walk ends within the data.
    while (next != 0) {
        if (next < 3 || at + next > archive.size()) {
            return false;
        }
        if (archive[at] == 0x01) { // file name
            member.name.assign(reinterpret_cast<const char*>(&archive[at + 1]), next - 3);
        }
        total += next;
        at += next;
        next = little(archive, at - 2, 2);
    }
    member.dataOffset = at;
    return true;
}

} // namespace

std::optional<LhaMember> readLhaHeader(std::span<const uint8_t> archive) {
    if (!knownMethodShape(archive)) {
        return std::nullopt;
    }
    LhaMember member;
    member.method.assign(reinterpret_cast<const char*>(&archive[2]), 5);
    member.packedSize = little(archive, 7, 4);
    member.originalSize = little(archive, 11, 4);
    const uint8_t level = archive[20];
    if (level == 0 || level == 1) {
        const size_t headerSize = archive[0];
        const size_t nameLength = archive[21];
        const size_t baseEnd = 2 + headerSize;
        // Base header: ... name, CRC-16 and (level 1) OS id and the next extension's size.
        const size_t minimum = 22 + nameLength + (level == 0 ? 2 : 5);
        if (baseEnd < minimum || baseEnd > archive.size()) {
            return std::nullopt;
        }
        uint8_t sum = 0;
        for (size_t i = 2; i < baseEnd; ++i) {
            sum = static_cast<uint8_t>(sum + archive[i]);
        }
        if (sum != archive[1]) {
            return std::nullopt;
        }
        member.name.assign(reinterpret_cast<const char*>(&archive[22]), nameLength);
        member.crc = static_cast<uint16_t>(little(archive, 22 + nameLength, 2));
        member.dataOffset = baseEnd;
        if (level == 1) {
            // The packed size of level 1 counts the extended headers too.
            uint64_t extended = 0;
            if (!readExtendedHeaders(archive, baseEnd, little(archive, baseEnd - 2, 2), extended,
                                     member) ||
                extended > member.packedSize) {
                return std::nullopt;
            }
            member.packedSize -= extended;
        }
        return member;
    }
    if (level == 2) {
        const size_t totalSize = little(archive, 0, 2);
        if (archive.size() < 26 || totalSize < 26 || totalSize > archive.size()) {
            return std::nullopt;
        }
        member.crc = static_cast<uint16_t>(little(archive, 21, 2));
        uint64_t extended = 0;
        if (!readExtendedHeaders(archive, 26, little(archive, 24, 2), extended, member) ||
            member.dataOffset > totalSize) {
            return std::nullopt;
        }
        member.dataOffset = totalSize;
        return member;
    }
    return std::nullopt;
}

std::optional<std::vector<uint8_t>> unpackLhaMember(std::span<const uint8_t> archive,
                                                    const LhaMember& member, size_t maxBytes) {
    if (member.dataOffset > archive.size() ||
        member.packedSize > archive.size() - member.dataOffset || member.originalSize > maxBytes) {
        return std::nullopt;
    }
    const auto packed = archive.subspan(member.dataOffset, static_cast<size_t>(member.packedSize));
    const auto size = static_cast<size_t>(member.originalSize);
    std::optional<std::vector<uint8_t>> unpacked;
    if (member.method == "-lh0-") {
        if (packed.size() == size) {
            unpacked.emplace(packed.begin(), packed.end());
        }
    } else if (member.method == "-lh4-") {
        unpacked = decodeLhStatic(packed, size, 12);
    } else if (member.method == "-lh5-") {
        unpacked = decodeLhStatic(packed, size, 13);
    } else if (member.method == "-lh6-") {
        unpacked = decodeLhStatic(packed, size, 15);
    } else if (member.method == "-lh7-") {
        unpacked = decodeLhStatic(packed, size, 16);
    }
    if (!unpacked || lhaCrc16(*unpacked) != member.crc) {
        return std::nullopt;
    }
    return unpacked;
}

uint16_t lhaCrc16(std::span<const uint8_t> data) {
    uint16_t crc = 0;
    for (uint8_t byte : data) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? static_cast<uint16_t>((crc >> 1) ^ 0xA001)
                                 : static_cast<uint16_t>(crc >> 1);
        }
    }
    return crc;
}

} // namespace ym
