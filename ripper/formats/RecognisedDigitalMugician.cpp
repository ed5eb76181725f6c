// Digital Mugician 1 and 2 modules: recognised and stepped over. The scan meets them at "UGIC",
// the middle of their 24-byte signature " MUGICIAN/SOFTEYES 1990 " (" MUGICIAN2/SOFTEYES 1990"
// for version 2), which starts 2 bytes before it.
//
// Layout from module start s, big-endian: 24 arpeggio flag (16 bits, non-zero: a 256-byte
// arpeggio table ends the module), 26 track count (16 bits, 1-256), 28 the position counts of
// eight songs (32 bits each, at most 256), 60 instrument count, 64 waveform count, 68 sample
// count (32 bits each, at most 255), 72 sample data size; 76 eight 16-byte song headers; then
// per song its positions (8 bytes each: track and transpose for 4 channels), the tracks
// (256 bytes each), the instruments (16 bytes), the waveforms (128 bytes), the sample records
// (32 bytes), the sample data and the arpeggio table. Version 2 is read with the same layout:
// its extra voices are taken to live inside these sections.
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

#include <cstring>

namespace {
constexpr std::uint32_t kTagOffset = 2;
constexpr std::uint32_t kSongHeaders = 76;
constexpr std::uint32_t kSongs = 8;

int testDigitalMugician(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    const std::uint64_t s = st.position - kTagOffset;
    if (!fits(st, s, kSongHeaders + 16 * kSongs))
        return 1;
    const char* signature = reinterpret_cast<const char*>(st.input + s);
    if (std::memcmp(signature, " MUGICIAN", 9) != 0 ||
        (std::memcmp(signature + 9, "/SOFTEYES 1990 ", 15) != 0 &&
         std::memcmp(signature + 9, "2/SOFTEYES 1990", 15) != 0))
        return 1;
    const std::uint32_t tracks = be16(st, s + 26);
    if (tracks == 0 || tracks > 256)
        return 1;
    std::uint64_t size = kSongHeaders + 16 * kSongs + tracks * 256u;
    for (std::uint32_t i = 0; i < kSongs; ++i) {
        const std::uint32_t positions = be32(st, s + 28 + 4 * i);
        if (positions > 256)
            return 1;
        size += positions * 8u;
    }
    const std::uint32_t instruments = be32(st, s + 60);
    const std::uint32_t waveforms = be32(st, s + 64);
    const std::uint32_t samples = be32(st, s + 68);
    if (instruments > 255 || waveforms > 255 || samples > 255)
        return 1;
    size += instruments * 16u + waveforms * 128u + samples * 32u + be32(st, s + 72);
    if (be16(st, s + 24) != 0)
        size += 256;
    return recognised::accept(st, s, size);
}

void ripDigitalMugician(RipState& st) {
    recognised::stepOver(st, "Digital Mugician 1/2 module", 129);
}
} // namespace

const FormatSteps digitalMugicianSteps = {testDigitalMugician, ripDigitalMugician, nullptr};
