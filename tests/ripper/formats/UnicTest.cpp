// UNIC Tracker v1 (zero, "M.K." and "UNIC" tags) and v2: real music packed by the test packers
// comes back as its music; cut modules and files full of packed headers neither convert wrongly
// nor read outside the input.
#include "RipTestSupport.h"
#include "packers/UnicPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"UNIC v1", packUnicV1, expectedFromUnicV1},
                           {"UNIC v1 M.K.", packUnicV1MK, expectedFromUnicV1},
                           {"UNIC v1 UNIC", packUnicV1Tag, expectedFromUnicV1},
                           {"UNIC v2", packUnicV2, expectedFromUnicV2}};

TEST(Unic, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(Unic, CutModulesAreRefused) {
    expectCutModulesRefused(kPackers);
}

TEST(Unic, FilesFullOfPackedHeadersAreSafe) {
    expectHeaderFloodsAreSafe(kPackers);
}

// A module without a first sample, behind 139 zero bytes: the zero-run skip jumps from 126 over
// its chain position (module start + 45) to 189, so only the tag at 1080 can find it.
TEST(Unic, TaggedModulesAreFoundByTheirTagWhenTheChainMissesThem) {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(1, 100, 3, 40, 0, 1);
    writeCell(module.patterns[0], 5, 2, Cell{2, 428, 0xC, 0x20});
    for (const Packer& packer : {kPackers[1], kPackers[2]}) {
        SCOPED_TRACE(packer.name);
        Bytes file(139, 0);
        const Bytes packed = packer.pack(module);
        file.insert(file.end(), packed.begin(), packed.end());
        const Bytes tail = filler(500, 3);
        file.insert(file.end(), tail.begin(), tail.end());
        EXPECT_TRUE(ripToModule(file) == packer.expected(module));
    }
}
} // namespace
