// Files decoded by FFmpeg, checked against an independent decode by the ffmpeg command.
#include "DecoderTestSupport.h"

#include <gtest/gtest.h>

namespace audio::test {
namespace {

struct LosslessCase {
    const char* file;
    int rate;
    SoundType type;
};

class LosslessDecode : public testing::TestWithParam<LosslessCase> {};

TEST_P(LosslessDecode, EqualsReferenceExactlyWithExactLength) {
    const std::string path = mediaPath(GetParam().file);
    auto decoder = openOrFail(path);
    ASSERT_TRUE(decoder);
    EXPECT_EQ(decoder->sampleRate(), GetParam().rate);
    EXPECT_EQ(decoder->type(), GetParam().type);
    EXPECT_EQ(decoder->subsongCount(), 1);
    EXPECT_EQ(decoder->lengthRawBytes(), fileBytes(path).size());

    const auto reference = ffmpegReference(path);
    ASSERT_FALSE(reference.empty());
    EXPECT_EQ(decoder->lengthFrames(), reference.size() / 2);
    // Odd block sizes cross the codec's frame boundaries at every possible place.
    const auto decoded = readAll(*decoder, 1001);
    ASSERT_EQ(decoded.size(), reference.size());
    EXPECT_TRUE(decoded == reference);
    EXPECT_EQ(decoder->lastError(), Result::Ok);
}

TEST_P(LosslessDecode, SeekLandsOnTheExactFrame) {
    const std::string path = mediaPath(GetParam().file);
    auto decoder = openOrFail(path);
    ASSERT_TRUE(decoder);
    const auto reference = ffmpegReference(path);
    const uint64_t frames = reference.size() / 2;
    // Backwards and forwards, near the start, in the middle and just before the end.
    for (const uint64_t target :
         {frames / 2, uint64_t{12345}, uint64_t{1}, frames - 300, uint64_t{0}, frames / 3 + 7}) {
        ASSERT_EQ(decoder->seek(target), Result::Ok) << target;
        std::vector<float> block(2 * 2000);
        const size_t got = decoder->read(block.data(), 2000);
        const size_t expected = std::min<uint64_t>(2000, frames - target);
        ASSERT_EQ(got, expected) << target;
        const auto from = reference.begin() + static_cast<long>(2 * target);
        EXPECT_TRUE(std::equal(block.begin(), block.begin() + static_cast<long>(2 * got), from))
            << "at frame " << target;
    }
    EXPECT_EQ(decoder->seek(frames), Result::Ok);
    float tail[2];
    EXPECT_EQ(decoder->read(tail, 1), 0u);
    EXPECT_EQ(decoder->seek(frames + 1), Result::SeekFailed);
}

INSTANTIATE_TEST_SUITE_P(Files, LosslessDecode,
                         testing::Values(LosslessCase{"music.wav", 44100, SoundType::WAV},
                                         LosslessCase{"music.flac", 44100, SoundType::FLAC},
                                         LosslessCase{"music.aiff", 44100, SoundType::AIFF},
                                         LosslessCase{"mono.wav", 44100, SoundType::WAV},
                                         LosslessCase{"tone-48k.wav", 48000, SoundType::WAV}),
                         [](const auto& info) { return testName(info.param.file); });

struct LossyCase {
    const char* file;
    SoundType type;
    bool exactLength; // the same count as the ffmpeg command (which keeps the MP4 end padding)
    bool knownAtOpen; // the container states the duration (ADTS AAC only has an estimate)
};

class LossyDecode : public testing::TestWithParam<LossyCase> {};

TEST_P(LossyDecode, CorrelatesWithReference) {
    const std::string path = mediaPath(GetParam().file);
    auto decoder = openOrFail(path);
    ASSERT_TRUE(decoder);
    EXPECT_EQ(decoder->type(), GetParam().type);
    const auto reference = ffmpegReference(path);
    const auto decoded = readAll(*decoder);
    ASSERT_FALSE(decoded.empty());
    EXPECT_GE(bestCorrelation(decoded, reference, 10 * 44100, 2048), 0.999);
    if (GetParam().exactLength) {
        EXPECT_EQ(decoded.size(), reference.size());
    } else {
        EXPECT_NEAR(double(decoded.size()), double(reference.size()), 0.01 * reference.size());
    }
    // The length known at open (container duration) is close to what decodes.
    if (GetParam().knownAtOpen) {
        EXPECT_NEAR(double(decoder->lengthFrames()), double(decoded.size() / 2),
                    0.01 * decoded.size() / 2);
    }
}

TEST_P(LossyDecode, AccurateTimeGivesTheDecodedLength) {
    const std::string path = mediaPath(GetParam().file);
    auto decoder = openOrFail(path, true);
    ASSERT_TRUE(decoder);
    const uint64_t announced = decoder->lengthFrames();
    const auto decoded = readAll(*decoder);
    EXPECT_EQ(announced, decoded.size() / 2);
}

TEST_P(LossyDecode, SeekIsWithinOneCodecFrame) {
    const std::string path = mediaPath(GetParam().file);
    auto decoder = openOrFail(path, true);
    ASSERT_TRUE(decoder);
    const auto reference = ffmpegReference(path);
    for (const uint64_t target : {uint64_t{300000}, uint64_t{44100}, uint64_t{500000}}) {
        ASSERT_EQ(decoder->seek(target), Result::Ok);
        std::vector<float> block(2 * 8192);
        ASSERT_EQ(decoder->read(block.data(), 8192), 8192u);
        const std::vector<float> expected(reference.begin() + static_cast<long>(2 * target),
                                          reference.begin() + static_cast<long>(2 * target) +
                                              2 * 8192);
        EXPECT_GE(bestCorrelation(block, expected, 8192, 1152), 0.99) << "at " << target;
    }
}

INSTANTIATE_TEST_SUITE_P(Files, LossyDecode,
                         testing::Values(LossyCase{"music.mp3", SoundType::MPEG, true, true},
                                         LossyCase{"music-vbr.mp3", SoundType::MPEG, true, true},
                                         LossyCase{"music.ogg", SoundType::OggVorbis, true, true},
                                         LossyCase{"music.wma", SoundType::ASF, false, true},
                                         LossyCase{"music.aac", SoundType::AAC, false, false},
                                         LossyCase{"music.m4a", SoundType::AAC, false, true},
                                         LossyCase{"music.opus", SoundType::Opus, true, true}),
                         [](const auto& info) { return testName(info.param.file); });

TEST(MemoryDecode, MemoryBlockDecodesLikeTheFile) {
    for (const char* name : {"music.flac", "music.mp3", "music.ogg"}) {
        const std::string path = mediaPath(name);
        auto fromFile = openOrFail(path);
        ASSERT_TRUE(fromFile);
        DecoderSource source;
        source.path = name;
        auto block = std::make_shared<std::vector<uint8_t>>(fileBytes(path));
        source.memory = block;
        std::unique_ptr<Decoder> fromMemory;
        ASSERT_EQ(openDecoder(source, nullptr, &fromMemory), Result::Ok) << name;
        // The caller may drop its block at once; the decoder keeps its own reference.
        block.reset();
        source.memory.reset();
        EXPECT_EQ(fromMemory->lengthRawBytes(), fromFile->lengthRawBytes());
        EXPECT_EQ(fromMemory->lengthFrames(), fromFile->lengthFrames());
        EXPECT_TRUE(readAll(*fromMemory) == readAll(*fromFile)) << name;
    }
}

TEST(FileNames, FilePrefixAndRelativePathsOpen) {
    const std::string path = mediaPath("mono.wav");
    for (const std::string& name : {"file:" + path, "file://" + path}) {
        DecoderSource source;
        source.path = name;
        std::unique_ptr<Decoder> decoder;
        EXPECT_EQ(openDecoder(source, nullptr, &decoder), Result::Ok) << name;
    }
}

} // namespace
} // namespace audio::test
