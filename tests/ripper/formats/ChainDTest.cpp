// Newtron, Newtron Old and Heatseeker: real music packed by the test packers comes back as its
// music; cut modules and files full of packed headers neither convert wrongly nor read outside
// the input.
#include "RipTestSupport.h"
#include "packers/ChainDPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"Newtron", packNewtron, expectedFromNewtron},
                           {"Newtron Old", packNewtronOld, expectedFromNewtronOld},
                           {"Heatseeker", packHeatseeker, expectedFromHeatseeker}};

TEST(ChainD, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(ChainD, ATruncatedModuleIsRejected) {
    expectCutModulesRefused(kPackers);
}

TEST(ChainD, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
