// GnuPlayer's own commands (round trips and damage of Noise From Heaven, Stone Arts Player,
// GnuPlayer and GPMO: EveryFormatTest), and the AMOS music bank, which converts only its title
// and sample records.
#include "RipTestSupport.h"
#include "packers/AmosBankPacker.h"
#include "packers/TaggedEPacker.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {
// A command of the player's own is reported and left out; the rest of the song converts.
TEST(TaggedE, GnuPlayerCommandWithoutProTrackerCounterpartIsReportedAndDropped) {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(0, 64, 0, 64, 0, 1);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0xC, 0x20});
    writeCell(module.patterns[0], 1, 1, {1, 214, 0xF, 0x06});
    std::string console;
    const Bytes actual =
        ripToModule(hideInside(packGnuPlayerWithOwnCommand(module, 0x25), 3), &console);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0, 0});
    EXPECT_TRUE(actual == expectedFromGnuPlayer(module));
    EXPECT_NE(console.find("\nunsupported case in Depack_GnuPlayer(). Please send this file to"),
              std::string::npos);
}

TEST(TaggedE, AmosMusicBankGivesOnlyItsTitleAndSampleRecords) {
    EXPECT_TRUE(ripToModule(hideInside(packAmosMusicBank(1), 4)) == expectedFromAmosMusicBank());
}

TEST(TaggedE, AmosBankOfTwoSongsLeavesAnEmptyFileAndAsksForTheFile) {
    TempWorkDir dir;
    writeFile("input.bin", hideInside(packAmosMusicBank(2), 5));
    const RipRun run = ripCaptured("input.bin");
    ASSERT_TRUE(std::filesystem::exists("-1.mod"));
    EXPECT_EQ(std::filesystem::file_size("-1.mod"), 0u);
    EXPECT_NE(run.console.find("\n!!! unsupported feature in depack_AmBk() - send this file to"),
              std::string::npos);
}
} // namespace
