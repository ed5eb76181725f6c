// NoisePacker v1, v2 and v3 and Noiserunner (round trips and header floods: EveryFormatTest):
// cut modules are refused or read as zeros past the input.
#include "PackFormats.h"
#include "RipTestSupport.h"

#include <gtest/gtest.h>

namespace {
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

// The module ends the file. Cut inside its tracks or patterns it is refused; cut inside its
// sample data it converts, the missing bytes as zeros.
TEST(NoisePacker, ACutModuleIsRefusedOrReadAsZerosPastTheInput) {
    const ProTrackerModule module = moduleWithLoopStart();
    const Bytes before = filler(2000, 5);
    for (const char* name : {"noisepacker1", "noisepacker2", "noisepacker3", "noiserunner"}) {
        SCOPED_TRACE(name);
        const Bytes packed = findPackFormat(name)->pack(module);
        const Bytes expected = findPackFormat(name)->expected(module);
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

} // namespace
