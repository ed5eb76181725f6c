// Digital Illusion, Eureka and ZEN Packer: real music packed by the test packers comes back as
// its music; cut modules and files full of packed headers neither convert wrongly nor read
// outside the input.
#include "RipTestSupport.h"
#include "packers/ChainAPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"Digital Illusion", packDigitalIllusion, expectedFromDigitalIllusion},
                           {"Eureka", packEureka, expectedFromEureka},
                           {"ZEN Packer", packZen, expectedFromZen}};

TEST(ChainA, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(ChainA, ATruncatedModuleIsRejected) {
    expectCutModulesRefused(kPackers);
}

TEST(ChainA, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
