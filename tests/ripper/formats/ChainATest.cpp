// Digital Illusion, Eureka and ZEN Packer (round trips and damage: EveryFormatTest): the scan
// jumps over runs of zeros 63 bytes at a time; a module right behind such a run, at every phase
// of the jumps, must still be found.
#include "PackFormats.h"
#include "RipTestSupport.h"

#include <gtest/gtest.h>

namespace {
TEST(ChainA, AModuleBehindZeroPaddingIsFound) {
    const ProTrackerModule module = firstMediaModule();
    for (const char* name : {"digital-illusion", "eureka", "zen"}) {
        const PackFormat& format = *findPackFormat(name);
        const Bytes packed = format.pack(module);
        for (std::size_t zeros = 1000; zeros < 1064; ++zeros) {
            SCOPED_TRACE(std::string(name) + " behind " + std::to_string(zeros));
            Bytes file(zeros, 0);
            file.insert(file.end(), packed.begin(), packed.end());
            ASSERT_EQ(ripToModule(file), format.expected(module));
        }
    }
}
} // namespace
