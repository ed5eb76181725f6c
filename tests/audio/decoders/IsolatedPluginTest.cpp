// Plug-in formats decoded in tamberlo-codec-host: the test plug-in (RiskyPlugin.cpp) plays its
// tone exactly through the host, and its crashes and hangs end the data or refuse the file in
// time while this process lives on and no child stays behind.
#include "DecoderTestSupport.h"
#include "IsolatedPluginDecoder.h"
#include "PluginRegistry.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <sys/wait.h>

namespace audio::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr int Rate = 8000;
constexpr double Hz = 250;
constexpr uint64_t Frames = 16000;

// No child of this process runs or waits to be reaped.
bool noChildLeft() {
    int status = 0;
    return waitpid(-1, &status, WNOHANG) == -1 && errno == ECHILD;
}

std::string riskyFile(const std::string& name, const std::string& line) {
    return writeTempFile(name, {line.begin(), line.end()});
}

// The sample the test plug-in plays at `frame` of `subsong` (computed as the plug-in does).
float toneAt(int subsong, uint64_t frame) {
    const double step = 2 * std::numbers::pi * Hz * (subsong + 1) / Rate;
    return static_cast<float>(0.5 * std::sin(step * static_cast<double>(frame)));
}

// An application folder of its own: plugin/codec_risky.so, and the host beside plugin/ (or not).
class IsolatedPlugin : public testing::Test {
protected:
    void SetUp() override {
        static int folders = 0;
        appFolder =
            fs::temp_directory_path() / ("tamberlo-isolated-test-" + std::to_string(getpid()) +
                                         "-" + std::to_string(++folders));
        fs::create_directories(appFolder / "plugin");
        fs::create_symlink(RISKY_PLUGIN, appFolder / "plugin/codec_risky.so");
        fs::create_symlink(CODEC_HOST, appFolder / "tamberlo-codec-host");
        ASSERT_EQ(registry.load((appFolder / "plugin/codec_risky.so").string()), Result::Ok);
    }
    void TearDown() override { fs::remove_all(appFolder); }

    const LoadedPlugin& plugin() const { return *registry.plugins().front(); }

    fs::path appFolder;
    PluginRegistry registry;
};

TEST_F(IsolatedPlugin, PlaysTheToneWithExactSeeksAndSubsongs) {
    DecoderSource source;
    source.path = riskyFile("tone.risky", "RISKY tone 8000 250 16000 3 0\n");
    std::unique_ptr<Decoder> decoder;
    ASSERT_EQ(openDecoder(source, &registry, &decoder), Result::Ok);
    EXPECT_EQ(decoder->formatName(), "Risky tone");
    EXPECT_EQ(decoder->sampleRate(), Rate);
    EXPECT_EQ(decoder->subsongCount(), 3);

    const struct {
        int subsong;
        uint64_t seekTo;
        uint64_t length;
    } steps[] = {
        {0, 0, Frames},     {0, 12345, Frames},    {0, 1, Frames},
        {2, 0, Frames / 3}, {2, 5000, Frames / 3}, {1, Frames / 2, Frames / 2},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE("subsong " + std::to_string(step.subsong) + " from " +
                     std::to_string(step.seekTo));
        ASSERT_EQ(decoder->selectSubsong(step.subsong), Result::Ok);
        ASSERT_EQ(decoder->seek(step.seekTo), Result::Ok);
        EXPECT_EQ(decoder->lengthFrames(), step.length);
        const auto heard = readAll(*decoder, 1000);
        ASSERT_EQ(heard.size(), 2 * (step.length - step.seekTo));
        for (size_t i = 0; i < heard.size(); i += 2) {
            const float expected = toneAt(step.subsong, step.seekTo + i / 2);
            ASSERT_NEAR(heard[i], expected, 1e-6) << "frame " << step.seekTo + i / 2;
            ASSERT_EQ(heard[i + 1], heard[i]) << "mono reaches both sides";
        }
        EXPECT_EQ(decoder->lastError(), Result::Ok);
        EXPECT_TRUE(noChildLeft()) << "a host that finished is reaped";
    }
    EXPECT_EQ(decoder->seek(Frames / 2 + 1), Result::SeekFailed);
    EXPECT_EQ(decoder->selectSubsong(3), Result::InvalidParameter);
}

TEST_F(IsolatedPlugin, MemoryBlocksPlayFromAPrivateCopyThatIsRemovedAfterwards) {
    const fs::path tmp = appFolder / "tmp";
    fs::create_directories(tmp);
    const char* oldTmp = std::getenv("TMPDIR");
    const std::string savedTmp = oldTmp != nullptr ? oldTmp : "";
    setenv("TMPDIR", tmp.c_str(), 1);

    const std::string text = "RISKY tone 8000 250 3000 1 0\n";
    DecoderSource source;
    source.path = "block.risky";
    source.memory = std::make_shared<std::vector<uint8_t>>(text.begin(), text.end());
    std::unique_ptr<Decoder> decoder;
    EXPECT_EQ(openDecoder(source, &registry, &decoder), Result::Ok);
    if (decoder) {
        EXPECT_EQ(decoder->lengthRawBytes(), text.size());
        EXPECT_EQ(readAll(*decoder).size(), 2u * 3000);
        decoder.reset();
    }
    EXPECT_TRUE(fs::is_empty(tmp));
    if (oldTmp != nullptr) {
        setenv("TMPDIR", savedTmp.c_str(), 1);
    } else {
        unsetenv("TMPDIR");
    }
}

TEST_F(IsolatedPlugin, CrashesAndHangsEndTheDataInTimeAndLeaveNoChild) {
    IsolationLimits limits;
    limits.startTimeout = milliseconds(2000);
    limits.stallTimeout = milliseconds(500);
    const struct {
        std::string line;
        Result opened;
        uint64_t frames; // delivered before the data ends
        Result lastError;
    } cases[] = {
        {"RISKY crash 8000 250 16000 1 5000", Result::Ok, 5000, Result::FormatCorrupt},
        {"RISKY abort 8000 250 16000 1 12288", Result::Ok, 12288, Result::FormatCorrupt},
        {"RISKY hang 8000 250 16000 1 4000", Result::Ok, 4000, Result::FormatCorrupt},
        {"RISKY crash 8000 250 16000 1 0", Result::FormatCorrupt, 0, Result::Ok},
        {"RISKY hangopen 8000 250 16000 1 0", Result::FormatCorrupt, 0, Result::Ok},
        {"RISKY tone 0 250 16000 1 0", Result::FormatCorrupt, 0, Result::Ok}, // rate 0
        {"RISKY tone", Result::FormatUnsupported, 0, Result::Ok},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const std::string path = riskyFile("case.risky", c.line);
        const auto started = std::chrono::steady_clock::now();
        std::unique_ptr<Decoder> decoder;
        ASSERT_EQ(openIsolatedPluginDecoder(plugin(), path, nullptr, 0, limits, &decoder),
                  c.opened);
        if (decoder) {
            EXPECT_EQ(readAll(*decoder).size(), 2 * c.frames);
            EXPECT_EQ(decoder->lastError(), c.lastError);
            float after[2 * 16];
            EXPECT_EQ(decoder->read(after, 16), 0u) << "the data stays ended";
        }
        // Within the start and stall times, with room for a slow machine.
        EXPECT_LT(std::chrono::steady_clock::now() - started, milliseconds(4000));
        EXPECT_TRUE(noChildLeft()) << "a host that ended is reaped while its decoder lives";
    }
}

TEST_F(IsolatedPlugin, DestroyingTheDecoderKillsAHostThatStillPlaysOrHangs) {
    for (const std::string line :
         {"RISKY tone 8000 250 1000000 1 0", "RISKY hang 8000 250 1000000 1 4096"}) {
        std::unique_ptr<Decoder> decoder;
        ASSERT_EQ(openIsolatedPluginDecoder(plugin(), riskyFile("long.risky", line), nullptr, 0,
                                            IsolationLimits{}, &decoder),
                  Result::Ok);
        std::vector<float> block(2 * 4096);
        EXPECT_EQ(decoder->read(block.data(), 4096), 4096u) << line;
        EXPECT_FALSE(noChildLeft());
        decoder.reset();
        EXPECT_TRUE(noChildLeft()) << line;
    }
}

TEST_F(IsolatedPlugin, WithoutTheHostProgramTheFileIsNotClaimed) {
    fs::remove(appFolder / "tamberlo-codec-host");
    DecoderSource source;
    source.path = riskyFile("tone.risky", "RISKY tone 8000 250 16000 1 0\n");
    std::unique_ptr<Decoder> decoder;
    EXPECT_EQ(openDecoder(source, &registry, &decoder), Result::FormatUnsupported);
}

} // namespace
} // namespace audio::test
