// Module Protector (with and without "TRK1"), Power Music and Wanton Packer: real music packed
// by the test packers comes back as its music; cut modules and files full of packed headers
// neither convert wrongly nor read outside the input.
#include "RipTestSupport.h"
#include "packers/PtLikePacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {
    {"Module Protector", packModuleProtector, expectedFromModuleProtector},
    {"Module Protector TRK1", packModuleProtectorTagged, expectedFromModuleProtector},
    {"Power Music", packPowerMusic, expectedFromPowerMusic},
    {"Wanton Packer", packWantonPacker, expectedFromWantonPacker}};

TEST(PtLike, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(PtLike, ATruncatedModuleIsRejected) {
    expectCutModulesRefused(kPackers);
}

TEST(PtLike, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
