// Tracker Packer v1, v2 and v3: real music packed by the test packers comes back as its music,
// real v3 modules come back with their originals' patterns, and cut or repeated packed data
// ends the scan without output or reads outside the input.
#include "RipTestSupport.h"
#include "packers/TrackerPackerPacker.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {
    {"Tracker Packer v1", packTrackerPacker1, expectedFromTrackerPacker1},
    {"Tracker Packer v2", packTrackerPacker2, expectedFromTrackerPacker2},
    {"Tracker Packer v3", packTrackerPacker3, expectedFromTrackerPacker3},
};

const std::filesystem::path kRealModules = TAMBERLO_PACKED_MODULES_DIR;

TEST(TrackerPacker, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

// The packer renumbers samples and drops empty ones, so a cell may name another empty slot.
bool sameSample(const ProTrackerModule& a, unsigned sampleA, const ProTrackerModule& b,
                unsigned sampleB) {
    const auto empty = [](const ProTrackerModule& m, unsigned s) {
        return s == 0 || m.sampleWords(int(s) - 1) == 0;
    };
    return sampleA == sampleB || (empty(a, sampleA) && empty(b, sampleB));
}

TEST(TrackerPacker, RealV3ModulesGiveBackTheirOriginalsPatterns) {
    for (const char* name : {"chiptune3", "crystal", "unita"}) {
        SCOPED_TRACE(name);
        const auto packed = kRealModules / (std::string("TP3.") + name);
        if (!std::filesystem::exists(packed))
            GTEST_SKIP() << "no packed modules at " << kRealModules;
        const auto original = ProTrackerModule::parse(
            readFile(kRealModules / "originals" / ("MOD." + std::string(name))));
        const auto converted = ProTrackerModule::parse(ripToModule(readFile(packed)));
        ASSERT_TRUE(original && converted);
        ASSERT_EQ(converted->songLength(), original->songLength());
        int differences = 0;
        for (unsigned i = 0; i < original->songLength(); ++i) {
            ASSERT_EQ(converted->order(int(i)), original->order(int(i)));
            const Pattern& ours = converted->patterns[converted->order(int(i))];
            const Pattern& theirs = original->patterns[original->order(int(i))];
            for (int row = 0; row < 64; ++row)
                for (int channel = 0; channel < 4; ++channel) {
                    const Cell a = readCell(ours, row, channel);
                    const Cell b = readCell(theirs, row, channel);
                    differences += a.period != b.period || a.effect != b.effect ||
                                   a.parameter != b.parameter ||
                                   !sameSample(*converted, a.sample, *original, b.sample);
                }
        }
        EXPECT_EQ(differences, 0);
    }
}

// The module ends the file, so a test that trusts its sizes reads past the input.
TEST(TrackerPacker, ATruncatedModuleIsRejected) {
    const ProTrackerModule module = firstMediaModule();
    for (const Packer& packer : kPackers) {
        const Bytes packed = packer.pack(module);
        const std::size_t cuts[] = {packed.size() - 3, packed.size() - module.sampleData.size(),
                                    900};
        for (std::size_t cut : cuts) {
            SCOPED_TRACE(std::string(packer.name) + " cut to " + std::to_string(cut));
            Bytes file = filler(2000, 5);
            file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(cut));
            EXPECT_TRUE(ripToModule(file).empty());
        }
    }
}

// Tags at every offset of their period, and everything before the sample data repeated over a
// file: each copy's test walks its tracks into the next copy, the last one into the end.
TEST(TrackerPacker, FilesFullOfTagsAndHeadersNeitherCrashNorHang) {
    const ProTrackerModule module = firstMediaModule();
    std::vector<Bytes> units = {{'M', 'E', 'X', 'X'},
                                {'M', 'E', 'X', 'X', '_', 'T', 'P', '2'},
                                {'C', 'P', 'L', 'X', '_', 'T', 'P', '3'}};
    for (const Packer& packer : kPackers) {
        const Bytes packed = packer.pack(module);
        units.emplace_back(packed.begin(), packed.end() - std::ptrdiff_t(module.sampleData.size()));
    }
    for (const Bytes& unit : units) {
        SCOPED_TRACE(std::string(unit.begin(),
                                 unit.begin() + std::min<std::ptrdiff_t>(8, std::ssize(unit))));
        Bytes file;
        while (file.size() < 512 * 1024)
            file.insert(file.end(), unit.begin(), unit.end());
        ripToModule(file);
    }
}
} // namespace
