// The Player 2.2A, 3.0A, 4.0A, 4.0B and 4.1A: real music packed by the test packer comes back,
// damaged modules are refused, and tracks end with the track data.
#include "RipTestSupport.h"
#include "packers/ThePlayer4xPacker.h"

#include <gtest/gtest.h>

namespace {
using V = ThePlayerVersion;

const Packer kPackers[] = {
    {"The Player 2.2A", packThePlayerAs<V::V22A>, expectedFromThePlayerAs<V::V22A>},
    {"The Player 3.0A", packThePlayerAs<V::V30A>, expectedFromThePlayerAs<V::V30A>},
    {"The Player 4.0A", packThePlayerAs<V::V40A>, expectedFromThePlayerAs<V::V40A>},
    {"The Player 4.0B", packThePlayerAs<V::V40B>, expectedFromThePlayerAs<V::V40B>},
    {"The Player 4.1A", packThePlayerAs<V::V41A>, expectedFromThePlayerAs<V::V41A>},
};

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

TEST(ThePlayer4x, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(ThePlayer4x, TruncatedModuleIsRefused) {
    for (const Packer& packer : kPackers) {
        const Bytes packed = packer.pack(twoNotes());
        const std::size_t trackData = 4 + be32At(packed, 8);
        const struct {
            const char* what;
            std::size_t size;
        } cuts[] = {{"sample data", packed.size() - 1},
                    {"track data", trackData + 2},
                    {"sample records", 30}};
        for (const auto& cut : cuts) {
            SCOPED_TRACE(std::string(packer.name) + " cut in the " + cut.what);
            Bytes file(packed.begin(), packed.begin() + std::ptrdiff_t(cut.size));
            file.resize(std::max<std::size_t>(file.size(), 65)); // the scan needs 65 bytes
            EXPECT_TRUE(ripToModule(file).empty());
        }
    }
}

TEST(ThePlayer4x, TagsAndHeadersAtEveryOffsetEndTheScan) {
    for (const Packer& packer : kPackers) {
        SCOPED_TRACE(packer.name);
        const Bytes header = packer.pack(twoNotes());
        for (const std::size_t unit : {std::size_t{4}, std::size_t{20}, std::size_t{36}}) {
            Bytes file;
            while (file.size() < 200000)
                file.insert(file.end(), header.begin(), header.begin() + std::ptrdiff_t(unit));
            EXPECT_TRUE(ripToModule(file).empty());
        }
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
