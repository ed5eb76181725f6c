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

// All three end with sample data whose size the header promises.
TEST(TaggedC, ATruncatedModuleIsRejected) {
    const ProTrackerModule module = firstMediaModule();
    for (const Packer& packer : kPackers) {
        const Bytes packed = packer.pack(module);
        for (std::size_t cut : {packed.size() - 1, std::size_t{300}}) {
            SCOPED_TRACE(std::string(packer.name) + " cut to " + std::to_string(cut));
            Bytes file = filler(2000, 5);
            file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(cut));
            EXPECT_TRUE(ripToModule(file).empty());
        }
    }
}

// The first 4 KB of a packed module over and over: tags everywhere whose tables point into the
// next copy or past the end of the input.
TEST(TaggedC, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    const ProTrackerModule module = firstMediaModule();
    for (const Packer& packer : kPackers) {
        SCOPED_TRACE(packer.name);
        const Bytes packed = packer.pack(module);
        const Bytes header(packed.begin(), packed.begin() + std::ptrdiff_t(std::min<std::size_t>(
                                                                packed.size(), 4096)));
        Bytes file;
        while (file.size() < 512 * 1024)
            file.insert(file.end(), header.begin(), header.end());
        ripToModule(file);
    }
}
} // namespace
