// AMOS music bank ("AmBk"): recognised and measured; its conversion is left unfinished on
// purpose and writes only the title and the sample records.
//
// Bank layout from start s (big-endian):
//   0   4   "AmBk"
//   4   2   bank number, 3 for music
//   6   2   0 (chip memory) or 1 (fast memory)
//   8   4   flags in the top byte; bits 0-23 the size of what follows byte 11
//   12  8   "Music   "
//   20      music data d: three 32-bit offsets from d, of the instruments, the songs and the
//           patterns
// Instruments i: a 16-bit count, then 32-byte records: 0-3 sample address and 4-7 loop
// address (both from i), 8-9 not read, 10-11 loop length in words, 12-13 volume, 14-15 length
// in words, 16-31 the name. Songs g: a 16-bit count, then a 32-bit offset from g per song; a
// song holds four 16-bit offsets of its channels' pattern lists, the tempo, a word not read and
// its 16-character name at 12.
//
// The output is the 20-byte title (the first song's name and 4 zero bytes) and 31 sample
// records (name in the first 16 name bytes, length, finetune 0, volume, loop start from the
// loop address minus the sample address, halved, loop length with stored values below 3 as 1;
// slots past the instrument count empty), and nothing more: no song, patterns or samples. A
// bank of two or more songs is not converted at all: the output file is created and left open,
// empty, and the console asks for the file.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "FormatStepsList.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {
constexpr std::uint32_t kName = 12;
constexpr std::uint32_t kData = 20;
constexpr std::uint32_t kInstrumentBytes = 32;
constexpr std::uint32_t kSongName = 12;
constexpr const char* kMaintainer = "tamberlo@localhost";

std::uint32_t bankSize(const RipState& st, std::uint64_t s) {
    return be32(st, s + 8) & 0x00FFFFFF;
}

int testAmosBank(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kData))
        return 1;
    if (u8(st, s + 4) != 0 || u8(st, s + 5) != 3 || u8(st, s + 6) != 0 || u8(st, s + 7) > 1)
        return 1;
    if (std::memcmp(st.input + s + kName, "Music   ", 8) != 0)
        return 1;
    if (!fits(st, s, std::uint64_t{bankSize(st, s)} + 12))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    return 0;
}

void ripAmosBank(RipState& st) {
    st.outputSize = bankSize(st, st.moduleStart) + 12;
    noteRip(st, "AMOS Bank (AmBk)", 107);
    advanceScanTo(st, static_cast<std::int64_t>(st.position) + 4);
}

// One output sample record from the instrument record at `at`.
void writeRecord(ModuleWriter& out, const RipState& st, std::uint64_t at) {
    std::array<std::uint8_t, 30> record{};
    for (unsigned i = 0; i < 16; ++i)
        record[i] = u8OrZero(st, at + 16 + i);
    const std::uint32_t sample = be32OrZero(st, at);
    const std::uint32_t loop = be32OrZero(st, at + 4);
    const std::uint16_t length = be16OrZero(st, at + 14);
    const std::uint16_t loopStart = static_cast<std::uint16_t>((loop - sample) / 2);
    const std::uint16_t storedLoopLength = be16OrZero(st, at + 10);
    const std::uint16_t loopLength = storedLoopLength < 3 ? 1 : storedLoopLength;
    record[22] = static_cast<std::uint8_t>(length >> 8);
    record[23] = static_cast<std::uint8_t>(length);
    record[25] = u8OrZero(st, at + 13); // volume; no finetune in the bank
    record[26] = static_cast<std::uint8_t>(loopStart >> 8);
    record[27] = static_cast<std::uint8_t>(loopStart);
    record[28] = static_cast<std::uint8_t>(loopLength >> 8);
    record[29] = static_cast<std::uint8_t>(loopLength);
    out.bytes(record.data(), record.size());
}

void depackAmosBank(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t d = std::uint64_t{st.moduleStart} + kData;
    const std::uint64_t instruments = d + be32OrZero(st, d);
    const std::uint64_t songs = d + be32OrZero(st, d + 4);
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    if (be16OrZero(st, songs) >= 2) {
        // Left open and empty on purpose: nothing of a many-song bank is converted.
        std::FILE* leftOpen = file.release();
        (void)leftOpen;
        std::printf("\n!!! unsupported feature in depack_AmBk() - send this file to %s !\n",
                    kMaintainer);
        return;
    }
    ModuleWriter out(file.get(), st);
    const std::uint64_t song = songs + be32OrZero(st, songs + 2);
    for (unsigned i = 0; i < 16; ++i)
        out.byte(u8OrZero(st, song + kSongName + i));
    out.zeros(4);
    const unsigned count = be16OrZero(st, instruments);
    for (unsigned i = 0; i < 31; ++i) {
        if (i < count) {
            writeRecord(out, st, instruments + 2 + kInstrumentBytes * i);
            continue;
        }
        std::array<std::uint8_t, 30> empty{};
        empty[29] = 1;
        out.bytes(empty.data(), empty.size());
    }
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps amosBankSteps = {testAmosBank, ripAmosBank, depackAmosBank};
