#include "SidHeader.h"

#include <cstring>

namespace sid {

namespace {
unsigned big16(std::span<const uint8_t> bytes, size_t offset) {
    return (unsigned{bytes[offset]} << 8) | bytes[offset + 1];
}
} // namespace

std::optional<SidHeader> readSidHeader(std::span<const uint8_t> head) {
    if (head.size() < 0x10) {
        return std::nullopt;
    }
    SidHeader header;
    if (std::memcmp(head.data(), "PSID", 4) == 0) {
        header.kind = SidKind::Psid;
    } else if (std::memcmp(head.data(), "RSID", 4) == 0) {
        header.kind = SidKind::Rsid;
    } else {
        return std::nullopt;
    }
    header.version = static_cast<int>(big16(head, 0x04));
    const int lowestVersion = header.kind == SidKind::Rsid ? 2 : 1;
    if (header.version < lowestVersion || header.version > 4) {
        return std::nullopt;
    }
    header.dataOffset = big16(head, 0x06);
    if (header.dataOffset != (header.version == 1 ? 0x76u : 0x7Cu)) {
        return std::nullopt;
    }
    header.songs = static_cast<int>(big16(head, 0x0E));
    return header;
}

} // namespace sid
