// Fastracker 2 modules ("Extended Module: "): recognised and stepped over.
//
// Layout from module start s (the tag), little-endian: 0 "Extended Module: ", 17 name
// (20 bytes), 37 0x1A, 38 tracker name, 58 version (0x0102-0x0104), 60 header size counted from
// 60, 64 song length (1-256), 68 channel count (1-64), 70 pattern count (at most 256),
// 72 instrument count (at most 128). The patterns follow the header: each a header of the size
// its first 32 bits give, packed data of the size at its offset 7. Then the instruments: each a
// header of the size its first 32 bits give, the sample count at 27 (at most 16) and, when
// there are samples, the sample header size at 29, then the sample headers (the data length in
// bytes in their first 32 bits) and the sample data.
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "RecognisedOnly.h"

#include <cstring>

namespace {
std::uint32_t le16(const RipState& st, std::uint64_t offset) {
    return st.input[offset] | st.input[offset + 1] << 8;
}
std::uint32_t le32(const RipState& st, std::uint64_t offset) {
    return le16(st, offset) | le16(st, offset + 2) << 16;
}

constexpr std::uint32_t kHeaderSizeField = 60;

// Walks one instrument at `at`; returns false when it does not fit the input.
bool skipInstrument(const RipState& st, std::uint64_t& at) {
    if (!fits(st, at, 29))
        return false;
    const std::uint32_t headerBytes = le32(st, at);
    const std::uint32_t samples = le16(st, at + 27);
    if (headerBytes < 29 || samples > 16 ||
        (samples != 0 && (headerBytes < 33 || !fits(st, at, 33))))
        return false;
    const std::uint32_t sampleHeaderBytes = samples ? le32(st, at + 29) : 0;
    if (samples != 0 && (sampleHeaderBytes < 4 || sampleHeaderBytes > 256))
        return false;
    std::uint64_t sampleHeader = at + headerBytes;
    if (!fits(st, sampleHeader, std::uint64_t(samples) * sampleHeaderBytes))
        return false;
    std::uint64_t dataBytes = 0;
    for (std::uint32_t i = 0; i < samples; ++i, sampleHeader += sampleHeaderBytes)
        dataBytes += le32(st, sampleHeader);
    at = sampleHeader + dataBytes;
    return fits(st, 0, at);
}

int testFastracker2(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, 80) || std::memcmp(st.input + s, "Extended Module: ", 17) != 0 ||
        st.input[s + 37] != 0x1A)
        return 1;
    const std::uint32_t version = le16(st, s + 58);
    const std::uint32_t headerBytes = le32(st, s + kHeaderSizeField);
    const std::uint32_t songLength = le16(st, s + 64);
    const std::uint32_t channels = le16(st, s + 68);
    const std::uint32_t patterns = le16(st, s + 70);
    const std::uint32_t instruments = le16(st, s + 72);
    if (version < 0x0102 || version > 0x0104 || headerBytes < 20 || songLength == 0 ||
        songLength > 256 || channels == 0 || channels > 64 || patterns > 256 || instruments > 128)
        return 1;
    std::uint64_t at = s + kHeaderSizeField + headerBytes;
    for (std::uint32_t i = 0; i < patterns; ++i) {
        if (!fits(st, at, 9) || le32(st, at) < 9)
            return 1;
        at += le32(st, at) + le16(st, at + 7);
    }
    for (std::uint32_t i = 0; i < instruments; ++i)
        if (!skipInstrument(st, at))
            return 1;
    return recognised::accept(st, s, at - s);
}

void ripFastracker2(RipState& st) {
    recognised::stepOver(st, "Fastracker (XM) 2.0 module", 109);
}
} // namespace

const FormatSteps fastracker2Steps = {testFastracker2, ripFastracker2, nullptr};
