// FC-M, Hornet and SKYT: real music packed by the test packers comes back as its music; cut
// modules and files full of packed headers neither convert wrongly nor read outside the input.
#include "RipTestSupport.h"
#include "packers/TaggedBPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"FC-M", packFcm, expectedFromFcm},
                           {"Hornet", packHornet, expectedFromHornet},
                           {"SKYT", packSkyt, expectedFromSkyt}};

TEST(TaggedB, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(TaggedB, CutModulesAndHeaderFloodsAreSafe) {
    expectCutModulesRefused(kPackers);
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
