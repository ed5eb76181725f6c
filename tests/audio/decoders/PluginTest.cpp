// Codec plug-ins: load failures, and decoding through the real tone plug-in.
#include "DecoderTestSupport.h"
#include "PluginRegistry.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace audio::test {
namespace {

TEST(PluginLoad, FailuresAreResultsNotCrashes) {
    const std::string notALibrary = writeTempFile("codec_text.so", {'h', 'e', 'l', 'l', 'o'});
    const struct {
        std::string path;
        Result expected;
    } cases[] = {
        {"plugin/codec_does_not_exist.so", Result::PluginMissing},
        {"", Result::PluginMissing},
        {std::filesystem::path(notALibrary).parent_path().string(), Result::PluginMissing},
        {notALibrary, Result::PluginMissing},
        {NO_ENTRY_PLUGIN, Result::PluginInvalid},
        {FUTURE_PLUGIN, Result::PluginInvalid},
    };
    PluginRegistry registry;
    for (const auto& c : cases) {
        EXPECT_EQ(registry.load(c.path), c.expected) << c.path;
    }
    EXPECT_TRUE(registry.plugins().empty());
}

std::string toneFile(const std::string& name, const std::string& body) {
    const std::string text = "TAMBERLO-TONE 1\n" + body;
    return writeTempFile(name, {text.begin(), text.end()});
}

// Zero crossings of the left channel: two per period of a pure tone.
int zeroCrossings(const std::vector<float>& stereo) {
    int count = 0;
    for (size_t i = 2; i < stereo.size(); i += 2) {
        if ((stereo[i - 2] < 0) != (stereo[i] < 0)) {
            ++count;
        }
    }
    return count;
}

class TonePlugin : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(registry->load(TONE_PLUGIN), Result::Ok); }

    std::unique_ptr<Decoder> open(const DecoderSource& source) {
        std::unique_ptr<Decoder> decoder;
        EXPECT_EQ(openDecoder(source, registry.get(), &decoder), Result::Ok);
        return decoder;
    }

    std::unique_ptr<PluginRegistry> registry = std::make_unique<PluginRegistry>();
};

TEST_F(TonePlugin, DecodesItsFilesWithSubsongsAndSeeking) {
    DecoderSource source;
    source.path = toneFile("a.tone", "rate 22050\nfrequency 441\nframes 44100\nsubsongs 3\n");
    auto decoder = open(source);
    ASSERT_TRUE(decoder);
    EXPECT_EQ(decoder->type(), SoundType::User);
    EXPECT_EQ(decoder->formatName(), "Tamberlo tone");
    EXPECT_EQ(decoder->sampleRate(), 22050);
    EXPECT_EQ(decoder->lengthFrames(), 44100u);
    EXPECT_EQ(decoder->subsongCount(), 3);

    const auto whole = readAll(*decoder, 1000);
    ASSERT_EQ(whole.size(), 2u * 44100);
    for (size_t i = 0; i < whole.size(); i += 2) {
        ASSERT_EQ(whole[i], whole[i + 1]) << "mono must reach both sides alike";
    }
    // 441 Hz for 2 s: 882 periods.
    EXPECT_NEAR(zeroCrossings(whole), 2 * 882, 2);

    ASSERT_EQ(decoder->seek(30000), Result::Ok);
    std::vector<float> block(2 * 500);
    ASSERT_EQ(decoder->read(block.data(), 500), 500u);
    EXPECT_TRUE(std::equal(block.begin(), block.end(), whole.begin() + 2 * 30000));
    EXPECT_EQ(decoder->seek(44101), Result::SeekFailed);

    ASSERT_EQ(decoder->selectSubsong(2), Result::Ok);
    EXPECT_NEAR(zeroCrossings(readAll(*decoder)), 3 * 2 * 882, 6);
    EXPECT_EQ(decoder->selectSubsong(3), Result::InvalidParameter);
}

TEST_F(TonePlugin, OpensMemoryBlocksAndOutlivesItsRegistry) {
    DecoderSource source;
    const std::string text = "TAMBERLO-TONE 1\nframes 1000\n";
    source.path = "block.tone";
    source.memory = std::make_shared<std::vector<uint8_t>>(text.begin(), text.end());
    auto decoder = open(source);
    ASSERT_TRUE(decoder);
    EXPECT_EQ(decoder->lengthRawBytes(), text.size());
    // The decoder keeps the plug-in's library loaded on its own.
    registry.reset();
    EXPECT_EQ(readAll(*decoder).size(), 2u * 1000);
}

TEST_F(TonePlugin, RefusesWhatItCannotDecodeAndOnlyDecodesWithTheRegistry) {
    DecoderSource broken;
    broken.path = toneFile("broken.tone", "rate 5\n");
    std::unique_ptr<Decoder> decoder;
    EXPECT_EQ(openDecoder(broken, registry.get(), &decoder), Result::FormatUnsupported);

    DecoderSource good;
    good.path = toneFile("good.tone", "frames 100\n");
    EXPECT_EQ(openDecoder(good, nullptr, &decoder), Result::FormatUnsupported);
    EXPECT_EQ(openDecoder(good, registry.get(), &decoder), Result::Ok);
}

} // namespace
} // namespace audio::test
