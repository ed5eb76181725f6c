// Real music: every ProTracker module of the test media is packed as NoisePacker v2 and as
// AC1D, hidden inside other bytes, and must come back from the ripper as the same music.
#include "RipTestSupport.h"
#include "RipperProcess.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"NoisePacker v2", packNoisePackerV2, expectedFromNoisePackerV2},
                           {"AC1D", packAc1d, expectedFromAc1d}};

TEST(RipperRoundTrip, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
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
