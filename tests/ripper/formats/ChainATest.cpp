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

// The scan jumps over runs of zeros 63 bytes at a time; a module right behind such a run, at
// every phase of the jumps, must still be found.
TEST(ChainA, AModuleBehindZeroPaddingIsFound) {
    const ProTrackerModule module = firstMediaModule();
    for (const Packer& packer : kPackers)
        for (std::size_t zeros = 1000; zeros < 1064; ++zeros) {
            SCOPED_TRACE(std::string(packer.name) + " behind " + std::to_string(zeros));
            Bytes file(zeros, 0);
            const Bytes packed = packer.pack(module);
            file.insert(file.end(), packed.begin(), packed.end());
            ASSERT_EQ(ripToModule(file), packer.expected(module));
        }
}

TEST(ChainA, ATruncatedModuleIsRejected) {
    expectCutModulesRefused(kPackers);
}

TEST(ChainA, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
