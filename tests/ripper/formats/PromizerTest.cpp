// Promizer 0.1, 1.0c, 1.8a, 2.0 and 4.0: real music packed by the test packer comes back as its
// music under the right version's name (1.0c and 1.8a share a signature; the music has notes
// of finetuned samples with and without sample numbers), a file of several songs gives its
// first, damaged modules are refused, and headers repeated over a file neither crash nor hang
// the scan.
#include "RipTestSupport.h"
#include "packers/PromizerPacker.h"

#include <gtest/gtest.h>

namespace {
using V = PromizerVersion;

const Packer kPackers[] = {
    {"Promizer 0.1", packPromizerAs<V::V01>, expectedFromPromizerAs<V::V01>},
    {"Promizer 1.0c", packPromizerAs<V::V10c>, expectedFromPromizerAs<V::V10c>},
    {"Promizer 1.8a", packPromizerAs<V::V18a>, expectedFromPromizerAs<V::V18a>},
    {"Promizer 2.0", packPromizerAs<V::V20>, expectedFromPromizerAs<V::V20>},
    {"Promizer 4.0", packPromizerAs<V::V40>, expectedFromPromizerAs<V::V40>},
};

// Where each packer's song header (the sample records) starts.
constexpr std::size_t kSongHeaderAt[] = {0, 0x1164, 0x1168, 0x1200, 4};

// Two positions of two patterns; sample 2 has finetune -1.
ProTrackerModule twoPatterns() {
    ProTrackerModule module = ProTrackerModule::blank(2);
    module.header[950] = 2;
    module.header[953] = 1;
    module.setSample(0, 64, 0, 64, 0, 1);
    module.setSample(1, 32, 15, 40, 8, 16);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0xC, 0x20});
    writeCell(module.patterns[0], 0, 1, {2, 214, 0, 0});
    writeCell(module.patterns[0], 4, 1, {0, 202, 0x3, 0x10});
    writeCell(module.patterns[1], 0, 1, {0, 856, 0, 0});
    writeCell(module.patterns[1], 8, 3, {17, 113, 0xF, 0x06});
    return module;
}

TEST(Promizer, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(Promizer, FileOfSeveralSongsGivesTheFirst) {
    const ProTrackerModule module = twoPatterns();
    for (const V version : {V::V10c, V::V18a})
        EXPECT_EQ(ripToModule(hideInside(packPromizer(module, version, 3), 4)),
                  expectedFromPromizer(module, version));
}

TEST(Promizer, TruncatedModuleIsRefused) {
    const ProTrackerModule module = twoPatterns();
    for (std::size_t member = 0; member < std::size(kPackers); ++member) {
        const Packer& packer = kPackers[member];
        const Bytes packed = packer.pack(module);
        const std::size_t samples = module.sampleData.size();
        const struct {
            const char* what;
            std::size_t size;
        } cuts[] = {{"sample data", packed.size() - 1},
                    {"cells", packed.size() - samples - 3},
                    {"song header", kSongHeaderAt[member] + 600}};
        for (const auto& cut : cuts) {
            SCOPED_TRACE(std::string(packer.name) + " cut in the " + cut.what);
            Bytes file = filler(1000, 7);
            file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(cut.size));
            EXPECT_TRUE(ripToModule(file).empty());
        }
    }
}

TEST(Promizer, HeadersAtEveryOffsetEndTheScan) {
    for (const Packer& packer : kPackers) {
        SCOPED_TRACE(packer.name);
        const Bytes packed = packer.pack(twoPatterns());
        for (const std::size_t unit : {std::size_t{8}, std::size_t{16}, std::size_t{0xB0},
                                       std::size_t{770}, packed.size() - 64}) {
            Bytes file;
            while (file.size() < 300000)
                file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(unit));
            ripToModule(file);
        }
    }
}
} // namespace
