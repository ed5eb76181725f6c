// UNIC Tracker (round trips and damage: EveryFormatTest): a module without a first sample,
// behind 139 zero bytes, is skipped by the zero-run jump over its chain position (module start
// + 45, jumped from 126 to 189), so only the tag at 1080 can find it.
#include "PackFormats.h"
#include "RipTestSupport.h"

#include <gtest/gtest.h>

namespace {
TEST(Unic, TaggedModulesAreFoundByTheirTagWhenTheChainMissesThem) {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(1, 100, 3, 40, 0, 1);
    writeCell(module.patterns[0], 5, 2, Cell{2, 428, 0xC, 0x20});
    for (const char* name : {"unic1-mk", "unic1-tag"}) {
        SCOPED_TRACE(name);
        const PackFormat& format = *findPackFormat(name);
        Bytes file(139, 0);
        const Bytes packed = format.pack(module);
        file.insert(file.end(), packed.begin(), packed.end());
        const Bytes tail = filler(500, 3);
        file.insert(file.end(), tail.begin(), tail.end());
        EXPECT_TRUE(ripToModule(file) == format.expected(module));
    }
}
} // namespace
