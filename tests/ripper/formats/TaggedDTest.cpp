// Polka Packer, SoundTracker 2.6 / IceTracker, TMK and Quadra Composer: real music packed by the
// test packers comes back as its music; cut modules and files full of packed headers neither
// convert garbage nor read outside the input.
#include "RipTestSupport.h"
#include "packers/TaggedDPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"Polka PWR.", packPolka, expectedFromPolka},
                           {"Polka PSUX", packPolkaPsux, expectedFromPolka},
                           {"SoundTracker 2.6", packSoundTracker26, expectedFromIceTracker},
                           {"IceTracker", packIceTracker, expectedFromIceTracker},
                           {"TMK", packTmk, expectedFromTmk},
                           {"TMK delta", packTmkDelta, expectedFromTmkDelta},
                           {"Quadra Composer", packQuadraComposer, expectedFromQuadraComposer}};

TEST(TaggedD, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(TaggedD, ATruncatedModuleIsRejected) {
    expectCutModulesRefused(kPackers);
}

TEST(TaggedD, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
