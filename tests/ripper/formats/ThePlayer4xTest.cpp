// The Player 2.2A, 3.0A, 4.0A, 4.0B and 4.1A (round trips: EveryFormatTest): damaged modules are
// refused, and tracks end with the track data.
#include "PackFormats.h"
#include "RipTestSupport.h"
#include "packers/ThePlayer4xPacker.h"

#include <gtest/gtest.h>

namespace {
using V = ThePlayerVersion;
const char* const kVersions[] = {"theplayer2.2a", "theplayer3.0a", "theplayer4.0a", "theplayer4.0b",
                                 "theplayer4.1a"};
// One pattern: sample 1 at rows 0 and 32 of channel 4, whose track is the last one written.
ProTrackerModule twoNotes() {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(0, 64, 0, 64, 0, 1);
    writeCell(module.patterns[0], 0, 3, {1, 428, 0, 0});
    writeCell(module.patterns[0], 32, 3, {1, 428, 0, 0});
    return module;
}

unsigned be32At(const Bytes& bytes, std::size_t at) {
    return unsigned(get16(&bytes[at])) << 16 | get16(&bytes[at + 2]);
}

TEST(ThePlayer4x, CutModulesAndRepeatedTagsAndHeadersAreNoModule) {
    for (const char* name : kVersions) {
        SCOPED_TRACE(name);
        const Bytes packed = findPackFormat(name)->pack(twoNotes());
        const std::size_t trackData = 4 + be32At(packed, 8);
        // Cut in the sample data, the track data and the sample records; the scan needs 65 bytes.
        for (const std::size_t size : {packed.size() - 1, trackData + 2, std::size_t{30}}) {
            Bytes file(packed.begin(), packed.begin() + std::ptrdiff_t(size));
            file.resize(std::max<std::size_t>(file.size(), 65));
            EXPECT_TRUE(ripToModule(file).empty()) << "cut to " << size;
        }
        for (const std::size_t unit : {4u, 20u, 36u})
            EXPECT_TRUE(ripToModule(repeated(packed, unit, 200000)).empty()) << unit;
    }
}

TEST(ThePlayer4x, TrackShorterThan64RowsStopsAtTheSampleData) {
    // Drop the last entry (row 32 to the end) of the last track: the rows behind the track data
    // stay empty instead of being read from the sample bytes.
    ProTrackerModule module = twoNotes();
    Bytes packed = packThePlayer(module, V::V22A);
    const std::size_t sampleData = 4 + be32At(packed, 16);
    packed.erase(packed.begin() + std::ptrdiff_t(sampleData) - 4,
                 packed.begin() + std::ptrdiff_t(sampleData));
    put32(packed, 16, be32At(packed, 16) - 4);
    std::fill(module.sampleData.begin(), module.sampleData.end(), 0x1A); // would read as notes
    std::copy(module.sampleData.begin(), module.sampleData.end(),
              packed.end() - std::ptrdiff_t(module.sampleData.size()));
    writeCell(module.patterns[0], 32, 3, {});
    EXPECT_EQ(ripToModule(hideInside(packed, 7)), expectedFromThePlayer(module, V::V22A));
}
} // namespace
