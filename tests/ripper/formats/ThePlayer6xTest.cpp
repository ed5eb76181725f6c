// The Player 5.0A, 6.0A and 6.1A (round trips: EveryFormatTest) on a small song: it comes back,
// modules with packed samples are reported and left alone, damaged modules are refused.
#include "RipTestSupport.h"
#include "packers/ThePlayer6xPacker.h"

#include <gtest/gtest.h>

namespace {
using V = ThePlayer6xVersion;

constexpr ThePlayer6xStyle kStyles[] = {{V::V50A}, {V::V60A}, {V::V61A}, {V::V61A, true, true}};

// Two patterns: a run of notes through channel 1, sample 1 at rows 0 and 32 of channel 4,
// sample 2 (the same sound with its own loop) once, a break at row 40 of the second pattern.
ProTrackerModule smallSong() {
    ProTrackerModule module = ProTrackerModule::blank(2);
    module.header[950] = 2;
    module.header[953] = 1;
    module.setSample(0, 32, 0, 64, 0, 1);
    module.setSample(1, 32, 3, 40, 8, 24);
    module.sampleData.assign(128, 0x11);
    for (unsigned row = 0; row < 64; ++row)
        writeCell(module.patterns[0], int(row), 0, {1 + row % 2, periodOfNote(1 + row % 36), 0, 0});
    writeCell(module.patterns[0], 0, 3, {1, 428, 0, 0});
    writeCell(module.patterns[0], 32, 3, {1, 428, 0xA, 0x04});
    writeCell(module.patterns[1], 0, 0, {2, 214, 0xC, 0x20});
    writeCell(module.patterns[1], 40, 2, {0, 0, 0xD, 0x12});
    return module;
}

TEST(ThePlayer6x, SmallSongWithRepeatedSampleAndBreakComesBack) {
    for (const ThePlayer6xStyle& style : kStyles) {
        SCOPED_TRACE(int(style.version));
        EXPECT_EQ(ripToModule(hideInside(packThePlayer6x(smallSong(), style), 3)),
                  expectedFromThePlayer6x(smallSong(), style));
    }
}

TEST(ThePlayer6x, PackedSamplesAreReportedAndNotConverted) {
    const struct {
        ThePlayer6xStyle style;
        const char* message;
    } cases[] = {{{V::V60A, false, false, true}, "The Player 6.0A with PACKED samples found at "},
                 {{V::V61A, false, true, true}, "The Player 6.1A with PACKED samples found at "}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const unsigned seed = 5; // hideInside puts 4096 + 17 × seed bytes in front
        const std::size_t start = 4096 + 17 * seed + (c.style.tagged ? 4 : 0);
        std::string console;
        EXPECT_TRUE(
            ripToModule(hideInside(packThePlayer6x(smallSong(), c.style), seed), &console).empty());
        EXPECT_NE(console.find(c.message + std::to_string(start) + " ... cant rip it!"),
                  std::string::npos)
            << console;
    }
}

TEST(ThePlayer6x, CutModulesAndRepeatedHeadersAreNoModule) {
    for (const ThePlayer6xStyle& style : kStyles) {
        SCOPED_TRACE(int(style.version));
        const Bytes packed = packThePlayer6x(smallSong(), style);
        const std::size_t header = style.tagged ? 4 : 0;
        const std::size_t sampleData = header + get16(&packed[header]);
        expectCutsRefused(packed, {packed.size() - 1, sampleData - 3, sampleData - 60}, 4096);
        for (const std::size_t unit : {8u, 20u, 40u})
            EXPECT_TRUE(ripToModule(repeated(packed, unit, 200000)).empty()) << unit;
    }
}
} // namespace
