// PHA Packer: sample data in front of the patterns, whose cells are run-length coded per
// channel.
//
// Packed layout from module start s (big-endian): 0-433 31 sample records of 14 bytes: length
// in words, a byte not read, volume, loop start in words, loop length in words, sample address
// (32 bits), finetune (16 bits). 434-435 not read, 436 the number of positions times 4 (16 bits),
// 438-447 not read, 448-959 128 pattern addresses of 32 bits, one per position (positions behind
// the song hold the first pattern's address). 960 the sample data (plain 8-bit), the samples
// back to back in record order, so the first sample address is always 0x3C0 (the scan finds the
// module at its low byte, s + 11, a 0xC0 behind a 0x03). Then the patterns. All addresses are
// offsets from s.
//
// A pattern holds 64 rows, channels 1-4 in each row. A cell is 4 bytes: sample number, note
// number (1-36) times 2, effect, parameter. A cell followed by the bytes 0xFF n also fills the
// channel's next 0xFF - n rows, which the stream then skips (a channel's last row has no such
// bytes). Patterns are numbered in the order
// of their addresses; the module ends with the pattern at the highest address.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace {
constexpr std::uint32_t kScanOffset = 11;
constexpr std::uint32_t kRecordBytes = 14;
constexpr std::uint32_t kPositionCount = 436;
constexpr std::uint32_t kAddresses = 448;
constexpr std::uint32_t kSampleData = 0x3C0;
constexpr std::uint8_t kRepeat = 0xFF;

// Slots of RipState::scratch.
constexpr std::size_t kSlotPositions = 0;
constexpr std::size_t kSlotModuleSize = 1;

// Walks the pattern at `at` (no byte read at or past `end`), checking its cells; gives the
// offset behind it, or 0 when it is not a plausible pattern.
std::uint64_t patternEnd(const RipState& st, std::uint64_t at, std::uint64_t end) {
    std::array<unsigned, 4> repeats{};
    for (int row = 0; row < 64; ++row)
        for (unsigned& repeat : repeats) {
            if (repeat > 0) {
                --repeat;
                continue;
            }
            if (at + 4 > end)
                return 0;
            const std::uint8_t note = u8(st, at + 1);
            if (u8(st, at) > 31 || note % 2 != 0 || note > 72 || u8(st, at + 2) > 0x0F)
                return 0;
            at += 4;
            if (row < 63 && at < end && u8(st, at) == kRepeat) {
                if (at + 2 > end)
                    return 0;
                repeat = kRepeat - u8(st, at + 1);
                at += 2;
            }
        }
    return at;
}

int testPhaPacker(RipState& st) {
    if (st.position < kScanOffset)
        return 1;
    const std::uint64_t s = st.position - kScanOffset;
    if (!fits(st, s, kSampleData) || be32(st, s + 8) != kSampleData)
        return 1;
    const unsigned count = be16(st, s + kPositionCount);
    if (count == 0 || count % 4 != 0 || count > 512)
        return 1;
    // Samples lie back to back from 0x3C0; the patterns follow them.
    std::uint32_t address = kSampleData;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t r = s + kRecordBytes * i;
        const std::uint32_t length = be16(st, r) * 2u;
        if (be32(st, r + 8) != address ||
            checkSampleDescriptor(length, be16(st, r + 4) * 2, be16(st, r + 6) * 2, u8(st, r + 3),
                                  be16(st, r + 12)) != 0)
            return 1;
        address += length;
    }
    const std::uint32_t patternStart = address;
    if (patternStart == kSampleData)
        return 1;
    const unsigned positions = count / 4;
    std::uint32_t last = 0;
    for (unsigned i = 0; i < positions; ++i) {
        const std::uint32_t pattern = be32(st, s + kAddresses + 4 * i);
        if (pattern < patternStart || pattern % 2 != 0 || !fits(st, s + pattern, 4))
            return 1;
        last = std::max(last, pattern);
    }
    std::uint64_t end = 0;
    for (unsigned i = 0; i < positions; ++i) {
        const std::uint32_t pattern = be32(st, s + kAddresses + 4 * i);
        const std::uint64_t behind = patternEnd(st, s + pattern, std::uint64_t(st.inputSize));
        if (behind == 0)
            return 1;
        if (pattern == last)
            end = behind;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = patternStart - kSampleData;
    st.scratch[kSlotPositions] = positions;
    st.scratch[kSlotModuleSize] = static_cast<std::uint32_t>(end - s);
    return 0;
}

void ripPhaPacker(RipState& st) {
    st.outputSize = st.scratch[kSlotModuleSize];
    noteRip(st, "PHA Packed music", 16);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackPattern(const RipState& st, std::uint64_t at, std::array<std::uint8_t, 1024>& pattern) {
    std::array<unsigned, 4> repeats{};
    for (std::size_t row = 0; row < 64; ++row)
        for (std::size_t channel = 0; channel < 4; ++channel) {
            std::uint8_t* out = &pattern[row * 16 + channel * 4];
            if (repeats[channel] > 0) {
                --repeats[channel];
                std::copy_n(out - 16, 4, out);
                continue;
            }
            const unsigned sample = u8OrZero(st, at);
            const std::uint16_t period = periodOf(ptPeriodTable, u8OrZero(st, at + 1) / 2u);
            out[0] = static_cast<std::uint8_t>((sample & 0x10) | period >> 8);
            out[1] = static_cast<std::uint8_t>(period & 0xFF);
            out[2] =
                static_cast<std::uint8_t>((sample & 0x0F) << 4 | (u8OrZero(st, at + 2) & 0x0F));
            out[3] = u8OrZero(st, at + 3);
            at += 4;
            if (row < 63 && u8OrZero(st, at) == kRepeat) {
                repeats[channel] = kRepeat - u8OrZero(st, at + 1);
                at += 2;
            }
        }
}

void depackPhaPacker(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned positions = st.scratch[kSlotPositions];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (int i = 0; i < 31; ++i) {
        const std::uint64_t r = s + kRecordBytes * std::uint32_t(i);
        out.zeros(22);
        out.input(r, 2);
        out.byte(u8OrZero(st, r + 13));
        out.input(r + 3, 5);
    }
    out.byte(static_cast<std::uint8_t>(positions));
    out.byte(0x7F);

    std::vector<std::uint32_t> addresses;
    for (unsigned i = 0; i < positions; ++i)
        addresses.push_back(be32OrZero(st, s + kAddresses + 4 * i));
    std::vector<std::uint32_t> patterns = addresses;
    std::sort(patterns.begin(), patterns.end());
    patterns.erase(std::unique(patterns.begin(), patterns.end()), patterns.end());
    std::array<std::uint8_t, 128> order{};
    for (unsigned i = 0; i < positions; ++i)
        order[i] = static_cast<std::uint8_t>(
            std::lower_bound(patterns.begin(), patterns.end(), addresses[i]) - patterns.begin());
    out.bytes(order.data(), order.size());
    out.bytes("M.K.", 4);

    std::array<std::uint8_t, 1024> pattern{};
    for (std::uint32_t address : patterns) {
        depackPattern(st, s + address, pattern);
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(s + kSampleData, st.sampleDataSize);
    writeBanner31("    PhaPacker     ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps phaPackerSteps = {testPhaPacker, ripPhaPacker, depackPhaPacker};
