// Tracker Packer v1, v2 and v3 (round trips: EveryFormatTest): real v3 modules come back with
// their originals' patterns, and cut or repeated packed data ends the scan without output or
// reads outside the input.
#include "PackFormats.h"
#include "RipTestSupport.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {
const char* const kVersions[] = {"trackerpacker1", "trackerpacker2", "trackerpacker3"};

const std::filesystem::path kRealModules = TAMBERLO_PACKED_MODULES_DIR;

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
    for (const char* name : kVersions) {
        SCOPED_TRACE(name);
        const Bytes packed = findPackFormat(name)->pack(module);
        expectCutsRefused(packed,
                          {packed.size() - 3, packed.size() - module.sampleData.size(), 900}, 2000);
    }
}

// Tags at every offset of their period: each test walks its tracks into the next copy
// (headers repeated: EveryFormatTest).
TEST(TrackerPacker, FilesFullOfTagsNeitherCrashNorHang) {
    for (const char* tag : {"MEXX", "MEXX_TP2", "CPLX_TP3"}) {
        SCOPED_TRACE(tag);
        const Bytes unit(tag, tag + std::strlen(tag));
        ripToModule(repeated(unit, unit.size(), 512 * 1024));
    }
}
} // namespace
