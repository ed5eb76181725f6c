#include "AdplugProbe.h"

#include "CmfCheck.h"
#include "CodecPlugin.h"
#include "HscCheck.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace adplug_codec {

namespace {

struct Magic {
    std::string_view bytes; // at the start of the file
    std::string_view extension;
};

using namespace std::string_view_literals;

constexpr Magic Magics[] = {
    {"DBRAWOPL"sv, ".dro"}, {"RAD by REALiTY!!"sv, ".rad"}, {"JCH\x26\x02\x66"sv, ".d00"},
    {"RAWADATA"sv, ".raw"}, {"ofTAZ!"sv, ".xsm"},
};

// Formats whose players may crash or hang on a damaged file: decoded in a separate process.
constexpr Magic IsolatedMagics[] = {
    {"_A2module_"sv, ".a2m"},
    {"DFM\x1A"sv, ".dfm"},
    {"XAD!"sv, ".xad"},
    {"<CUD-FM-File>\x1A"sv, ".cff"},
    {"sopepos"sv, ".sop"},
    {"DeFy DTM "sv, ".dtm"},
    // MPU-401 Trakker songs are turned into HSC songs inside the library, whose player trusts
    // them: a damaged one crashes it.
    {"mpu401tr\x92kk\xeer@data"sv, ".mtk"},
};

std::string lowerExtension(std::string_view fileName) {
    const size_t dot = fileName.rfind('.');
    const size_t slash = fileName.find_last_of("/\\");
    if (dot == std::string_view::npos || (slash != std::string_view::npos && slash > dot)) {
        return {};
    }
    std::string extension(fileName.substr(dot));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

// The registers of one OPL2 (or of either half of an OPL3): test, timers, control, the 18
// operators' five register groups, the 9 channels' three, and the rhythm register.
bool isOplRegister(uint8_t reg) {
    if (reg <= 0x08) {
        return reg != 0x06 && reg != 0x07;
    }
    const uint8_t low = reg & 0x1F;
    switch (reg & 0xE0) {
    case 0x20:
    case 0x40:
    case 0x60:
    case 0x80:
    case 0xE0:
        return low <= 0x15 && (low & 7) != 6 && (low & 7) != 7;
    case 0xA0:
        return low <= 0x08 || (low >= 0x10 && low <= 0x18) || low == 0x1D;
    case 0xC0:
        return low <= 0x08;
    default:
        return false;
    }
}

} // namespace

bool looksLikeImf(std::span<const uint8_t> head, size_t fileSize) {
    constexpr size_t LookedAt = 4096;
    if (head.size() < 8 || (fileSize != 0 && fileSize < 8)) {
        return false;
    }
    const size_t declared = head[0] | (head[1] << 8);
    size_t start = 0;
    size_t end = std::min(head.size(), LookedAt);
    if (declared != 0) {
        // Type 1: the word counts the bytes of whole records that follow it.
        if (declared % 4 != 0 || (fileSize != 0 && declared + 2 > fileSize)) {
            return false;
        }
        start = 2;
        end = std::min(end, declared + 2);
    }
    size_t records = 0;
    bool keyOn = false;
    for (size_t at = start; at + 4 <= end; at += 4, ++records) {
        const uint8_t reg = head[at];
        // Type 0 files start with an empty record of register 0.
        if (!isOplRegister(reg) && !(reg == 0 && at == start)) {
            return false;
        }
        keyOn = keyOn || ((reg & 0xF0) == 0xB0 && (head[at + 1] & 0x20) != 0);
    }
    return records >= 2 && keyOn;
}

std::string_view isolatedExtension(std::span<const uint8_t> head) {
    for (const Magic& magic : IsolatedMagics) {
        if (tamberlo_codec::startsWith(head, magic.bytes)) {
            return magic.extension;
        }
    }
    return {};
}

std::string_view formatExtension(std::span<const uint8_t> head, std::string_view fileName,
                                 size_t fileSize) {
    for (const Magic& magic : Magics) {
        if (tamberlo_codec::startsWith(head, magic.bytes)) {
            return magic.extension;
        }
    }
    if (tamberlo_codec::startsWith(head, "CTMF")) {
        // Longer files are checked whole when they are opened.
        const bool whole = fileSize != 0 && head.size() == fileSize;
        const bool plausible = whole ? isPlayableCmf(head) : cmfHeaderIsPlausible(head);
        return plausible ? ".cmf" : "";
    }
    const std::string extension = lowerExtension(fileName);
    if ((extension == ".imf" || extension == ".wlf") && looksLikeImf(head, fileSize)) {
        return extension == ".imf" ? ".imf" : ".wlf";
    }
    if (extension == ".hsc" && isPlayableHsc(head, fileSize)) {
        return ".hsc";
    }
    return {};
}

bool wholeFileIsPlayable(std::string_view extension, std::span<const uint8_t> file) {
    if (extension == ".cmf") {
        return isPlayableCmf(file);
    }
    if (extension == ".hsc") {
        return isPlayableHsc(file, file.size());
    }
    return true;
}

} // namespace adplug_codec
