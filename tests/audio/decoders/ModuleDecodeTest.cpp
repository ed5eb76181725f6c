// Tracker modules, checked against libopenmpt's own rendering of the same file.
#include "DecoderTestSupport.h"
#include "openmpt/OpenMptDecoder.h"

#include <gtest/gtest.h>
#include <libopenmpt/libopenmpt.hpp>

#include <cmath>
#include <sstream>

namespace audio::test {
namespace {

constexpr int Rate = openmpt_decoder::ModuleSampleRate;

// True when `a` and `b` have the same length and differ only by float rounding (libopenmpt's
// output depends on the block sizes it is asked for in the last bits).
bool sameSignal(const std::vector<float>& a, const std::vector<float>& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::fabs(a[i] - b[i]) > 1e-5f) {
            return false;
        }
    }
    return true;
}

// Renders subsong `subsong` of `path` directly with libopenmpt, up to `maxFrames` frames.
std::vector<float> openmptReference(const std::string& path, int subsong, size_t maxFrames) {
    const auto bytes = fileBytes(path);
    std::ostringstream log;
    openmpt::module module(bytes, log);
    module.select_subsong(subsong);
    std::vector<float> all;
    std::vector<float> block(2 * 4096);
    while (all.size() / 2 < maxFrames) {
        const size_t want = std::min<size_t>(4096, maxFrames - all.size() / 2);
        const size_t got = module.read_interleaved_stereo(Rate, want, block.data());
        if (got == 0) {
            break;
        }
        all.insert(all.end(), block.begin(), block.begin() + static_cast<long>(2 * got));
    }
    return all;
}

struct ModuleCase {
    const char* file;
    SoundType type;
    int subsongs;
};

class ModuleDecode : public testing::TestWithParam<ModuleCase> {};

TEST_P(ModuleDecode, EqualsLibopenmptRenderingToTheEnd) {
    const std::string path = mediaPath(GetParam().file);
    auto decoder = openOrFail(path);
    ASSERT_TRUE(decoder);
    EXPECT_EQ(decoder->type(), GetParam().type);
    EXPECT_EQ(decoder->sampleRate(), Rate);
    EXPECT_EQ(decoder->subsongCount(), GetParam().subsongs);
    EXPECT_EQ(decoder->lengthRawBytes(), fileBytes(path).size());

    const auto reference = openmptReference(path, 0, SIZE_MAX);
    const auto decoded = readAll(*decoder, 777);
    ASSERT_EQ(decoded.size(), reference.size());
    EXPECT_TRUE(sameSignal(decoded, reference));
    // Rendering runs a little past the reported duration (the last row's fade-out).
    EXPECT_GE(decoded.size() / 2, decoder->lengthFrames());
    EXPECT_LE(decoded.size() / 2, decoder->lengthFrames() + Rate);
}

INSTANTIATE_TEST_SUITE_P(Files, ModuleDecode,
                         testing::Values(ModuleCase{"mod/area1-game.mod", SoundType::MOD, 4},
                                         // An XM despite its name: found by content.
                                         ModuleCase{"mod/area1-game2.mod", SoundType::XM, 4},
                                         ModuleCase{"tracker/gd-giirm.s3m", SoundType::S3M, 1},
                                         ModuleCase{"tracker/success_1.it", SoundType::IT, 1}),
                         [](const auto& info) { return testName(info.param.file); });

TEST(ModuleSubsongs, EachSubsongPlaysFromItsStart) {
    const std::string path = mediaPath("mod/area1-game.mod");
    auto decoder = openOrFail(path);
    ASSERT_TRUE(decoder);
    for (const int subsong : {2, 1, 3}) {
        ASSERT_EQ(decoder->selectSubsong(subsong), Result::Ok);
        const auto reference = openmptReference(path, subsong, 3 * Rate);
        std::vector<float> block(2 * 3 * Rate);
        ASSERT_EQ(decoder->read(block.data(), 3 * Rate), reference.size() / 2);
        EXPECT_TRUE(sameSignal(block, reference)) << "subsong " << subsong;
    }
    EXPECT_EQ(decoder->selectSubsong(4), Result::InvalidParameter);
    EXPECT_EQ(decoder->selectSubsong(-1), Result::InvalidParameter);
}

TEST(ModuleSeek, LandsAtTheRequestedTimeAndRestartsExactly) {
    const std::string path = mediaPath("tracker/gd-giirm.s3m");
    auto decoder = openOrFail(path);
    ASSERT_TRUE(decoder);
    const auto reference = openmptReference(path, 0, SIZE_MAX);
    const uint64_t total = reference.size() / 2;
    // What is left after a seek tells where it landed; a row seek that landed late would leave
    // less. Tolerance: the reported duration's rounding.
    for (const uint64_t target : {uint64_t{20 * Rate + 123}, uint64_t{5 * Rate}}) {
        ASSERT_EQ(decoder->seek(target), Result::Ok);
        const auto rest = readAll(*decoder);
        EXPECT_NEAR(double(rest.size() / 2), double(total - target), 0.01 * Rate) << target;
    }
    ASSERT_EQ(decoder->seek(0), Result::Ok);
    EXPECT_TRUE(sameSignal(readAll(*decoder), reference));
    EXPECT_EQ(decoder->seek(decoder->lengthFrames() + 1), Result::SeekFailed);
}

TEST(ModuleMemory, MemoryBlockRendersLikeTheFile) {
    const std::string path = mediaPath("mod/area1-game2.mod");
    DecoderSource source;
    source.path = "area1-game2.mod";
    source.memory = std::make_shared<std::vector<uint8_t>>(fileBytes(path));
    std::unique_ptr<Decoder> fromMemory;
    ASSERT_EQ(openDecoder(source, nullptr, &fromMemory), Result::Ok);
    auto fromFile = openOrFail(path);
    ASSERT_TRUE(fromFile);
    EXPECT_EQ(fromMemory->type(), SoundType::XM);
    EXPECT_EQ(fromMemory->lengthFrames(), fromFile->lengthFrames());
    std::vector<float> a(2 * Rate);
    std::vector<float> b(2 * Rate);
    ASSERT_EQ(fromMemory->read(a.data(), Rate), size_t{Rate});
    ASSERT_EQ(fromFile->read(b.data(), Rate), size_t{Rate});
    EXPECT_TRUE(sameSignal(a, b));
}

} // namespace
} // namespace audio::test
