#include "MpegFrameChain.h"

#include <array>

namespace audio::mpg123_decoder {

namespace {

constexpr uint64_t Id3HeaderBytes = 10;
constexpr uint8_t Id3FooterFlag = 0x10;

struct FrameHeader {
    int version = 0; // 1: MPEG-1, 2: MPEG-2, 25: MPEG-2.5
    int layer = 0;
    int bitRateKbps = 0;
    int sampleRate = 0;
    int channels = 0;
    bool crc = false; // a 16-bit CRC follows the header
    uint32_t frameBytes = 0;
};

// Bit rates in kbit/s by [MPEG-1 or not][layer - 1][index]; index 0 (free format) and 15 are
// never looked up.
constexpr std::array<std::array<std::array<int, 15>, 3>, 2> BitRates = {{
    {{{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
      {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
      {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}}},
    {{{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
      {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
      {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}}},
}};
constexpr std::array<int, 3> Mpeg1Rates = {44100, 48000, 32000};

std::optional<FrameHeader> parseHeader(const std::array<uint8_t, 4>& b) {
    if (b[0] != 0xFF || (b[1] & 0xE0) != 0xE0) {
        return std::nullopt;
    }
    const int versionBits = (b[1] >> 3) & 3;
    const int layerBits = (b[1] >> 1) & 3;
    const int bitRateIndex = b[2] >> 4;
    const int rateIndex = (b[2] >> 2) & 3;
    const int padding = (b[2] >> 1) & 1;
    const int mode = b[3] >> 6;
    const int emphasis = b[3] & 3;
    if (versionBits == 1 || layerBits == 0 || bitRateIndex == 0 || bitRateIndex == 15 ||
        rateIndex == 3 || emphasis == 2) {
        return std::nullopt;
    }
    FrameHeader header;
    header.version = versionBits == 3 ? 1 : versionBits == 2 ? 2 : 25;
    header.layer = 4 - layerBits;
    const bool mpeg1 = header.version == 1;
    header.bitRateKbps = BitRates[mpeg1 ? 0 : 1][header.layer - 1][bitRateIndex];
    const int divisor = header.version == 1 ? 1 : header.version == 2 ? 2 : 4;
    header.sampleRate = Mpeg1Rates[rateIndex] / divisor;
    header.channels = mode == 3 ? 1 : 2;
    header.crc = (b[1] & 1) == 0;
    const uint32_t bitsPerSecond = static_cast<uint32_t>(header.bitRateKbps) * 1000;
    const auto rate = static_cast<uint32_t>(header.sampleRate);
    if (header.layer == 1) {
        header.frameBytes = (12 * bitsPerSecond / rate + padding) * 4;
    } else if (header.layer == 3 && !mpeg1) {
        header.frameBytes = 72 * bitsPerSecond / rate + padding;
    } else {
        header.frameBytes = 144 * bitsPerSecond / rate + padding;
    }
    return header;
}

std::optional<FrameHeader> headerAt(MpegByteSource& source, uint64_t offset) {
    std::array<uint8_t, 4> bytes{};
    if (source.readAt(offset, bytes.data(), bytes.size()) != bytes.size()) {
        return std::nullopt;
    }
    return parseHeader(bytes);
}

bool sameStream(const FrameHeader& a, const FrameHeader& b) {
    return a.version == b.version && a.layer == b.layer && a.sampleRate == b.sampleRate &&
           a.channels == b.channels;
}

// Offset after the ID3v2 tags at `offset`, or nothing for a damaged tag.
std::optional<uint64_t> skipId3v2Tags(MpegByteSource& source, uint64_t offset) {
    for (;;) {
        std::array<uint8_t, Id3HeaderBytes> tag{};
        if (source.readAt(offset, tag.data(), tag.size()) != tag.size() || tag[0] != 'I' ||
            tag[1] != 'D' || tag[2] != '3') {
            return offset;
        }
        if (tag[3] < 2 || tag[3] > 4 || tag[4] == 0xFF) {
            return std::nullopt;
        }
        uint64_t size = 0;
        for (size_t i = 6; i < 10; ++i) {
            if (tag[i] >= 0x80) {
                return std::nullopt;
            }
            size = size << 7 | tag[i];
        }
        offset += Id3HeaderBytes + size + ((tag[5] & Id3FooterFlag) != 0 ? Id3HeaderBytes : 0);
    }
}

// Offset of the first byte other than zero from `offset`, at most MaxZeroPaddingBytes on.
uint64_t skipZeroPadding(MpegByteSource& source, uint64_t offset) {
    std::array<uint8_t, 256> block{};
    const uint64_t limit = offset + MaxZeroPaddingBytes;
    while (offset < limit) {
        const size_t got = source.readAt(offset, block.data(), block.size());
        for (size_t i = 0; i < got; ++i) {
            if (block[i] != 0) {
                return offset + i;
            }
        }
        if (got < block.size()) {
            return offset + got;
        }
        offset += got;
    }
    return offset;
}

// The first header of a chain of MinChainHeaders frames of one stream at `offset`, or nothing.
std::optional<FrameHeader> chainAt(MpegByteSource& source, uint64_t offset) {
    const auto first = headerAt(source, offset);
    if (!first) {
        return std::nullopt;
    }
    offset += first->frameBytes;
    for (int count = 1; count < MinChainHeaders; ++count) {
        const auto next = headerAt(source, offset);
        if (!next || !sameStream(*first, *next)) {
            return std::nullopt;
        }
        offset += next->frameBytes;
    }
    return first;
}

// The stream's size in bytes (from this frame on) that a Xing or Info tag in the layer III
// frame at `offset` states, or nothing when there is no such tag or it has no size.
std::optional<uint64_t> taggedStreamBytes(MpegByteSource& source, uint64_t offset,
                                          const FrameHeader& frame) {
    if (frame.layer != 3) {
        return std::nullopt;
    }
    const bool mono = frame.channels == 1;
    const uint64_t sideInfo = frame.version == 1 ? (mono ? 17 : 32) : (mono ? 9 : 17);
    // "Xing" or "Info", the flags, then the frame count and the byte count when flagged.
    std::array<uint8_t, 16> tag{};
    const uint64_t at = offset + 4 + (frame.crc ? 2 : 0) + sideInfo;
    if (source.readAt(at, tag.data(), tag.size()) != tag.size()) {
        return std::nullopt;
    }
    const auto word = [&tag](size_t index) {
        return uint32_t{tag[index]} << 24 | uint32_t{tag[index + 1]} << 16 |
               uint32_t{tag[index + 2]} << 8 | tag[index + 3];
    };
    constexpr uint32_t Xing = 0x58696E67;
    constexpr uint32_t Info = 0x496E666F;
    constexpr uint32_t HasFrames = 1;
    constexpr uint32_t HasBytes = 2;
    const uint32_t flags = word(4);
    if ((word(0) != Xing && word(0) != Info) || (flags & HasBytes) == 0) {
        return std::nullopt;
    }
    return word((flags & HasFrames) != 0 ? 12 : 8);
}

} // namespace

std::optional<MpegStreamStart> findMpegStreamStart(MpegByteSource& source) {
    const auto afterTags = skipId3v2Tags(source, 0);
    if (!afterTags) {
        return std::nullopt;
    }
    const uint64_t start = skipZeroPadding(source, *afterTags);
    const auto first = chainAt(source, start);
    if (!first) {
        return std::nullopt;
    }
    const auto streamBytes = taggedStreamBytes(source, start, *first);
    if (streamBytes && chainAt(source, start + *streamBytes)) {
        return std::nullopt; // another file's frames follow the tagged stream
    }
    MpegStreamStart found;
    found.audioOffset = start;
    found.layer = first->layer;
    found.sampleRate = first->sampleRate;
    found.channels = first->channels;
    found.bitRateKbps = first->bitRateKbps;
    return found;
}

} // namespace audio::mpg123_decoder
