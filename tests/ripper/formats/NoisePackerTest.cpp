// NoisePacker v1 and v3 and Noiserunner: real music packed by the test packers comes back as its
// music under its own format's name; cut modules are refused or read as zeros past the input,
// and repeated packed headers end the scan.
#include "RipTestSupport.h"
#include "packers/NoisePackerPacker.h"

#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {
    {"NoisePacker v1", packNoisePackerV1, expectedFromNoisePackerV1},
    {"NoisePacker v3", packNoisePackerV3, expectedFromNoisePackerV3},
    {"Noiserunner", packNoiserunner, expectedFromNoiserunner},
};

// A module of the test media with a looped sample that starts its loop behind the sample's
// start, so its v1 form is not also a v2 module.
ProTrackerModule moduleWithLoopStart() {
    for (const auto& path : mediaModules()) {
        const auto module = ProTrackerModule::parse(readFile(path));
        for (int i = 0; module && i < 31; ++i)
            if (get16(&module->header[20 + 30 * i + 26]) != 0)
                return *module;
    }
    throw std::runtime_error("no module with a loop start in TAMBERLO_TEST_MEDIA/mod");
}

TEST(NoisePacker, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

// The module ends the file. Cut inside its tracks or patterns it is refused; cut inside its
// sample data it converts, the missing bytes as zeros.
TEST(NoisePacker, ACutModuleIsRefusedOrReadAsZerosPastTheInput) {
    const ProTrackerModule module = moduleWithLoopStart();
    const Bytes before = filler(2000, 5);
    for (const Packer& packer : kPackers) {
        SCOPED_TRACE(packer.name);
        const Bytes packed = packer.pack(module);
        const Bytes expected = packer.expected(module);
        const auto samples = std::ptrdiff_t(module.sampleData.size());
        Bytes file = before;
        file.insert(file.end(), packed.begin(), packed.end() - samples - 1);
        EXPECT_TRUE(ripToModule(file).empty());

        file = before;
        file.insert(file.end(), packed.begin(), packed.end() - 1);
        Bytes zeroEnded = expected;
        zeroEnded.back() = 0;
        EXPECT_TRUE(ripToModule(file) == zeroEnded);
    }
}

// Everything before the sample data, repeated over a file: each copy's test walks its tracks
// into the next copy, and the last copy runs into the end of the input.
TEST(NoisePacker, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    const ProTrackerModule module = moduleWithLoopStart();
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
