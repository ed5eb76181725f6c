// ProRunner 1 and 2: real music packed by the test packers comes back as its music; cut or
// repeated packed data ends the scan without output or reads outside the input.
#include "RipTestSupport.h"
#include "packers/ProRunnerPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"ProRunner 1", packProRunner1, expectedFromProRunner1},
                           {"ProRunner 2", packProRunner2, expectedFromProRunner2}};

TEST(ProRunner, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(ProRunner, CutModulesAndHeaderFloodsAreSafe) {
    expectCutModulesRefused(kPackers);
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
