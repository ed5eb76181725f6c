#include "VgmCheck.h"

namespace game_codec {

namespace {

uint32_t little32(std::span<const uint8_t> bytes, size_t offset) {
    return static_cast<uint32_t>(bytes[offset]) | (static_cast<uint32_t>(bytes[offset + 1]) << 8) |
           (static_cast<uint32_t>(bytes[offset + 2]) << 16) |
           (static_cast<uint32_t>(bytes[offset + 3]) << 24);
}

// The sound chips libgme emulates that the file gives a clock for: it creates only those, and
// a write to one it did not create reaches a null chip.
struct VgmChips {
    bool sn76489 = false;
    bool ym2413 = false;
    bool ym2612 = false;
};

// Size in bytes of the fixed-size command `command` (with its operands), 0 when it has no
// fixed size, writes a chip libgme does not emulate or was not given, or is one libgme may not
// know how to skip (DAC stream control, RAM writes).
size_t commandSize(uint8_t command, const VgmChips& chips) {
    if (command == 0x4F || command == 0x50) {
        return chips.sn76489 ? 2 : 0; // Game Gear stereo, SN76489 write
    }
    if (command == 0x51) {
        return chips.ym2413 ? 3 : 0;
    }
    if (command == 0x52 || command == 0x53) {
        return chips.ym2612 ? 3 : 0; // YM2612 port 0 and 1
    }
    if (command == 0x61) {
        return 3; // wait n samples
    }
    if (command == 0x62 || command == 0x63 || (command >= 0x70 && command <= 0x7F)) {
        return 1; // fixed and short waits
    }
    if (command >= 0x80 && command <= 0x8F) {
        return chips.ym2612 ? 1 : 0; // YM2612 DAC write and wait
    }
    if (command == 0xE0) {
        return chips.ym2612 ? 5 : 0; // PCM seek
    }
    return 0;
}

// Samples waited by `command` at `at`.
uint32_t waitOf(std::span<const uint8_t> data, size_t at) {
    const uint8_t command = data[at];
    if (command == 0x61) {
        return data[at + 1] | (data[at + 2] << 8);
    }
    if (command == 0x62) {
        return 735;
    }
    if (command == 0x63) {
        return 882;
    }
    if (command >= 0x70 && command <= 0x7F) {
        return (command & 0x0F) + 1u;
    }
    if (command >= 0x80 && command <= 0x8F) {
        return command & 0x0Fu;
    }
    return 0;
}

} // namespace

bool isPlayableVgm(std::span<const uint8_t> data) {
    if (data.size() < 0x40) {
        return false;
    }
    const uint64_t end = uint64_t{little32(data, 0x04)} + 0x04;
    const uint32_t version = little32(data, 0x08);
    const uint64_t start = version >= 0x150 && little32(data, 0x34) != 0
                               ? uint64_t{little32(data, 0x34)} + 0x34
                               : 0x40;
    const uint64_t gd3 = little32(data, 0x14) != 0 ? uint64_t{little32(data, 0x14)} + 0x14 : end;
    const uint64_t loop = little32(data, 0x1C) != 0 ? uint64_t{little32(data, 0x1C)} + 0x1C : 0;
    if (end > data.size() || gd3 > end || start < 0x40 || start >= gd3) {
        return false;
    }
    // Chip clocks far from real hardware overflow libgme's sample buffers; the flag bits of
    // the newer versions (dual chips) are not supported by it either.
    const auto clockIsSane = [&](size_t offset, uint32_t maxHz) {
        const uint32_t hz = little32(data, offset);
        return hz == 0 || (hz >= 1000000 && hz <= maxHz);
    };
    if (!clockIsSane(0x0C, 8000000) || !clockIsSane(0x10, 8000000) ||
        (version >= 0x110 && !clockIsSane(0x2C, 16000000))) {
        return false;
    }
    // Before version 1.10 one clock served the YM2413 and the YM2612.
    const VgmChips chips{little32(data, 0x0C) != 0, little32(data, 0x10) != 0,
                         little32(data, version >= 0x110 ? 0x2C : 0x10) != 0};
    const auto stream = data.first(static_cast<size_t>(gd3));
    bool loopFound = loop == 0;
    uint64_t waitedSinceLoop = 0;
    uint64_t pcmBytes = 0;
    uint64_t pcmPosition = 0;
    bool seekedInLoop = false;
    size_t at = static_cast<size_t>(start);
    while (at < stream.size()) {
        if (at == loop) {
            loopFound = true;
            waitedSinceLoop = 0;
        }
        const uint8_t command = stream[at];
        if (command == 0x66) {
            return loopFound && (loop == 0 || waitedSinceLoop > 0);
        }
        size_t size = commandSize(command, chips);
        // The YM2612 DAC plays from the PCM data blocks; libgme does not check the position
        // it reads, so every read and seek must stay inside the blocks seen so far.
        // A loop replays its DAC reads from where the last pass left off, so a loop that reads
        // must seek first.
        if (command >= 0x80 && command <= 0x8F &&
            (pcmPosition++ >= pcmBytes || (loop != 0 && at >= loop && !seekedInLoop))) {
            return false;
        }
        if (command == 0xE0) {
            if (stream.size() - at < 5 || little32(stream, at + 1) >= pcmBytes) {
                return false;
            }
            pcmPosition = little32(stream, at + 1);
            seekedInLoop = seekedInLoop || (loop != 0 && at >= loop);
        }
        if (command == 0x67) {
            // Data block: 0x67 0x66 type size32 bytes.
            if (stream.size() - at < 7 || stream[at + 1] != 0x66) {
                return false;
            }
            const uint64_t blockSize = little32(stream, at + 3) & 0x7FFFFFFFu;
            if (blockSize > stream.size() - at - 7) {
                return false;
            }
            size = static_cast<size_t>(7 + blockSize);
            if (stream[at + 2] == 0x00) {
                pcmBytes += blockSize; // YM2612 PCM
            }
        }
        if (size == 0 || size > stream.size() - at) {
            return false;
        }
        waitedSinceLoop += waitOf(stream, at);
        at += size;
    }
    return false; // no end command
}

} // namespace game_codec
