// The formats the scan recognises but does not convert: each module is stepped over (a packed
// module hidden in its sample data is not converted), what follows it is still found, and a
// module cut short is not claimed (the hidden packed module then converts).
#include "RecognisedFormats.h"
#include "RipTestSupport.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace {
// Room behind the hidden packed module inside a module's sample data.
constexpr std::size_t kSpare = 16;

using Builder = std::function<Bytes(const Bytes& samples)>;
struct Format {
    std::string name;
    Builder build;
};

// A real SoundTracker module with `samples` written over the end of its sample data.
Builder realSoundTracker(const std::filesystem::path& path) {
    return [path](const Bytes& samples) {
        Bytes file = readFile(path);
        std::copy(samples.begin(), samples.end(), file.end() - std::ptrdiff_t(samples.size()));
        return file;
    };
}

// The written modules, and the real SoundTracker modules of the packed-modules folder.
std::vector<Format> formats() {
    std::vector<Format> all;
    for (const RecognisedFormat& format : recognisedFormats())
        all.push_back({format.name, format.write});
    const std::filesystem::path folder = TAMBERLO_PACKED_MODULES_DIR;
    if (std::filesystem::is_directory(folder))
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().filename().string().starts_with("ST15."))
                all.push_back({entry.path().filename().string(), realSoundTracker(entry.path())});
    return all;
}

ProTrackerModule smallModule(unsigned sampleWords, unsigned period) {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(0, sampleWords, 0, 64, 0, 1);
    module.sampleData.assign(sampleWords * 2, 0);
    writeCell(module.patterns[0], 0, 0, {1, period, 0, 0});
    return module;
}
const ProTrackerModule kHidden = smallModule(200, 428);
const ProTrackerModule kBehind = smallModule(300, 214);

// Sample data holding the packed kHidden module.
Bytes samplesWithHiddenModule() {
    Bytes samples = packNoisePackerV2(kHidden);
    samples.resize(samples.size() + kSpare + samples.size() % 2, 0);
    return samples;
}

Bytes between(const Bytes& middle, const Bytes& tail = {}) {
    Bytes file = filler(3001, 7);
    file.insert(file.end(), middle.begin(), middle.end());
    file.insert(file.end(), tail.begin(), tail.end());
    const Bytes end = filler(2000, 8);
    file.insert(file.end(), end.begin(), end.end());
    return file;
}

TEST(RecognisedOnly, ModulesAreSteppedOverAndWhatFollowsIsFound) {
    const Bytes behind = packNoisePackerV2(kBehind);
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const Bytes module = format.build(samplesWithHiddenModule());
        EXPECT_TRUE(ripToModule(between(module)).empty());
        EXPECT_EQ(ripToModule(between(module, behind)), expectedFromNoisePackerV2(kBehind));
        // Cut behind the hidden module at the end of the file: the module does not fit.
        const Bytes cut(module.begin(), module.end() - kSpare);
        Bytes file = filler(3001, 7);
        file.insert(file.end(), cut.begin(), cut.end());
        EXPECT_EQ(ripToModule(file), expectedFromNoisePackerV2(kHidden));
    }
}

TEST(RecognisedOnly, AFileOfOnlySuchModulesGivesNoOutput) {
    Bytes file;
    for (const Format& format : formats()) {
        const Bytes module = format.build(samplesWithHiddenModule());
        file.insert(file.end(), module.begin(), module.end());
    }
    EXPECT_TRUE(ripToModule(between(file)).empty());
}

// Each module's first kilobyte repeated: every copy's sizes run into the next copy or past the
// input's end.
TEST(RecognisedOnly, FilesFullOfHeadersNeitherCrashNorHang) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const Bytes module = format.build(samplesWithHiddenModule());
        const Bytes header(module.begin(), module.begin() + 1024);
        Bytes file;
        while (file.size() < 256 * 1024)
            file.insert(file.end(), header.begin(), header.end());
        ripToModule(file);
    }
}
} // namespace
