// ProPacker v1.0, v2.1 and v3.0 (round trips: EveryFormatTest) on a small song: modules ending
// in zero sample records are found, damaged modules are refused, and headers repeated over a
// file neither crash nor hang the scan.
#include "PackFormats.h"
#include "RipTestSupport.h"

#include <gtest/gtest.h>

namespace {
const char* const kVersions[] = {"propacker1.0", "propacker2.1", "propacker3.0"};

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

// With the sample records behind the last used one all zero, the scan's skip over 64 zero bytes
// lands behind the last finetune byte for these sample counts.
TEST(ProPacker, ModulesEndingInZeroSampleRecordsAreFound) {
    for (const int usedSamples : {7, 15, 23}) {
        ProTrackerModule module = twoPatterns();
        for (int i = 2; i < usedSamples; ++i)
            module.setSample(i, 2, 0, 64, 0, 1);
        for (const char* name : kVersions) {
            SCOPED_TRACE(std::string(name) + " with samples " + std::to_string(usedSamples));
            const PackFormat& format = *findPackFormat(name);
            EXPECT_EQ(ripToModule(hideInside(format.pack(module), 5)), format.expected(module));
        }
    }
}

TEST(ProPacker, CutModulesAreRefusedAndRepeatedHeadersEndTheScan) {
    const ProTrackerModule module = twoPatterns();
    for (const char* name : kVersions) {
        SCOPED_TRACE(name);
        const Bytes packed = findPackFormat(name)->pack(module);
        // Cut in the sample data, in the cells and in the track table.
        expectCutsRefused(packed,
                          {packed.size() - 1, packed.size() - module.sampleData.size() - 3, 400});
        for (const std::size_t unit : {8u, 250u, 762u})
            ripToModule(repeated(packed, unit, 300000));
    }
}
} // namespace
