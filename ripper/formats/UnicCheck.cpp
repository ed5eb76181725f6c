// UNIC Tracker v1 and v2: the test and rip steps (layout in Unic.h).
#include "../InputBytes.h"
#include "../SampleRecords.h"
#include "Unic.h"

#include <algorithm>

namespace unic {
namespace {
// The cheap part first: most positions that reach the test are other data, and a zero byte 24
// and a small finetune word in all 31 records turn them away before anything is summed.
bool recordsLookPacked(const RipState& st, std::uint64_t s) {
    for (std::uint32_t i = 0; i < 31; ++i) {
        const std::uint64_t record = s + kRecords + kRecordBytes * i;
        const auto finetune = static_cast<std::int16_t>(be16(st, record + kFinetuneWord));
        if (u8(st, record + kPlainRecord + 2) != 0 || finetune < -8 || finetune > 8)
            return false;
    }
    return true;
}

bool tagAccepted(const RipState& st, std::uint64_t s, TagRule rule) {
    const std::uint8_t* tag = st.input + s + kTag;
    const bool anyZero = tag[0] == 0 || tag[1] == 0 || tag[2] == 0 || tag[3] == 0;
    const bool allZero = (tag[0] | tag[1] | tag[2] | tag[3]) == 0;
    switch (rule) {
    case TagRule::HasZeroByte:
        return anyZero;
    case TagRule::NotAllZero:
        return !allZero;
    case TagRule::Matched:
    case TagRule::None:
        break;
    }
    return true;
}

// Every note byte in range, and at least one note.
bool cellsPlausible(const RipState& st, std::uint64_t first, std::uint64_t patterns) {
    bool anyNote = false;
    const std::uint8_t* cells = st.input + first;
    for (std::uint64_t i = 0; i < patterns * kPatternBytes; i += 3) {
        const std::uint8_t note = cells[i];
        if ((note & 0x80) != 0 || (note & 0x3F) > 36)
            return false;
        anyNote = anyNote || (note & 0x3F) != 0;
    }
    return anyNote;
}
} // namespace

int testModule(RipState& st, const Variant& variant) {
    if (st.position < variant.scanOffset)
        return 1;
    const std::uint64_t s = st.position - variant.scanOffset;
    if (!fits(st, s, variant.patternData) || !recordsLookPacked(st, s))
        return 1;
    const std::int64_t sampleBytes = checkedRecordBytes(st, s + kRecords + kPlainRecord, 30);
    if (sampleBytes <= 0)
        return 1;
    const unsigned songLength = u8(st, s + kSongLength);
    if (songLength == 0 || songLength > 128)
        return 1;
    unsigned highest = 0;
    unsigned highestInSong = 0;
    for (unsigned i = 0; i < 128; ++i) {
        const unsigned entry = u8(st, s + kOrderList + i);
        if (entry > 127)
            return 1;
        highest = std::max(highest, entry);
        if (i < songLength)
            highestInSong = std::max(highestInSong, entry);
    }
    if (variant.tag != TagRule::None && !tagAccepted(st, s, variant.tag))
        return 1;
    const std::uint64_t patterns = highest + 1u;
    const std::uint64_t size = variant.patternData + patterns * kPatternBytes + sampleBytes;
    if (!fits(st, s, size) || !cellsPlausible(st, s + variant.patternData, patterns))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(sampleBytes);
    st.scratch[kPatternData] = variant.patternData;
    st.scratch[kStoredPatterns] = static_cast<std::uint32_t>(patterns);
    st.scratch[kSongPatterns] = highestInSong + 1;
    return 0;
}

void ripModule(RipState& st, const char* displayName, int extensionIndex) {
    st.outputSize =
        st.scratch[kPatternData] + st.scratch[kStoredPatterns] * kPatternBytes + st.sampleDataSize;
    noteRip(st, displayName, extensionIndex);
    // With the driver's increment the scan resumes right behind the module.
    advanceScanTo(st, std::int64_t(st.moduleStart) + st.outputSize - 1);
}

} // namespace unic
