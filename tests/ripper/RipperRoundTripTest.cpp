// The ripper and the packer as the commands the player and developers use, and a plain module
// inside other data, which the ripper leaves alone.
#include "RipTestSupport.h"
#include "RipperProcess.h"
#include "packers/ChainAPacker.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {
TEST(RipperRoundTrip, AProTrackerModuleInsideOtherDataGivesNoOutput) {
    const auto modules = mediaModules();
    ASSERT_FALSE(modules.empty());
    TempWorkDir dir;
    writeFile("input.bin", hideInside(readFile(modules.front()), 3));
    EXPECT_GE(ripCaptured("input.bin").result, 0);
    EXPECT_FALSE(std::filesystem::exists("-1.mod"));
}

std::string appExecutable(const char* name) {
    const char* appDir = std::getenv("TAMBERLO_APP_DIR");
    return std::string(appDir ? appDir : ".") + "/" + name;
}
std::string ripperExecutable() {
    return appExecutable("tamberlo-rip");
}

// The command-line packer writes what the ripper converts back; it refuses files that are no
// module (1) and names it does not know (2).
TEST(TamberloPack, PacksAModuleTheRipperGivesBack) {
    const auto modules = mediaModules();
    ASSERT_FALSE(modules.empty());
    const auto module = ProTrackerModule::parse(readFile(modules.front()));
    ASSERT_TRUE(module);
    TempWorkDir dir;
    const std::string pack = appExecutable("tamberlo-pack");
    const auto run = [&](const std::string& arguments) {
        const int status = std::system((pack + " " + arguments + " 2>/dev/null").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    ASSERT_EQ(run("zen '" + modules.front().string() + "' packed.bin"), 0);
    EXPECT_EQ(ripToModule(readFile("packed.bin")), expectedFromZen(*module));
    writeFile("text.txt", Bytes(3000, 'x'));
    EXPECT_EQ(run("zen text.txt out.bin"), 1);
    EXPECT_EQ(run("no-such-format text.txt out.bin"), 2);
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
