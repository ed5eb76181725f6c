// KRIS Tracker (round trips and damage: EveryFormatTest): a track's transpose moves its notes
// along the period table and clamps at the table's ends.
#include "RipTestSupport.h"
#include "packers/TaggedAPacker.h"

#include <gtest/gtest.h>

namespace {
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
} // namespace
