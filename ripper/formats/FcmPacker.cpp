// FC-M packer: a ProTracker module cut into chunks, each behind a four-letter tag.
//
// Packed layout from module start s (the tag "FC-M" is at s): 4-5 version (not read), "NAME" at
// 6, a 20-byte title at 10, "INST" at 30, 31 sample records of 8 bytes at 34 (the ProTracker
// record without its name: length, finetune, volume, loop start, loop length, all in words),
// "LONG" at 282, song length at 286, restart byte at 287, "PATT" at 288, the order list of
// song-length bytes at 292, "SONG" right behind it, the song's patterns in ProTracker cells
// (as many as the highest order entry + 1), "SAMP", then the sample data as plain 8-bit PCM.
// The real module's loops end exactly at their samples' ends when read in words, so loop start
// is taken in words. It has an even song length; an odd one is taken to be stored the same way,
// with "SONG" directly behind the order list.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "../SampleRecords.h"
#include "FormatStepsList.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {
// scratch slots
constexpr int kPatternCount = 0;

constexpr std::uint32_t kNameTag = 6;
constexpr std::uint32_t kInstTag = 30;
constexpr std::uint32_t kRecords = 34;
constexpr std::uint32_t kRecordBytes = 8;
constexpr std::uint32_t kLongTag = 282;
constexpr std::uint32_t kSongLength = 286;
constexpr std::uint32_t kPattTag = 288;
constexpr std::uint32_t kOrderList = 292;
constexpr std::uint32_t kTagBytes = 4;
constexpr std::uint32_t kPatternBytes = 1024;

bool tagAt(const RipState& st, std::uint64_t offset, const char* tag) {
    return fits(st, offset, kTagBytes) && std::memcmp(st.input + offset, tag, kTagBytes) == 0;
}

// Offset of the first pattern from s ("SONG" sits just before it).
std::uint32_t patternsOffset(std::uint8_t songLength) {
    return kOrderList + songLength + kTagBytes;
}

int testFcm(RipState& st) {
    const std::uint64_t s = st.position;
    if (!tagAt(st, s + kNameTag, "NAME") || !tagAt(st, s + kInstTag, "INST") ||
        !tagAt(st, s + kLongTag, "LONG") || !tagAt(st, s + kPattTag, "PATT"))
        return 1;
    const std::int64_t sampleBytes = checkedRecordBytes(st, s + kRecords, kRecordBytes);
    if (sampleBytes <= 0)
        return 1;
    const std::uint8_t songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128 || !fits(st, s + kOrderList, songLength))
        return 1;
    std::uint32_t highestOrder = 0;
    for (std::uint32_t i = 0; i < songLength; ++i) {
        const std::uint8_t order = u8(st, s + kOrderList + i);
        if (order > 127)
            return 1;
        highestOrder = std::max<std::uint32_t>(highestOrder, order);
    }
    const std::uint32_t patterns = highestOrder + 1;
    const std::uint64_t patternData = s + patternsOffset(songLength);
    const std::uint64_t sampTag = patternData + std::uint64_t{patterns} * kPatternBytes;
    if (!tagAt(st, patternData - kTagBytes, "SONG") || !tagAt(st, sampTag, "SAMP") ||
        !fits(st, sampTag + kTagBytes, sampleBytes))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternCount] = patterns;
    return 0;
}

void ripFcm(RipState& st) {
    const std::uint8_t songLength = st.input[st.moduleStart + kSongLength];
    st.outputSize = patternsOffset(songLength) + st.scratch[kPatternCount] * kPatternBytes +
                    kTagBytes + st.sampleDataSize;
    noteRip(st, "FC-M packed module", 2);
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackFcm(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    std::uint64_t sampleBytes = 0;
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        out.zeros(22);
        out.input(record, kRecordBytes);
        sampleBytes += be16OrZero(st, record) * 2u;
    }
    const std::uint8_t songLength = std::min<std::uint8_t>(u8OrZero(st, s + kSongLength), 128);
    out.byte(songLength);
    out.byte(0x7F);
    std::array<std::uint8_t, 128> orders{};
    for (unsigned i = 0; i < songLength; ++i)
        orders[i] = u8OrZero(st, s + kOrderList + i);
    out.bytes(orders.data(), orders.size());
    out.bytes("M.K.", 4);

    const std::uint64_t patterns = std::uint64_t{st.scratch[kPatternCount]} * kPatternBytes;
    const std::uint64_t patternData = s + patternsOffset(songLength);
    out.input(patternData, patterns);
    out.input(patternData + patterns + kTagBytes, sampleBytes);
    writeBanner31("   FC-M packer    ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps fcmPackedSteps = {testFcm, ripFcm, depackFcm};
