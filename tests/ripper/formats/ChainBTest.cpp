// StarTrekker Packer, Xann Packer and PHA Packer: real music packed by the test packers comes
// back as its music; cut modules and files full of packed headers neither convert wrongly nor
// read outside the input.
#include "RipTestSupport.h"
#include "packers/ChainBPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"StarTrekker Packer", packStarTrekker, expectedFromStarTrekker},
                           {"Xann Packer", packXann, expectedFromXann},
                           {"PHA Packer", packPha, expectedFromPha}};

TEST(ChainB, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(ChainB, ATruncatedModuleIsRejected) {
    expectCutModulesRefused(kPackers);
}

TEST(ChainB, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
