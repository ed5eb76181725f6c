// GnuPlayer: per-channel event streams with row skips and the player's own command numbers.
//
// Packed layout from module start s (the tag "GnPl" is at s; big-endian):
//   0       4    "GnPl"
//   4       1    number of samples n, 1-31
//   5       1    song length, 1-128
//   6       1    number of patterns P, 1-128
//   7       1    0
//   8       4    size of the stream data in bytes
//   12      8n   sample records: the ProTracker record without its name (length in words,
//                finetune, volume, loop start in words, loop length in words)
//   12+8n   128  order list (the first song-length entries are played, each below P)
//   140+8n  16P  stream table: per pattern four 32-bit offsets into the stream data, channel 1-4
//   then         the stream data, then the sample data (8-bit signed, samples in record order)
// A stream gives one channel's 64 rows. A byte with bit 7 set stands for (byte & 0x7F) empty
// rows, 1-64. Otherwise bits 0-5 are the note number (0 none, 1-36 the finetune-0 periods of
// C-1 to B-3), the next byte is the sample number (0-31) and, when bit 6 is set, a command byte
// and its parameter follow. Commands 0x00-0x0D and 0x0F are the ProTracker effects of that
// number; 0x10-0x1F are the extended effects E0-EF with the parameter in the low nibble;
// 0x0E and 0x20-0x3F are the player's own commands, which a ProTracker module cannot hold.
//
// No real modules were at hand: this is the layout the converter reads, decided so. A command
// of the player's own is reported on the console and left out of the cell; the rest of the
// module is converted. Samples n+1 to 31 come out as empty records.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../PeriodTable.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
// scratch slot: where the stream data starts
constexpr int kStreamStart = 0;

constexpr std::uint32_t kSampleCount = 4;
constexpr std::uint32_t kSongLength = 5;
constexpr std::uint32_t kPatternCount = 6;
constexpr std::uint32_t kReserved = 7;
constexpr std::uint32_t kStreamSize = 8;
constexpr std::uint32_t kRecords = 12;
constexpr std::uint32_t kHeader = kRecords + 128; // with no records
constexpr std::uint8_t kHighestCommand = 0x3F;
constexpr const char* kMaintainer = "tamberlo@localhost";

std::uint64_t orderListOf(std::uint64_t s, unsigned samples) {
    return s + kRecords + 8u * samples;
}

// Sum of the n sample lengths in bytes; -1 when a record is implausible.
std::int64_t checkedSampleBytes(const RipState& st, std::uint64_t records, unsigned samples) {
    std::int64_t total = 0;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = records + 8u * i;
        const std::int64_t length = be16(st, record) * 2;
        if (checkSampleDescriptor(length, be16(st, record + 4) * 2, be16(st, record + 6) * 2,
                                  u8(st, record + 3), u8(st, record + 2)) != 0)
            return -1;
        total += length;
    }
    return total;
}

// True when the stream at `cursor` gives 64 well-formed rows before `end`.
bool streamPlausible(const RipState& st, std::uint64_t cursor, std::uint64_t end,
                     unsigned samples) {
    unsigned row = 0;
    while (row < 64) {
        if (cursor >= end)
            return false;
        const std::uint8_t first = u8(st, cursor);
        if (first & 0x80) {
            row += first & 0x7F;
            if ((first & 0x7F) == 0 || row > 64)
                return false;
            ++cursor;
            continue;
        }
        const unsigned eventBytes = (first & 0x40) ? 4 : 2;
        if (cursor + eventBytes > end || (first & 0x3F) > 36 || u8(st, cursor + 1) > samples)
            return false;
        if ((first & 0x40) && u8(st, cursor + 2) > kHighestCommand)
            return false;
        cursor += eventBytes;
        ++row;
    }
    return true;
}

int testGnuPlayer(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kHeader))
        return 1;
    const unsigned samples = u8(st, s + kSampleCount);
    const unsigned songLength = u8(st, s + kSongLength);
    const unsigned patterns = u8(st, s + kPatternCount);
    if (samples == 0 || samples > 31 || songLength == 0 || songLength > 128 || patterns == 0 ||
        patterns > 128 || u8(st, s + kReserved) != 0)
        return 1;
    const std::uint64_t orders = orderListOf(s, samples);
    const std::uint64_t table = orders + 128;
    const std::uint64_t streams = table + 16u * patterns;
    const std::uint32_t streamSize = be32(st, s + kStreamSize);
    if (!fits(st, s, streams - s))
        return 1;
    for (unsigned i = 0; i < songLength; ++i)
        if (u8(st, orders + i) >= patterns)
            return 1;
    const std::int64_t sampleBytes = checkedSampleBytes(st, s + kRecords, samples);
    if (sampleBytes <= 0 || !fits(st, streams, std::uint64_t{streamSize} + sampleBytes))
        return 1;
    for (unsigned i = 0; i < 4 * patterns; ++i) {
        const std::uint32_t offset = be32(st, table + 4 * i);
        if (offset >= streamSize ||
            !streamPlausible(st, streams + offset, streams + streamSize, samples))
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kStreamStart] = static_cast<std::uint32_t>(streams - s);
    return 0;
}

void ripGnuPlayer(RipState& st) {
    st.outputSize =
        st.scratch[kStreamStart] + be32(st, st.moduleStart + kStreamSize) + st.sampleDataSize;
    noteRip(st, "GnuPlayer module", 105);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// The ProTracker effect and parameter of a command; false for the player's own commands.
bool proTrackerEffect(std::uint8_t command, std::uint8_t parameter, std::uint8_t& effect,
                      std::uint8_t& value) {
    if (command < 0x10 && command != 0x0E) {
        effect = command;
        value = parameter;
        return true;
    }
    if (command >= 0x10 && command < 0x20) {
        effect = 0x0E;
        value = static_cast<std::uint8_t>((command & 0x0F) << 4 | (parameter & 0x0F));
        return true;
    }
    return false;
}

void depackStream(const RipState& st, const PeriodTable& periods, std::uint64_t cursor,
                  unsigned channel, std::array<std::uint8_t, 1024>& pattern) {
    unsigned row = 0;
    while (row < 64) {
        const std::uint8_t first = u8OrZero(st, cursor++);
        if (first & 0x80) {
            // A zero skip would never end the stream; the test refuses it, count it as one row.
            row += std::max(first & 0x7F, 1);
            continue;
        }
        const std::uint8_t sample = u8OrZero(st, cursor++);
        std::uint8_t effect = 0;
        std::uint8_t value = 0;
        if (first & 0x40) {
            const std::uint8_t command = u8OrZero(st, cursor++);
            const std::uint8_t parameter = u8OrZero(st, cursor++);
            if (!proTrackerEffect(command, parameter, effect, value))
                std::printf("\nunsupported case in Depack_GnuPlayer(). Please send this file "
                            "to \"%s\" :)\n",
                            kMaintainer);
        }
        const std::uint16_t period = periodOf(periods, first & 0x3F);
        std::uint8_t* cell = &pattern[row * 16 + channel * 4];
        cell[0] = static_cast<std::uint8_t>((sample & 0xF0) | period >> 8);
        cell[1] = static_cast<std::uint8_t>(period & 0xFF);
        cell[2] = static_cast<std::uint8_t>((sample & 0x0F) << 4 | (effect & 0x0F));
        cell[3] = value;
        ++row;
    }
}

void depackGnuPlayer(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const PeriodTable periods = ptPeriodTable;
    const std::uint64_t s = st.moduleStart;
    const unsigned samples = u8OrZero(st, s + kSampleCount);
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);
    std::array<std::uint8_t, 1024> scratch{};

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < samples; ++i) {
        const std::uint64_t record = s + kRecords + 8u * i;
        out.zeros(22);
        out.input(record, 8);
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    scratch[29] = 1; // an empty record: all zero but loop length 1
    for (unsigned i = samples; i < 31; ++i)
        out.bytes(scratch.data(), 30);
    scratch.fill(0);

    const std::uint64_t orders = orderListOf(s, samples);
    const std::uint8_t songLength = u8OrZero(st, s + kSongLength);
    out.byte(songLength);
    out.byte(0x7F);
    std::uint8_t highestPattern = 0;
    for (unsigned i = 0; i < songLength && i < 128; ++i) {
        scratch[i] = u8OrZero(st, orders + i);
        highestPattern = std::max(highestPattern, scratch[i]);
    }
    out.bytes(scratch.data(), 128);
    out.bytes("M.K.", 4);

    const std::uint64_t table = orders + 128;
    const std::uint64_t streams = s + st.scratch[kStreamStart];
    for (unsigned pattern = 0; pattern <= highestPattern; ++pattern) {
        scratch.fill(0);
        for (unsigned channel = 0; channel < 4; ++channel)
            depackStream(st, periods, streams + be32OrZero(st, table + 16u * pattern + 4 * channel),
                         channel, scratch);
        out.bytes(scratch.data(), scratch.size());
    }
    out.input(streams + be32OrZero(st, s + kStreamSize), sampleBytes);
    writeBanner31("    GnuPlayer     ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps gnuPlayerSteps = {testGnuPlayer, ripGnuPlayer, depackGnuPlayer};
