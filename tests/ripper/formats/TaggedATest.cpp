// KRIS Tracker, Kefrens Sound Machine and Fuzzac: real music packed by the test packers comes
// back as its music; KRIS transposes move notes along the period table; cut or repeated packed
// data neither converts nor reads outside the input.
#include "RipTestSupport.h"
#include "packers/TaggedAPacker.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {
    {"KRIS Tracker", packKrisTracker, expectedFromKrisTracker},
    {"Kefrens Sound Machine", packKefrensSoundMachine, expectedFromKefrensSoundMachine},
    {"Fuzzac", packFuzzac, expectedFromFuzzac}};

TEST(TaggedA, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(TaggedA, KrisTransposeShiftsNotesAndClampsAtTheTableEnds) {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(0, 16, 0, 64, 0, 1);
    writeCell(module.patterns[0], 0, 0, Cell{1, periodOfNote(13), 0, 0});
    const struct {
        std::int8_t transpose;
        unsigned note;
    } cases[] = {{0, 13}, {5, 18}, {-12, 1}, {-40, 1}, {30, 36}};
    for (const auto& c : cases) {
        SCOPED_TRACE(int(c.transpose));
        Bytes packed = packKrisTracker(module);
        packed[959] = static_cast<std::uint8_t>(c.transpose); // position 0, channel 1
        const Bytes mod = ripToModule(packed);
        ASSERT_GE(mod.size(), 1088u);
        EXPECT_EQ(get16(&mod[1084]) & 0x0FFF, periodOfNote(c.note));
    }
}

TEST(TaggedA, CutModulesAndHeaderFloodsAreSafe) {
    expectCutModulesRefused(kPackers);
    expectHeaderFloodsAreSafe(kPackers);
}
} // namespace
