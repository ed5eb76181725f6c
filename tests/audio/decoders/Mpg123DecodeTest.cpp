// MPEG audio through libmpg123: the encoded test media against the WAV they were made from,
// seeking against reading on, and data that must be left to the other decoders.
#include "DecoderTestSupport.h"
#include "ModulePacker.h"
#include "mpg123/Mpg123Decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>
#include <zlib.h>

namespace audio::test {
namespace {

std::vector<uint8_t> gunzip(const std::string& path) {
    std::vector<uint8_t> bytes;
    gzFile file = gzopen(path.c_str(), "rb");
    uint8_t block[65536];
    for (int got = 0; file != nullptr && (got = gzread(file, block, sizeof block)) > 0;) {
        bytes.insert(bytes.end(), block, block + got);
    }
    gzclose(file);
    return bytes;
}

// The CBR file behind an ID3v2.4 tag of 3000 bytes (footer flag set, so 3020 in all).
std::vector<uint8_t> taggedMp3() {
    std::vector<uint8_t> bytes = {'I', 'D', '3', 4, 0, 0x10, 0, 0, 3000 >> 7, 3000 & 0x7F};
    bytes.resize(3020, 0);
    const auto audio = fileBytes(mediaPath("music.mp3"));
    bytes.insert(bytes.end(), audio.begin(), audio.end());
    return bytes;
}

struct MpegCase {
    const char* name;
    std::vector<uint8_t> (*memory)(); // null: open the file `name` from the media folder
    bool accurateTime;
    double minSnrDb; // against music.wav
};

class Mpg123Decode : public testing::TestWithParam<MpegCase> {
protected:
    std::unique_ptr<Decoder> open() const {
        DecoderSource source;
        source.path = mediaPath(GetParam().name);
        source.accurateTime = GetParam().accurateTime;
        if (GetParam().memory != nullptr) {
            source.memory = std::make_shared<std::vector<uint8_t>>(GetParam().memory());
        }
        std::unique_ptr<Decoder> decoder;
        EXPECT_EQ(openDecoder(source, nullptr, &decoder), Result::Ok);
        EXPECT_NE(dynamic_cast<mpg123_decoder::Mpg123Decoder*>(decoder.get()), nullptr);
        return decoder;
    }
};

TEST_P(Mpg123Decode, HasTheSourceLengthAndMatchesIt) {
    auto decoder = open();
    ASSERT_TRUE(decoder);
    EXPECT_EQ(decoder->type(), SoundType::MPEG);
    EXPECT_EQ(decoder->sampleRate(), 44100);
    const auto wav = readAll(*openOrFail(mediaPath("music.wav")));
    EXPECT_EQ(decoder->lengthFrames(), wav.size() / 2);
    const auto decoded = readAll(*decoder, 1001);
    ASSERT_EQ(decoded.size(), wav.size());
    EXPECT_EQ(decoder->lastError(), Result::Ok);
    double signal = 0;
    double noise = 0;
    for (size_t i = 0; i < wav.size(); ++i) {
        signal += double(wav[i]) * wav[i];
        noise += double(decoded[i] - wav[i]) * (decoded[i] - wav[i]);
    }
    EXPECT_GT(10 * std::log10(signal / noise), GetParam().minSnrDb);
}

TEST_P(Mpg123Decode, SeekGivesWhatReadingOnGives) {
    auto decoder = open();
    ASSERT_TRUE(decoder);
    const auto whole = readAll(*decoder);
    const uint64_t frames = whole.size() / 2;
    for (const uint64_t target :
         {frames / 2, uint64_t{12345}, uint64_t{1}, frames - 300, uint64_t{0}, frames / 3 + 7}) {
        ASSERT_EQ(decoder->seek(target), Result::Ok) << target;
        std::vector<float> block(2 * 2000);
        const size_t got = decoder->read(block.data(), 2000);
        ASSERT_EQ(got, std::min<uint64_t>(2000, frames - target)) << target;
        float largest = 0;
        for (size_t i = 0; i < 2 * got; ++i) {
            largest = std::max(largest, std::abs(block[i] - whole[2 * target + i]));
        }
        EXPECT_LT(largest, 1e-6f) << "at frame " << target;
    }
    EXPECT_EQ(decoder->seek(frames), Result::Ok);
    float tail[2];
    EXPECT_EQ(decoder->read(tail, 1), 0u);
    EXPECT_EQ(decoder->seek(frames + 1), Result::SeekFailed);
}

INSTANTIATE_TEST_SUITE_P(
    Media, Mpg123Decode,
    testing::Values(
        MpegCase{"music.mp3", nullptr, false, 22}, MpegCase{"music.mp3", nullptr, true, 22},
        MpegCase{"music-vbr.mp3", nullptr, false, 30}, MpegCase{"music-vbr.mp3", nullptr, true, 30},
        MpegCase{"music.mp3.gz", [] { return gunzip(mediaPath("music.mp3.gz")); }, false, 22},
        MpegCase{"tagged.mp3", taggedMp3, false, 22}),
    [](const auto& info) {
        return testName(info.param.name) + (info.param.accurateTime ? "_accurate" : "");
    });

// Random bytes, other formats and every packed module (the real ones given beside the checkout
// as well, when present) are left to the other decoders.
TEST(Mpg123Refusal, LeavesWhatIsNotSurelyMpegAudio) {
    std::vector<std::pair<std::string, std::vector<uint8_t>>> inputs;
    std::mt19937 random(7);
    std::vector<uint8_t> noise(200000);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<uint8_t>(random()); });
    inputs.emplace_back("random bytes", noise);
    inputs.emplace_back("wav", fileBytes(mediaPath("music.wav")));
    inputs.emplace_back("aac", fileBytes(mediaPath("music.aac")));
    const auto module = ProTrackerModule::parse(fileBytes(mediaPath("mod/area1-game.mod")));
    ASSERT_TRUE(module);
    inputs.emplace_back("packed module", packNoisePackerV2(*module));
    const std::filesystem::path packed = TAMBERLO_PACKED_MODULES_DIR;
    if (std::filesystem::is_directory(packed)) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(packed)) {
            if (entry.is_regular_file()) {
                inputs.emplace_back(entry.path().string(), fileBytes(entry.path()));
            }
        }
    }
    for (const auto& [name, bytes] : inputs) {
        DecoderSource source;
        source.path = name;
        source.memory = std::make_shared<std::vector<uint8_t>>(bytes);
        std::unique_ptr<Decoder> decoder;
        const SourceLocation where{SourceKind::Memory, name};
        EXPECT_EQ(mpg123_decoder::openMpg123Decoder(where, source, &decoder),
                  Result::FormatUnsupported)
            << name;
    }
}

} // namespace
} // namespace audio::test
