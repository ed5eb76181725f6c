// Real music: every ProTracker module of the test media is packed as NoisePacker v2 and as
// AC1D, hidden inside other bytes, and must come back from the ripper as the same music.
#include "RipTestSupport.h"
#include "RipperProcess.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {
struct Packer {
    const char* name;
    Bytes (*pack)(const ProTrackerModule&);
    Bytes (*expected)(const ProTrackerModule&);
};

const Packer kPackers[] = {{"NoisePacker v2", packNoisePackerV2, expectedFromNoisePackerV2},
                           {"AC1D", packAc1d, expectedFromAc1d}};

std::vector<std::filesystem::path> mediaModules() {
    const char* media = std::getenv("TAMBERLO_TEST_MEDIA");
    std::vector<std::filesystem::path> modules;
    if (!media)
        return modules;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(media) / "mod"))
        if (entry.path().extension() == ".mod")
            modules.push_back(entry.path());
    std::sort(modules.begin(), modules.end());
    return modules;
}

Bytes hideInside(const Bytes& packed, unsigned seed) {
    Bytes file = filler(4096 + seed * 17, seed);
    file.insert(file.end(), packed.begin(), packed.end());
    const Bytes tail = filler(3000, seed + 1);
    file.insert(file.end(), tail.begin(), tail.end());
    return file;
}

TEST(RipperRoundTrip, PackedRealModulesComeBackAsTheirMusic) {
    int converted = 0;
    unsigned seed = 1;
    for (const auto& path : mediaModules()) {
        const auto module = ProTrackerModule::parse(readFile(path));
        if (!module)
            continue; // not a 31-sample "M.K." module
        for (const Packer& packer : kPackers) {
            SCOPED_TRACE(path.filename().string() + " as " + packer.name);
            TempWorkDir dir;
            writeFile("input.bin", hideInside(packer.pack(*module), ++seed));
            const RipRun run = ripCaptured("input.bin");
            EXPECT_GE(run.result, 0);
            ASSERT_TRUE(std::filesystem::exists("-1.mod")) << run.console;
            const Bytes expected = packer.expected(*module);
            const Bytes actual = readFile("-1.mod");
            ASSERT_EQ(actual.size(), expected.size());
            EXPECT_TRUE(actual == expected);
            ++converted;
        }
    }
    EXPECT_GE(converted, 20) << "too few modules in TAMBERLO_TEST_MEDIA/mod";
}

TEST(RipperRoundTrip, AProTrackerModuleInsideOtherDataGivesNoOutput) {
    const auto modules = mediaModules();
    ASSERT_FALSE(modules.empty());
    TempWorkDir dir;
    writeFile("input.bin", hideInside(readFile(modules.front()), 3));
    EXPECT_GE(ripCaptured("input.bin").result, 0);
    EXPECT_FALSE(std::filesystem::exists("-1.mod"));
}

std::string ripperExecutable() {
    const char* appDir = std::getenv("TAMBERLO_APP_DIR");
    return std::string(appDir ? appDir : ".") + "/tamberlo-rip";
}

TEST(RipperProcess, RunsTheRipperAsAChildInTheCurrentDirectory) {
    const auto modules = mediaModules();
    ASSERT_FALSE(modules.empty());
    const auto module = ProTrackerModule::parse(readFile(modules.front()));
    ASSERT_TRUE(module);
    TempWorkDir dir;
    writeFile("input.bin", hideInside(packAc1d(*module), 4));
    const RipperRun run =
        runRipperProcess(ripperExecutable(), "input.bin", std::chrono::seconds(30));
    EXPECT_EQ(run.outcome, RipperRun::Outcome::Exited);
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(readFile("-1.mod"), expectedFromAc1d(*module));

    // The output cannot be created: the child exits with -1, the caller goes on.
    std::filesystem::remove("-1.mod");
    std::filesystem::create_directory("-1.mod");
    const RipperRun refused =
        runRipperProcess(ripperExecutable(), "input.bin", std::chrono::seconds(30));
    EXPECT_EQ(refused.outcome, RipperRun::Outcome::Exited);
    EXPECT_EQ(refused.exitStatus, 255);

    const RipperRun missing =
        runRipperProcess(ripperExecutable(), "no-such-file", std::chrono::seconds(30));
    EXPECT_EQ(missing.exitStatus, 255);
}

TEST(RipperProcess, EndsAChildThatOutlivesTheTimeoutAndReportsBadExecutables) {
    const RipperRun slow = runRipperProcess("/bin/sleep", "10", std::chrono::milliseconds(100));
    EXPECT_EQ(slow.outcome, RipperRun::Outcome::TimedOut);
    const RipperRun absent =
        runRipperProcess("/nonexistent/tamberlo-rip", "x", std::chrono::seconds(1));
    EXPECT_EQ(absent.outcome, RipperRun::Outcome::FailedToStart);
}
} // namespace
