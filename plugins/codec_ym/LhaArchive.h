#pragma once
// The first member of an LHA archive (header levels 0, 1 and 2) and its unpacking: -lh0-
// (stored) and the static-Huffman methods -lh4- to -lh7- (-lh5- is what YM files use).
//
// Threading: pure functions, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ym {

struct LhaMember {
    std::string method;        // e.g. "-lh5-"
    std::string name;          // the stored file name, maybe ""
    size_t dataOffset = 0;     // where the packed bytes start in the archive
    uint64_t packedSize = 0;   // bytes of packed data
    uint64_t originalSize = 0; // bytes after unpacking
    uint16_t crc = 0;          // CRC-16 of the unpacked bytes
};

// Parses the header at the start of `archive` (only the header needs to be there, so a file's
// first bytes are enough). Nothing when it is not a well-formed level 0, 1 or 2 header.
std::optional<LhaMember> readLhaHeader(std::span<const uint8_t> archive);

// Unpacks `member` from the whole `archive`: nothing when the method is unknown, the data is
// cut or corrupt, the unpacked size exceeds `maxBytes`, or the CRC does not match.
std::optional<std::vector<uint8_t>> unpackLhaMember(std::span<const uint8_t> archive,
                                                    const LhaMember& member, size_t maxBytes);

// The archive's CRC-16 (polynomial 0x8005, reflected, starting at 0) of `data`.
uint16_t lhaCrc16(std::span<const uint8_t> data);

} // namespace ym
