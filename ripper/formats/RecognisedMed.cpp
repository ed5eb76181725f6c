// MED and OctaMED modules ("MMD0" to "MMD3"): recognised and stepped over.
//
// Layout from module start s (the tag), big-endian: 4 module length in bytes (the whole file),
// 8 song structure offset, 16 block table offset, 24 sample table offset, 32 expansion data
// offset (offsets from s, even, inside the module; 0 means none for the last two). The song
// structure is at least 788 bytes: 63 sample records of 8 bytes, then the block count and the
// song length (16 bits each, both at least 1).
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

namespace {
constexpr std::uint32_t kHeaderBytes = 52;
constexpr std::uint32_t kSongBytes = 788;

bool insideModule(std::uint32_t offset, std::uint32_t length, bool optional) {
    if (offset == 0)
        return optional;
    return offset % 2 == 0 && offset >= kHeaderBytes && offset < length;
}

int testMed(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kHeaderBytes))
        return 1;
    const std::uint32_t length = be32(st, s + 4);
    const std::uint32_t song = be32(st, s + 8);
    if (length < kHeaderBytes + kSongBytes || !fits(st, s, length) ||
        !insideModule(song, length, false) || song + std::uint64_t(kSongBytes) > length ||
        !insideModule(be32(st, s + 16), length, false) ||
        !insideModule(be32(st, s + 24), length, true) ||
        !insideModule(be32(st, s + 32), length, true))
        return 1;
    if (be16(st, s + song + 504) == 0 || be16(st, s + song + 506) == 0)
        return 1;
    return recognised::accept(st, s, length);
}

// MMD0 is MED's own layout; MMD1 to MMD3 are OctaMED's.
void ripMed(RipState& st) {
    const bool med = st.input[st.moduleStart + 3] == '0';
    recognised::stepOver(st, med ? "MED (MMD0) module" : "OctaMED (MMD1) module", 100);
}
} // namespace

const FormatSteps medSteps = {testMed, ripMed, nullptr};
