// The driver's console contract, the "_types_" file, the sample record check and the output file.
#include "OutputModule.h"
#include "RipState.h"
#include "RipTestSupport.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {
constexpr const char* kBanner = "\n\n-<([ Flazefla v1.62 ])>-\n\n";
constexpr const char* kNoTypes = "!!! couldn't find \"_types_\" file !. Default extension used.\n";

struct ConsoleCase {
    const char* name;
    int fileBytes; // -1: no file
    int argumentCount;
    bool failed;
    const char* expected; // follows the banner line
};

class RipFileConsole : public testing::TestWithParam<ConsoleCase> {};

TEST_P(RipFileConsole, PrintsTheMessagesAndResult) {
    const ConsoleCase& c = GetParam();
    TempWorkDir dir;
    if (c.fileBytes >= 0)
        writeFile("input.bin", filler(std::size_t(c.fileBytes), 7));
    const RipRun run = ripCaptured("input.bin", c.argumentCount);
    EXPECT_EQ(run.result < 0, c.failed);
    if (c.failed) {
        EXPECT_EQ(run.result, -1);
    }
    EXPECT_EQ(run.console.rfind(std::string(kBanner) + c.expected, 0), 0u) << run.console;
    EXPECT_FALSE(std::filesystem::exists("-1.mod"));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RipFileConsole,
    testing::Values(
        ConsoleCase{"WrongArgumentCount", 100, 3, true,
                    "input.bin <data file>\nCheck for the documentation for more info !\n"},
        ConsoleCase{"MissingFile", -1, 2, true, "cant find \"input.bin\" !\n"},
        ConsoleCase{"TooSmall63", 63, 2, true,
                    "!!! couldn't find \"_types_\" file !. Default extension used.\n"
                    "input file size : 63\n! input file size is too small ...\n"},
        ConsoleCase{"Exactly64NoScan", 64, 2, false,
                    "!!! couldn't find \"_types_\" file !. Default extension used.\n"
                    "input file size : 64\n\n"},
        ConsoleCase{"RandomBytes", 5000, 2, false,
                    "!!! couldn't find \"_types_\" file !. Default extension used.\n"
                    "input file size : 5000\n\n"}),
    [](const auto& info) { return std::string(info.param.name); });

std::string typesFile(int definitions, bool withComments) {
    std::string text;
    for (int i = 0; i < definitions; ++i) {
        if (withComments)
            text += "# comment lines do not count\n";
        text += "ext" + std::to_string(i) + (i % 2 ? "\r\n" : "\n");
    }
    return text + "\n";
}

TEST(ExtensionTable, ReportsMissingAndDamagedFilesAndLoadsCompleteOnes) {
    struct Case {
        int definitions; // -1: no file
        std::string message;
        const char* slot0;
    } cases[] = {
        {-1, kNoTypes, "ac1d"},
        {100, "!!! Damaged \"_types_\" file. Missing up 34 extensions definitions\n", "ac1d"},
        {0, "!!! Damaged \"_types_\" file. Missing up 134 extensions definitions\n", "ac1d"},
        {135, "", "ext0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.definitions);
        TempWorkDir dir;
        if (c.definitions >= 0) {
            const std::string text = typesFile(c.definitions, true);
            writeFile("_types_", Bytes(text.begin(), text.end()));
        }
        writeFile("input.bin", filler(200, 1));
        const RipRun run = ripCaptured("input.bin");
        EXPECT_EQ(run.console, std::string(kBanner) + c.message + "input file size : 200\n\n" +
                                   "-<([ Tamberlo module ripper: scan complete ])>-\n");
        const ExtensionTable& table = ripState().extensions;
        EXPECT_STREQ(table.slot(0), c.slot0);
        if (c.definitions == 135) {
            EXPECT_STREQ(table.slot(1), "ext1"); // CR LF line ending cut
            EXPECT_STREQ(table.slot(134), "ext134");
        } else {
            EXPECT_STREQ(table.slot(46), "StoneCracker270 ");
            EXPECT_STREQ(table.slot(88), "");
            EXPECT_STREQ(table.slot(134), "StoneArtsPlayer");
            EXPECT_STREQ(table.slot(135), "---");
        }
    }
}

TEST(ExtensionTable, LongLinesRunIntoTheNextSlotsWithoutOverflow) {
    TempWorkDir dir;
    std::string text;
    for (int i = 0; i < 135; ++i)
        text += std::string(200, char('a' + i % 26)) + "\n";
    writeFile("_types_", Bytes(text.begin(), text.end()));
    writeFile("input.bin", filler(200, 1));
    ripCaptured("input.bin");
    const ExtensionTable& table = ripState().extensions;
    // Slot 0's line ran on through slot 5 and was then overwritten from slot 1 on.
    EXPECT_EQ(std::string(table.slot(0), 33), std::string(33, 'a'));
    EXPECT_EQ(std::string(table.slot(134)), std::string(200, char('a' + 134 % 26)));
}

TEST(CheckSampleDescriptor, AcceptsPlausibleAndRejectsImplausibleRecords) {
    struct Case {
        std::int64_t length, loopStart, loopLength;
        int volume, finetune, expected;
    } cases[] = {
        {1000, 0, 2, 64, 15, 0},    // plain, maximum volume and finetune
        {1000, 200, 802, 40, 0, 0}, // loop end exactly at length + 2
        {0, 0, 2, 0, 0, 0},         // empty sample with the usual loop length
        {1000, 1001, 3, 40, 0, 1},  // loop start past the end
        {1000, 0, 1003, 40, 0, 1},  // loop longer than length + 2
        {1000, 500, 503, 40, 0, 1}, // loop end past length + 2
        {1000, 10, 2, 40, 0, 1},    // loop start with a loop shorter than 3
        {1000, 0, 2, 65, 0, 1},     // volume
        {1000, 0, 2, 64, 16, 1},    // finetune
    };
    for (const Case& c : cases)
        EXPECT_EQ(checkSampleDescriptor(c.length, c.loopStart, c.loopLength, c.volume, c.finetune),
                  c.expected)
            << c.length << " " << c.loopStart << " " << c.loopLength;
}

TEST(CreateOutputFileDeathTest, EndsTheProcessWithStatusMinusOne) {
    TempWorkDir dir;
    std::filesystem::create_directory("-1.mod");
    EXPECT_EXIT(createOutputFile("-1.mod", "w+b"), testing::ExitedWithCode(255), "");
}
} // namespace
