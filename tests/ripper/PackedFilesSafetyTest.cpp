// Every real packed module and every damaged one (the folder TAMBERLO_PACKED_MODULES, with
// truncated and corrupted files under malformed/) goes through the whole scan: whatever the
// converters make of them, the rip ends normally. The sanitizer build runs this too, so a read
// outside the input or an overflow in any converter fails here.
#include "RipTestSupport.h"

#include <gtest/gtest.h>

namespace {
const std::filesystem::path kFolder = TAMBERLO_PACKED_MODULES_DIR;

TEST(PackedFilesSafety, RealAndDamagedModulesRipWithoutFault) {
    if (!std::filesystem::exists(kFolder / "malformed"))
        GTEST_SKIP() << "no packed modules at " << kFolder;
    int ripped = 0;
    for (const auto& folder : {kFolder, kFolder / "malformed", kFolder / "xpk"})
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (!entry.is_regular_file() || entry.path().extension() == ".tsv" ||
                entry.path().extension() == ".md")
                continue;
            SCOPED_TRACE(entry.path().string());
            TempWorkDir dir;
            // Files under 64 bytes are refused with -1; every other one is scanned to its end.
            const std::int64_t size = std::int64_t(entry.file_size());
            EXPECT_EQ(ripCaptured(entry.path().string()).result < 0, size < 64);
            ++ripped;
        }
    EXPECT_GT(ripped, 100);
}
} // namespace
