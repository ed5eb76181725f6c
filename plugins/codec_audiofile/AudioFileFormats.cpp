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
    const uint64_t formBytes = (uint64_t{data[4]} << 24) | (uint64_t{data[5]} << 16) |
                               (uint64_t{data[6]} << 8) | uint64_t{data[7]};
    return formBytes + 8 <= data.size();
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
