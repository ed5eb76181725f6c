// Hostile input for the ripper itself (the player runs it on files nothing else opens): a named
// pipe, and files far larger than any packed module, of which only the start is scanned.
#include "PipeWithRescue.h"
#include "RipFile.h"
#include "RipTestSupport.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {

ProTrackerModule littleModule() {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(0, 64, 0, 64, 0, 1);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0, 0});
    return module;
}

TEST(RipperHostileInput, APipeIsRefusedWithoutWaitingForAWriter) {
    TempWorkDir dir;
    tamberlo::test::PipeWithRescue pipe((dir.path() / "pipe.mod").string());
    ASSERT_TRUE(pipe.made());
    const RipRun run = ripCaptured(pipe.path());
    EXPECT_EQ(run.result, -1);
    EXPECT_NE(run.console.find("is not a regular file"), std::string::npos) << run.console;
}

TEST(RipperHostileInput, OnlyTheFirst64MiBOfAHugeFileAreScanned) {
    const ProTrackerModule module = littleModule();
    const Bytes packed = packNoisePackerV2(module);
    const struct {
        const char* name;
        std::streamoff moduleAt;
        bool found;
    } cases[] = {
        {"module within the limit", 10 << 20, true},
        {"module beyond the limit", 70 << 20, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempWorkDir dir;
        {
            // 100 MiB, nearly all of it a hole on disk.
            std::ofstream file("huge.bin", std::ios::binary);
            file.seekp(c.moduleAt);
            file.write(reinterpret_cast<const char*>(packed.data()),
                       static_cast<std::streamsize>(packed.size()));
        }
        std::filesystem::resize_file("huge.bin", 100 << 20);
        const RipRun run = ripCaptured("huge.bin");
        EXPECT_GE(run.result, 0);
        EXPECT_NE(run.console.find("only the first 67108864 bytes are scanned"), std::string::npos);
        EXPECT_EQ(std::filesystem::exists("-1.mod"), c.found);
        if (c.found) {
            EXPECT_EQ(readFile("-1.mod"), expectedFromNoisePackerV2(module));
        }
    }
}

} // namespace
