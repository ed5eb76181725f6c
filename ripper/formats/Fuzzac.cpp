// Fuzzac packer: per channel a list of track numbers, one per song position, and tracks of 64
// plain ProTracker cells.
//
// Packed layout from module start s (the tag "M1.0" is at s, big-endian): 4-5 not read; 6 31
// sample records of 68 bytes (0-59 name, not read; 60-61 length, 62-63 loop start, 64-65 loop
// length, all in words; 66 finetune; 67 volume); 2114 song length (1-128); 2115 number of
// tracks; 2116-2117 not read; 2118 the position lists of channels 1, 2, 3 and 4, each song
// length entries of 4 bytes (0 track number; 1-3 not read: 0x40, 0, 0 in the modules seen);
// then the tracks, 256 bytes each (64 rows of the 4-byte ProTracker cell); "SEnd"; the sample
// data, plain 8-bit signed PCM in record order.
//
// Every position becomes its own output pattern, so the order list counts 0 to length - 1.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "FormatStepsList.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {
constexpr std::uint32_t kRecords = 6;
constexpr std::uint32_t kRecordBytes = 68;
constexpr std::uint32_t kRecordFields = 60;
constexpr std::uint32_t kSongLength = 2114;
constexpr std::uint32_t kTrackCount = 2115;
constexpr std::uint32_t kPositionLists = 2118;
constexpr std::uint32_t kEntryBytes = 4;
constexpr std::uint32_t kTrackBytes = 256;
constexpr std::uint32_t kEndTagBytes = 4;

std::uint64_t tracksOf(std::uint64_t s, unsigned songLength) {
    return s + kPositionLists + std::uint64_t{4} * kEntryBytes * songLength;
}
std::uint64_t entryOf(std::uint64_t s, unsigned songLength, unsigned position, unsigned channel) {
    return s + kPositionLists + kEntryBytes * (std::uint64_t{songLength} * channel + position);
}

int testFuzzac(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kPositionLists))
        return 1;
    std::uint64_t sampleBytes = 0;
    for (unsigned i = 0; i < 31; ++i) {
        const std::uint64_t fields = s + kRecords + kRecordBytes * i + kRecordFields;
        const std::int64_t length = be16(st, fields) * 2;
        if (checkSampleDescriptor(length, be16(st, fields + 2) * 2, be16(st, fields + 4) * 2,
                                  u8(st, fields + 7), u8(st, fields + 6)) != 0)
            return 1;
        sampleBytes += static_cast<std::uint64_t>(length);
    }
    const unsigned songLength = u8(st, s + kSongLength);
    const unsigned tracks = u8(st, s + kTrackCount);
    if (songLength == 0 || songLength > 128 || tracks == 0)
        return 1;
    const std::uint64_t trackData = tracksOf(s, songLength);
    const std::uint64_t endTag = trackData + std::uint64_t{kTrackBytes} * tracks;
    if (!fits(st, endTag, kEndTagBytes + sampleBytes) ||
        std::memcmp(st.input + endTag, "SEnd", kEndTagBytes) != 0)
        return 1;
    for (unsigned c = 0; c < 4; ++c)
        for (unsigned p = 0; p < songLength; ++p)
            if (u8(st, entryOf(s, songLength, p, c)) >= tracks)
                return 1;
    // Sample numbers above 31 cannot be written into an output cell.
    for (std::uint64_t cell = trackData; cell < endTag; cell += 4)
        if (u8(st, cell) > 0x1F)
            return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    return 0;
}

std::uint64_t sampleDataOf(const RipState& st, std::uint64_t s) {
    const unsigned songLength = u8OrZero(st, s + kSongLength);
    return tracksOf(s, songLength) + std::uint64_t{kTrackBytes} * u8OrZero(st, s + kTrackCount) +
           kEndTagBytes;
}

void ripFuzzac(RipState& st) {
    const std::uint64_t s = st.moduleStart;
    st.outputSize = static_cast<std::uint32_t>(sampleDataOf(st, s) - s + st.sampleDataSize);
    noteRip(st, "Fuzzac packer module", 25);
    advanceScanTo(st, static_cast<std::int64_t>(s) + st.outputSize - 1);
}

void depackFuzzac(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    for (unsigned i = 0; i < 31; ++i) {
        const std::uint64_t fields = s + kRecords + kRecordBytes * i + kRecordFields;
        out.zeros(22);
        out.input(fields, 2);
        out.input(fields + 6, 2); // finetune, volume
        out.input(fields + 2, 4); // loop start, loop length
    }
    const unsigned songLength = u8OrZero(st, s + kSongLength);
    out.byte(static_cast<std::uint8_t>(songLength));
    out.byte(0x7F);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned p = 0; p < songLength && p < orders.size(); ++p)
        orders[p] = static_cast<std::uint8_t>(p);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    const std::uint64_t trackData = tracksOf(s, songLength);
    std::array<std::uint8_t, 1024> pattern{};
    for (unsigned p = 0; p < songLength; ++p) {
        for (unsigned c = 0; c < 4; ++c) {
            const std::uint64_t track =
                trackData + kTrackBytes * u8OrZero(st, entryOf(s, songLength, p, c));
            for (unsigned row = 0; row < 64; ++row)
                for (unsigned b = 0; b < 4; ++b)
                    pattern[16 * row + 4 * c + b] = u8OrZero(st, track + 4 * row + b);
        }
        out.bytes(pattern.data(), pattern.size());
    }
    out.input(sampleDataOf(st, s), st.sampleDataSize);
    writeBanner31("  FUZZAC Packer   ", 1, 1, file.get());
    std::fflush(file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps fuzzacSteps = {testFuzzac, ripFuzzac, depackFuzzac};
