// Newtron, Newtron Old and Heatseeker (round trips and damage: EveryFormatTest): modules are
// found behind zero runs the scan skips; plain patterns behind a Heatseeker-like head are not
// taken for Heatseeker tracks.
#include "PackFormats.h"
#include "RipTestSupport.h"
#include "packers/ChainDPacker.h"

#include <gtest/gtest.h>
#include <string>

namespace {
// Unused sample records of all zero bytes: the scan skips the run of zeros that covers a
// module's scan position, and the module must still be found behind it.
TEST(ChainD, ModulesWithZeroUnusedRecordsAreFound) {
    ProTrackerModule module = firstMediaModule();
    for (int i = 0; i < 31; ++i)
        if (module.sampleWords(i) == 0)
            module.setSample(i, 0, 0, 0, 0, 0);
    for (const char* name : {"newtron", "newtron-old", "heatseeker"}) {
        SCOPED_TRACE(name);
        const PackFormat& format = *findPackFormat(name);
        EXPECT_TRUE(ripToModule(hideInside(format.pack(module), 3)) == format.expected(module));
    }
}

// Heatseeker's head followed by unpacked patterns is another format's module (the real Module
// Protector file is one): read as tracks, its patterns parse, and its head comes first in the
// scan, so only the shape of the tracks keeps Heatseeker from taking it.
TEST(ChainD, PlainPatternsAreNotHeatseekerTracks) {
    const ProTrackerModule module = firstMediaModule();
    const Bytes heatseeker = packHeatseeker(module);
    Bytes plain(heatseeker.begin(), heatseeker.begin() + 378);
    for (unsigned p = 0; p < songPatternCount(module); ++p)
        plain.insert(plain.end(), module.patterns[p].begin(), module.patterns[p].end());
    plain.insert(plain.end(), module.sampleData.begin(), module.sampleData.end());
    const Bytes ripped = ripToModule(hideInside(plain, 7));
    if (ripped.size() >= 729) {
        EXPECT_NE(std::string(ripped.begin() + 711, ripped.begin() + 729), " Heatseeker mc1.0 ");
    }
}
} // namespace
