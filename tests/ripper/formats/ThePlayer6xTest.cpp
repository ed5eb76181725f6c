// The Player 5.0A, 6.0A and 6.1A: real music packed by the test packer comes back as its
// version, modules with packed samples are reported and left alone, damaged modules are refused.
#include "RipTestSupport.h"
#include "packers/ThePlayer6xPacker.h"

#include <gtest/gtest.h>

namespace {
using V = ThePlayer6xVersion;

constexpr ThePlayer6xStyle k50A{V::V50A};
constexpr ThePlayer6xStyle k60A{V::V60A};
constexpr ThePlayer6xStyle k61A{V::V61A};
constexpr ThePlayer6xStyle k61ADeltaTagged{V::V61A, true, true};

const Packer kPackers[] = {
    {"The Player 5.0A", packThePlayer6xAs<k50A>, expectedFromThePlayer6xAs<k50A>},
    {"The Player 6.0A", packThePlayer6xAs<k60A>, expectedFromThePlayer6xAs<k60A>},
    {"The Player 6.1A", packThePlayer6xAs<k61A>, expectedFromThePlayer6xAs<k61A>},
    {"The Player 6.1A, delta, tagged", packThePlayer6xAs<k61ADeltaTagged>,
     expectedFromThePlayer6xAs<k61ADeltaTagged>},
};
constexpr ThePlayer6xStyle kStyles[] = {k50A, k60A, k61A, k61ADeltaTagged};

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

struct Ripped {
    Bytes module; // "-1.mod", empty when none was written
    std::string console;
};

Ripped rip(const Bytes& file) {
    TempWorkDir dir;
    writeFile("input.bin", file);
    const RipRun run = ripCaptured("input.bin");
    EXPECT_GE(run.result, 0);
    return {std::filesystem::exists("-1.mod") ? readFile("-1.mod") : Bytes{}, run.console};
}

TEST(ThePlayer6x, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(ThePlayer6x, SmallSongWithRepeatedSampleAndBreakComesBack) {
    for (const Packer& packer : kPackers) {
        SCOPED_TRACE(packer.name);
        EXPECT_EQ(rip(hideInside(packer.pack(smallSong()), 3)).module,
                  packer.expected(smallSong()));
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
        const Ripped ripped = rip(hideInside(packThePlayer6x(smallSong(), c.style), seed));
        EXPECT_NE(ripped.console.find(c.message + std::to_string(start) + " ... cant rip it!"),
                  std::string::npos)
            << ripped.console;
        EXPECT_TRUE(ripped.module.empty());
    }
}

TEST(ThePlayer6x, TruncatedModuleIsRefused) {
    for (const ThePlayer6xStyle& style : kStyles) {
        const Bytes packed = packThePlayer6x(smallSong(), style);
        const std::size_t header = style.tagged ? 4 : 0;
        const std::size_t sampleData = header + get16(&packed[header]);
        for (const std::size_t size : {packed.size() - 1, sampleData - 3, sampleData - 60}) {
            SCOPED_TRACE("version " + std::to_string(int(style.version)) + " cut to " +
                         std::to_string(size) + " bytes");
            Bytes file = filler(4096, 9);
            file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(size));
            EXPECT_TRUE(rip(file).module.empty());
        }
    }
}

TEST(ThePlayer6x, HeaderRepeatedAtEveryOffsetIsNoModule) {
    for (const Packer& packer : kPackers) {
        SCOPED_TRACE(packer.name);
        const Bytes packed = packer.pack(smallSong());
        for (const std::size_t unit : {std::size_t{8}, std::size_t{20}, std::size_t{40}}) {
            Bytes file;
            while (file.size() < 200000)
                file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(unit));
            EXPECT_TRUE(rip(file).module.empty());
        }
    }
}
} // namespace
