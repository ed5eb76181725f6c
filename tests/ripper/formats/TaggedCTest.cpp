// STIM (Slamtilt), Fuchs Tracker and Sound FX 1.3: real music packed by the test packers comes back
// as its music; cut modules and files full of packed headers neither convert garbage nor read
// outside the input.
#include "RipTestSupport.h"
#include "packers/TaggedCPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"STIM", packStim, expectedFromStim},
                           {"Fuchs Tracker", packFuchsTracker, expectedFromFuchsTracker},
                           {"Sound FX 1.3", packSoundFx13, expectedFromSoundFx13}};

TEST(TaggedC, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(TaggedC, CutModulesAndHeaderFloodsAreSafe) {
    expectCutModulesRefused(kPackers);
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
