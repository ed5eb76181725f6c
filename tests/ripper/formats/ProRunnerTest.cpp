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

// The module ends the file, so a test that trusts its sizes reads past the input.
TEST(ProRunner, ATruncatedModuleIsRejected) {
    const ProTrackerModule module = firstMediaModule();
    for (const Packer& packer : kPackers) {
        const Bytes packed = packer.pack(module);
        const std::size_t cuts[] = {packed.size() - 1, packed.size() - module.sampleData.size(),
                                    1500};
        for (std::size_t cut : cuts) {
            SCOPED_TRACE(std::string(packer.name) + " cut to " + std::to_string(cut));
            Bytes file = filler(2000, 5);
            file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(cut));
            EXPECT_TRUE(ripToModule(file).empty());
        }
    }
}

// Everything before the sample data, repeated over a file: each copy's test walks its patterns
// into the next copy, and the last copy runs into the end of the input.
TEST(ProRunner, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    const ProTrackerModule module = firstMediaModule();
    for (const Packer& packer : kPackers) {
        SCOPED_TRACE(packer.name);
        const Bytes packed = packer.pack(module);
        const Bytes header(packed.begin(), packed.end() - std::ptrdiff_t(module.sampleData.size()));
        Bytes file;
        while (file.size() < 512 * 1024)
            file.insert(file.end(), header.begin(), header.end());
        ripToModule(file);
    }
}
} // namespace
