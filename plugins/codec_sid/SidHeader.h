#pragma once
// The fixed start of a PSID/RSID file: enough to tell a SID tune from other data cheaply,
// without the library.
//
// Threading: pure functions, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace sid {

enum class SidKind { Psid, Rsid };

struct SidHeader {
    SidKind kind = SidKind::Psid;
    int version = 0;       // 1..4
    size_t dataOffset = 0; // 0x76 for version 1, 0x7C for the others
    int songs = 0;         // as stored, 0..65535 (the library clamps it to 1..256)
};

// The header's facts when `head` starts with "PSID" or "RSID", a version 1..4 (RSID: 2..4)
// and the data offset that version has; nothing otherwise. Reads at most 16 bytes.
std::optional<SidHeader> readSidHeader(std::span<const uint8_t> head);

} // namespace sid
