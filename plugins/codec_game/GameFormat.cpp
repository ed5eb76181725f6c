#include "GameFormat.h"

#include "AyCheck.h"
#include "CodecPlugin.h"
#include "Gunzip.h"
#include "VgmCheck.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace game_codec {

namespace {

using tamberlo_codec::startsWith;

// "GYMX", five 32-byte names, a 256-byte comment, loop start and packed size.
constexpr size_t GymxHeaderSize = 0x1AC;
// "GBS", version, song count, first song, load/init/play addresses, stack pointer, timer
// and three 32-byte texts.
constexpr size_t GbsHeaderSize = 0x70;
// "HESM", version, first song, init address, eight bank numbers, then the first data block's
// "DATA", size and load address.
constexpr size_t HesHeaderSize = 0x20;

uint16_t little16(std::span<const uint8_t> bytes, size_t offset) {
    return static_cast<uint16_t>(bytes[offset] | (bytes[offset + 1] << 8));
}

uint32_t little32(std::span<const uint8_t> bytes, size_t offset) {
    return static_cast<uint32_t>(little16(bytes, offset)) |
           (static_cast<uint32_t>(little16(bytes, offset + 2)) << 16);
}

// "Vgm ", and a BCD version of the formats' range (1.00 .. 1.99).
bool isVgm(std::span<const uint8_t> head) {
    return head.size() >= 0x40 && startsWith(head, "Vgm ") && little32(head, 0x08) >= 0x100 &&
           little32(head, 0x08) < 0x200;
}

std::optional<GameFormat> identifyByMagic(std::span<const uint8_t> head) {
    // NSF: version 1 or 2, at least one song, the first one within the count.
    if (startsWith(head, "NESM\x1A") && head.size() >= 0x80 && (head[5] == 1 || head[5] == 2) &&
        head[6] >= 1 && head[7] >= 1 && head[7] <= head[6]) {
        return GameFormat{gme_nsf_type, "NSF"};
    }
    if (startsWith(head, "NSFE") && head.size() >= 12) {
        return GameFormat{gme_nsfe_type, "NSFE"};
    }
    if (startsWith(head, "SNES-SPC700 Sound File Data") && head.size() >= 0x100) {
        return GameFormat{gme_spc_type, "SPC"};
    }
    if (isVgm(head)) {
        return GameFormat{gme_vgm_type, "VGM"};
    }
    // GBS (Game Boy) and HES (PC Engine) play in a separate process: libgme crashes on GBS code
    // that runs into high RAM and on HES files whose init address or bank layout is merely
    // unusual, and no check of the file can rule those out.
    if (startsWith(head, "GBS\x01") && head.size() >= GbsHeaderSize) {
        return GameFormat{gme_gbs_type, "GBS", false, true};
    }
    if (startsWith(head, "HESM") && head.size() >= HesHeaderSize) {
        return GameFormat{gme_hes_type, "HES", false, true};
    }
    if ((startsWith(head, "KSCC") || startsWith(head, "KSSX")) && head.size() >= 0x10) {
        return GameFormat{gme_kss_type, "KSS"};
    }
    if (startsWith(head, "ZXAYEMUL") && head.size() >= 0x14) {
        return GameFormat{gme_ay_type, "AY"};
    }
    if (startsWith(head, "SAP\r\n")) {
        return GameFormat{gme_sap_type, "SAP"};
    }
    if (startsWith(head, "GYMX") && head.size() >= GymxHeaderSize) {
        return GameFormat{gme_gym_type, "GYM"};
    }
    return std::nullopt;
}

bool hasGymName(std::string_view fileName) {
    if (fileName.size() < 4) {
        return false;
    }
    std::string extension(fileName.substr(fileName.size() - 4));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".gym";
}

} // namespace

namespace {

struct GymScan {
    bool wellFormed = true; // only GYM commands
    bool cut = false;       // the last command runs past the end
    bool wrote = false;     // at least one chip write
    bool waited = false;    // at least one frame wait
};

GymScan scanGym(std::span<const uint8_t> stream) {
    GymScan scan;
    size_t at = 0;
    while (at < stream.size()) {
        // Command sizes: 0 waits a frame, 1 and 2 write a YM2612 register (port 0 or 1),
        // 3 writes the PSG.
        static constexpr size_t Sizes[] = {1, 3, 3, 2};
        if (stream[at] > 3) {
            scan.wellFormed = false;
            return scan;
        }
        const size_t size = Sizes[stream[at]];
        if (at + size > stream.size()) {
            scan.cut = true;
            return scan;
        }
        scan.wrote = scan.wrote || stream[at] != 0;
        scan.waited = scan.waited || stream[at] == 0;
        at += size;
    }
    return scan;
}

// NSFE chunks (size, id, body) inside the file up to NEND, with the INFO chunk (at least one
// song) before a non-empty DATA chunk: libgme's player assumes both.
bool isPlayableNsfe(std::span<const uint8_t> data) {
    bool info = false;
    bool code = false;
    for (size_t at = 4; data.size() - at >= 8;) {
        const uint32_t size = little32(data, at);
        const auto id = data.subspan(at + 4, 4);
        if (size > data.size() - at - 8) {
            return false;
        }
        if (startsWith(id, "INFO")) {
            info = size >= 9 && data[at + 8 + 8] >= 1;
        } else if (startsWith(id, "DATA")) {
            code = info && size >= 1;
        } else if (startsWith(id, "NEND")) {
            return info && code;
        }
        at += 8 + size;
    }
    return false;
}

} // namespace

bool looksLikeHeaderlessGym(std::span<const uint8_t> head, bool wholeFile) {
    const GymScan scan = scanGym(head);
    return scan.wellFormed && scan.wrote && (!scan.cut || !wholeFile);
}

bool isComplete(const GameFormat& format, std::span<const uint8_t> data) {
    if (format.type == gme_vgm_type) {
        return isPlayableVgm(data);
    }
    if (format.type == gme_ay_type) {
        return isPlayableAy(data);
    }
    if (format.type == gme_nsf_type) {
        // Header and code; play periods (microseconds, 0 for the default) of at most 1 kHz:
        // libgme calls the play routine at that rate, and a tiny period makes it crawl.
        const auto periodIsSane = [&](size_t offset) {
            const uint16_t period = little16(data, offset);
            return period == 0 || period >= 1000;
        };
        return data.size() > 0x80 && periodIsSane(0x6E) && periodIsSane(0x78);
    }
    if (format.type == gme_gym_type) {
        // Whole commands only, and time must pass: libgme loops over a stream without waits.
        const bool header = startsWith(data, "GYMX");
        if (header && (data.size() <= GymxHeaderSize || little32(data, 0x1A8) != 0)) {
            return false; // no commands, or packed (which libgme cannot play)
        }
        const GymScan scan = scanGym(data.subspan(header ? GymxHeaderSize : 0));
        return scan.wellFormed && !scan.cut && scan.waited;
    }
    if (format.type == gme_nsfe_type) {
        return isPlayableNsfe(data);
    }
    if (format.type == gme_gbs_type) {
        // Code after the header, and a first song among the songs.
        return data.size() > GbsHeaderSize && data[4] >= 1 && data[5] >= 1 && data[5] <= data[4];
    }
    if (format.type == gme_hes_type) {
        return data.size() > HesHeaderSize;
    }
    if (format.type == gme_spc_type) {
        return data.size() >= 0x10180; // header, 64 KiB of RAM and the DSP registers
    }
    return true;
}

std::optional<GameFormat> identifyGameFormat(std::span<const uint8_t> head,
                                             std::string_view fileName) {
    if (auto format = identifyByMagic(head)) {
        return format;
    }
    if (isGzip(head)) {
        const auto start = gunzipHead(head, 0x40);
        if (start && isVgm(*start)) {
            return GameFormat{gme_vgm_type, "VGZ", true};
        }
        return std::nullopt;
    }
    // A cut prefix is what the player probes with when the file is larger than the head.
    if (hasGymName(fileName) && looksLikeHeaderlessGym(head, head.size() < 4096)) {
        return GameFormat{gme_gym_type, "GYM"};
    }
    return std::nullopt;
}

} // namespace game_codec
