// Every packed format the packers write: each 31-sample module of the test media, packed and
// hidden inside other bytes, comes back as exactly the module the format keeps of it; the
// module cut short at a few points inside it converts to nothing (but for the converters that
// read missing sample bytes as zeros, see NoisePackerTest); and everything before the sample data,
// repeated over half a megabyte, neither crashes nor hangs the scan (each copy's test walks into
// the next and the last one runs into the end of the input).
#include "PackFormats.h"
#include "RipTestSupport.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string_view>

// Test names and failures name the format.
void PrintTo(const PackFormat& format, std::ostream* out) {
    *out << format.name;
}

namespace {
class EveryFormat : public testing::TestWithParam<PackFormat> {};

TEST_P(EveryFormat, PackedRealModulesComeBackAsTheirMusic) {
    const PackFormat& format = GetParam();
    int converted = 0;
    unsigned seed = 1;
    for (const auto& path : mediaModules()) {
        const auto module = ProTrackerModule::parse(readFile(path));
        if (!module)
            continue; // not a 31-sample "M.K." module
        SCOPED_TRACE(path.filename().string());
        const Bytes actual = ripToModule(hideInside(format.pack(*module), ++seed));
        const Bytes expected = format.expected(*module);
        ASSERT_EQ(actual.size(), expected.size());
        EXPECT_TRUE(actual == expected);
        ++converted;
    }
    EXPECT_GE(converted, 7) << "too few modules in TAMBERLO_TEST_MEDIA/mod";
}

TEST_P(EveryFormat, CutModulesAreRefused) {
    for (const std::string_view zeroFilling :
         {"ac1d", "noisepacker1", "noisepacker2", "noisepacker3", "noiserunner", "trackerpacker3"})
        if (GetParam().name == zeroFilling)
            GTEST_SKIP() << "converts a module cut in its sample data";
    const ProTrackerModule module = firstMediaModule();
    const Bytes packed = GetParam().pack(module);
    const std::size_t withoutSamples =
        packed.size() - std::min(packed.size() / 2, module.sampleData.size());
    for (std::size_t cut :
         {packed.size() - 1, withoutSamples, withoutSamples / 2, std::size_t{290}}) {
        SCOPED_TRACE("cut to " + std::to_string(cut));
        Bytes file = filler(2000, 5);
        file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(cut));
        EXPECT_TRUE(ripToModule(file).empty());
    }
}

TEST_P(EveryFormat, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    const ProTrackerModule module = firstMediaModule();
    const Bytes packed = GetParam().pack(module);
    const std::size_t samples = std::min(packed.size() / 2, module.sampleData.size());
    const Bytes header(packed.begin(), packed.end() - std::ptrdiff_t(samples));
    Bytes file;
    while (file.size() < 512 * 1024)
        file.insert(file.end(), header.begin(), header.end());
    ripToModule(file);
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, testing::ValuesIn(packFormats()),
                         [](const auto& info) {
                             std::string name = info.param.name;
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return name;
                         });
} // namespace
