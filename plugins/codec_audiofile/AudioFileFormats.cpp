#include "AudioFileFormats.h"

#include "CodecPlugin.h"

#include <audiofile.h>

#include <cstring>

namespace audiofile_codec {

namespace {

// IRCAM headers start with one of four machine magics, stored in either byte order.
bool isIrcam(std::span<const uint8_t> head) {
    if (head.size() < 4) {
        return false;
    }
    const uint8_t machine = head[2] == 0xA3 ? head[1] : head[2];
    const bool bigEndian = head[0] == 0x64 && head[1] == 0xA3 && head[3] == 0x00;
    const bool littleEndian = head[0] == 0x00 && head[2] == 0xA3 && head[3] == 0x64;
    return (bigEndian || littleEndian) && machine >= 1 && machine <= 4;
}

uint64_t bigEndian32(const uint8_t* bytes) {
    return (uint64_t{bytes[0]} << 24) | (uint64_t{bytes[1]} << 16) | (uint64_t{bytes[2]} << 8) |
           uint64_t{bytes[3]};
}

bool isIff8svx(std::span<const uint8_t> head) {
    return tamberlo_codec::startsWith(head, "FORM") && head.size() >= 12 &&
           std::memcmp(head.data() + 8, "8SVX", 4) == 0;
}

} // namespace

bool isClaimedFormat(std::span<const uint8_t> head) {
    using tamberlo_codec::startsWith;
    return startsWith(head, "SOUND SAMPLE DATA ") || startsWith(head, "2BIT") ||
           startsWith(head, "NIST_1A\n") || isIff8svx(head) || isIrcam(head);
}

bool fitsInFile(std::span<const uint8_t> data) {
    if (!isIff8svx(data)) {
        return true;
    }
    const uint64_t formEnd = 8 + bigEndian32(data.data() + 4);
    if (formEnd > data.size()) {
        return false;
    }
    // Chunks follow the form type, each an id, a size and the data padded to an even length;
    // the last one may lack its pad byte.
    for (uint64_t chunk = 12; chunk < formEnd;) {
        if (chunk + 8 > formEnd) {
            return false;
        }
        const uint64_t size = bigEndian32(data.data() + chunk + 4);
        chunk += 8 + size + (size & 1);
        if (chunk > formEnd + 1) {
            return false;
        }
    }
    return true;
}

std::string_view formatDisplayName(int fileFormat) {
    switch (fileFormat) {
    case AF_FILE_SAMPLEVISION:
        return "Sample Vision";
    case AF_FILE_IRCAM:
        return "IRCAM";
    case AF_FILE_AVR:
        return "AVR";
    case AF_FILE_IFF_8SVX:
        return "IFF 8SVX";
    case AF_FILE_NIST_SPHERE:
        return "NIST SPHERE";
    default:
        return {};
    }
}

} // namespace audiofile_codec
