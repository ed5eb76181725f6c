// Promizer 0.1, 1.0c, 1.8a, 2.0 and 4.0 (round trips: EveryFormatTest) on a small song with
// notes of finetuned samples with and without sample numbers: a file of several songs gives its
// first, damaged modules are refused, and headers repeated over a file neither crash nor hang
// the scan.
#include "PackFormats.h"
#include "RipTestSupport.h"
#include "packers/PromizerPacker.h"

#include <gtest/gtest.h>

namespace {
using V = PromizerVersion;

const char* const kVersions[] = {"promizer0.1", "promizer1.0c", "promizer1.8a", "promizer2.0",
                                 "promizer4.0"};
// Where each version's song header (the sample records) starts.
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

TEST(Promizer, FileOfSeveralSongsGivesTheFirst) {
    const ProTrackerModule module = twoPatterns();
    for (const V version : {V::V10c, V::V18a})
        EXPECT_EQ(ripToModule(hideInside(packPromizer(module, version, 3), 4)),
                  expectedFromPromizer(module, version));
}

TEST(Promizer, CutModulesAreRefusedAndRepeatedHeadersEndTheScan) {
    const ProTrackerModule module = twoPatterns();
    for (std::size_t version = 0; version < std::size(kVersions); ++version) {
        SCOPED_TRACE(kVersions[version]);
        const Bytes packed = findPackFormat(kVersions[version])->pack(module);
        // Cut in the sample data, in the cells and in the song header.
        expectCutsRefused(packed, {packed.size() - 1, packed.size() - module.sampleData.size() - 3,
                                   kSongHeaderAt[version] + 600});
        for (const std::size_t unit : {std::size_t{8}, std::size_t{16}, std::size_t{0xB0},
                                       std::size_t{770}, packed.size() - 64})
            ripToModule(repeated(packed, unit, 300000));
    }
}
} // namespace
