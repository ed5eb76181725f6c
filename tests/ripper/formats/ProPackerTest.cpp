// ProPacker v1.0, v2.1 and v3.0: real music packed by the test packer comes back as its music
// under the right version's name, damaged modules are refused, and headers repeated over a file
// neither crash nor hang the scan.
#include "RipTestSupport.h"
#include "packers/ProPackerPacker.h"

#include <gtest/gtest.h>

namespace {
using V = ProPackerVersion;

const Packer kPackers[] = {
    {"ProPacker v1.0", packProPackerAs<V::V10>, expectedFromProPackerAs<V::V10>},
    {"ProPacker v2.1", packProPackerAs<V::V21>, expectedFromProPackerAs<V::V21>},
    {"ProPacker v3.0", packProPackerAs<V::V30>, expectedFromProPackerAs<V::V30>},
};

// Two positions of two patterns: notes on every channel, one track shared by both patterns.
ProTrackerModule twoPatterns() {
    ProTrackerModule module = ProTrackerModule::blank(2);
    module.header[950] = 2;
    module.header[953] = 1;
    module.setSample(0, 64, 0, 64, 0, 1);
    module.setSample(1, 32, 3, 40, 8, 16);
    for (int channel = 0; channel < 4; ++channel) {
        writeCell(module.patterns[0], 0, channel, {1, 428, 0xC, 0x20});
        writeCell(module.patterns[1], 16, channel, {2, unsigned(214 + channel), 0, 0});
    }
    writeCell(module.patterns[1], 0, 0, {1, 428, 0xC, 0x20});
    return module;
}

TEST(ProPacker, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

// With the sample records behind the last used one all zero, the scan's skip over 64 zero bytes
// lands behind the last finetune byte for these sample counts.
TEST(ProPacker, ModulesEndingInZeroSampleRecordsAreFound) {
    for (const int usedSamples : {7, 15, 23}) {
        ProTrackerModule module = twoPatterns();
        for (int i = 2; i < usedSamples; ++i)
            module.setSample(i, 2, 0, 64, 0, 1);
        for (const Packer& packer : kPackers) {
            SCOPED_TRACE(std::string(packer.name) + " with samples " + std::to_string(usedSamples));
            EXPECT_EQ(ripToModule(hideInside(packer.pack(module), 5)), packer.expected(module));
        }
    }
}

TEST(ProPacker, TruncatedModuleIsRefused) {
    const ProTrackerModule module = twoPatterns();
    for (const Packer& packer : kPackers) {
        const Bytes packed = packer.pack(module);
        const std::size_t samples = module.sampleData.size();
        const struct {
            const char* what;
            std::size_t size;
        } cuts[] = {{"sample data", packed.size() - 1},
                    {"cells", packed.size() - samples - 3},
                    {"track table", 400}};
        for (const auto& cut : cuts) {
            SCOPED_TRACE(std::string(packer.name) + " cut in the " + cut.what);
            Bytes file = filler(1000, 7);
            file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(cut.size));
            EXPECT_TRUE(ripToModule(file).empty());
        }
    }
}

TEST(ProPacker, HeadersAtEveryOffsetEndTheScan) {
    for (const Packer& packer : kPackers) {
        SCOPED_TRACE(packer.name);
        const Bytes packed = packer.pack(twoPatterns());
        for (const std::size_t unit : {std::size_t{8}, std::size_t{250}, std::size_t{762}}) {
            Bytes file;
            while (file.size() < 300000)
                file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(unit));
            ripToModule(file);
        }
    }
}
} // namespace
