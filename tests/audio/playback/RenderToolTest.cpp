// tamberlo-render, run as a user would: the WAV it writes holds the files one after another.
#include "WavData.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace {

using audio::test::fileBytes;
using audio::test::wavData;

std::string media(const std::string& name) {
    return audio::test::mediaPath(name);
}

int run(const std::string& arguments) {
    return std::system((std::string(TAMBERLO_RENDER) + " " + arguments + " 2>/dev/null").c_str());
}

TEST(RenderTool, WritesTheFilesOneAfterAnother) {
    const std::string out = ::testing::TempDir() + "render-tool-test.wav";
    ASSERT_EQ(run("-o " + out + " " + media("music.wav") + " " + media("mono.wav")), 0);
    const std::vector<char> music = wavData(fileBytes(media("music.wav")));
    const std::vector<char> mono = wavData(fileBytes(media("mono.wav")));
    const std::vector<char> rendered = wavData(fileBytes(out));
    const size_t monoFrames = mono.size() / 2;
    ASSERT_EQ(rendered.size(), music.size() + monoFrames * 4);
    // 16-bit at 44.1 kHz passes through bit-exact; the mono file is on both sides.
    EXPECT_EQ(std::memcmp(rendered.data(), music.data(), music.size()), 0);
    for (size_t i = 0; i < monoFrames; i += 997) {
        const char* frame = rendered.data() + music.size() + i * 4;
        const char* sample = mono.data() + i * 2;
        ASSERT_EQ(std::memcmp(frame, sample, 2), 0) << i;
        ASSERT_EQ(std::memcmp(frame + 2, sample, 2), 0) << i;
    }
    std::remove(out.c_str());
}

TEST(RenderTool, ResamplesToTheAskedRate) {
    const std::string out = ::testing::TempDir() + "render-tool-rate.wav";
    ASSERT_EQ(run("--rate 22050 -o " + out + " " + media("tone-48k.wav")), 0);
    const std::vector<char> file = fileBytes(out);
    uint32_t rate = 0;
    std::memcpy(&rate, file.data() + 24, 4);
    EXPECT_EQ(rate, 22050u);
    EXPECT_NEAR(static_cast<double>(wavData(file).size()) / 4, 3 * 22050, 22050 * 0.01);
    std::remove(out.c_str());
}

TEST(RenderTool, ReportsBadArgumentsAndFiles) {
    const std::string out = ::testing::TempDir() + "render-tool-bad.wav";
    EXPECT_NE(run(""), 0);
    EXPECT_NE(run("-o " + out), 0);                        // no files
    EXPECT_NE(run("--rate 5 -o " + out + " x.wav"), 0);    // rate out of range
    EXPECT_NE(run("-o " + out + " /no/such/file.mp3"), 0); // opens nothing
    std::remove(out.c_str());
}

} // namespace
