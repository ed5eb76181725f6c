// The SID plug-in through the player's decoder choice, on generated tunes whose pitch is set
// by the SID frequency register.
#include "PluginTestSupport.h"
#include "PsidWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {

using chipgen::PsidDescription;
using chipgen::psidFrequencyHz;
using chipgen::PsidLoop;
using chipgen::psidRegisterFor;

constexpr int Rate = 44100;

const audio::PluginRegistry& plugins() {
    static const auto registry = plugin_test::loadPlugin(CODEC_PLUGIN_PATH);
    return *registry;
}

plugin_test::Opened openTune(const PsidDescription& description, bool asMemory = false) {
    return plugin_test::openBytes(&plugins(), "tune.sid", chipgen::writePsid(description),
                                  asMemory);
}

// What the decoder sounds like from 0.25 s (past the attack and the start-up click) to 1.25 s.
plugin_test::Heard listenTo(audio::Decoder& decoder) {
    auto samples = plugin_test::readUpTo(decoder, Rate + Rate / 4);
    samples.erase(samples.begin(), samples.begin() + 2 * (Rate / 4));
    return plugin_test::listen(samples, Rate);
}

TEST(SidPlugin, PlaysThePitchOfTheSelectedSubsong) {
    const std::vector<uint16_t> three = {psidRegisterFor(220), psidRegisterFor(550),
                                         psidRegisterFor(880)};
    const struct {
        const char* name;
        PsidDescription tune;
        int subsong;
        bool asMemory;
        const char* format;
    } cases[] = {
        {"PSID v2", {.frequencies = {psidRegisterFor(440)}}, 0, false, "C64 PSID"},
        {"PSID v1", {.frequencies = {psidRegisterFor(330)}, .version = 1}, 0, true, "C64 PSID"},
        {"PSID v4", {.frequencies = {psidRegisterFor(1000)}, .version = 4}, 0, false, "C64 PSID"},
        {"first of three", {.frequencies = three}, 0, false, "C64 PSID"},
        {"second of three", {.frequencies = three, .startSong = 3}, 1, true, "C64 PSID"},
        {"third of three", {.frequencies = three}, 2, false, "C64 PSID"},
        {"RSID", {.frequencies = {psidRegisterFor(660)}, .rsid = true}, 0, false, "C64 RSID"},
        {"two SIDs in stereo",
         {.frequencies = {psidRegisterFor(770)}, .version = 3, .secondSidAddress = 0xD420},
         0,
         true,
         "C64 PSID"},
        {"init never returns", {.loop = PsidLoop::InitAfterSound}, 0, true, "C64 PSID"},
        {"play never returns", {.loop = PsidLoop::Play}, 0, false, "C64 PSID"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto opened = openTune(c.tune, c.asMemory);
        ASSERT_EQ(opened.result, audio::Result::Ok);
        audio::Decoder& decoder = *opened.decoder;
        EXPECT_EQ(decoder.formatName(), c.format);
        EXPECT_EQ(decoder.sampleRate(), Rate);
        EXPECT_EQ(decoder.lengthFrames(), audio::UnknownFrames);
        const int count = static_cast<int>(c.tune.frequencies.size());
        EXPECT_EQ(decoder.subsongCount(), count);
        EXPECT_NE(decoder.selectSubsong(count), audio::Result::Ok);
        ASSERT_EQ(decoder.selectSubsong(c.subsong), audio::Result::Ok);

        const auto heard = listenTo(decoder);
        const double expected = psidFrequencyHz(c.tune.frequencies[c.subsong]);
        EXPECT_GT(heard.rms, 0.05);
        EXPECT_NEAR(heard.frequencyHz, expected, 0.03 * expected);
    }
}

TEST(SidPlugin, CodeThatNeverReturnsStillLetsEveryReadReturn) {
    // Init that spins before touching the SID: the tune is silent, but reads keep coming back
    // with samples, and quickly (the emulation runs by cycles, not until a routine returns).
    const auto opened = openTune({.loop = PsidLoop::InitAtOnce});
    ASSERT_EQ(opened.result, audio::Result::Ok);
    const auto started = std::chrono::steady_clock::now();
    std::vector<float> block(2 * 4096);
    size_t total = 0;
    for (int i = 0; i < 25; ++i) {
        const size_t got = opened.decoder->read(block.data(), 4096);
        ASSERT_GT(got, 0u);
        total += got;
    }
    const auto elapsed = std::chrono::steady_clock::now() - started;
    EXPECT_LT(elapsed, std::chrono::seconds(20)) << total << " frames";
    EXPECT_LT(plugin_test::listen(block, Rate).peak, 0.01);
}

// Largest difference between `got` and the same number of samples of `reference` from `from`.
float maxDifference(const std::vector<float>& got, const std::vector<float>& reference,
                    size_t from) {
    float largest = 0;
    for (size_t i = 0; i < got.size(); ++i) {
        largest = std::max(largest, std::abs(got[i] - reference.at(from + i)));
    }
    return largest;
}

TEST(SidPlugin, SeekLandsWhereDecodingFromTheStartDoes) {
    // The library dithers its output with a random source, so two renders of the same frames
    // differ by up to one step of 16 bits; one frame off differs by thousands of steps.
    constexpr float Dither = 2.0f / 32768;
    // The second subsong, so that going back must restart that subsong and not the first.
    const PsidDescription tune = {.frequencies = {psidRegisterFor(300), psidRegisterFor(1234)}};
    const auto reference = openTune(tune);
    ASSERT_EQ(reference.result, audio::Result::Ok);
    ASSERT_EQ(reference.decoder->selectSubsong(1), audio::Result::Ok);
    const auto fresh = plugin_test::readUpTo(*reference.decoder, 2 * Rate);

    const auto opened = openTune(tune, true);
    ASSERT_EQ(opened.result, audio::Result::Ok);
    ASSERT_EQ(opened.decoder->selectSubsong(1), audio::Result::Ok);
    constexpr size_t Span = 2048;
    for (const uint64_t frame :
         {uint64_t{Rate + 17}, uint64_t{4095}, uint64_t{0}, uint64_t{Rate}}) {
        SCOPED_TRACE(frame);
        ASSERT_EQ(opened.decoder->seek(frame), audio::Result::Ok);
        const auto got = plugin_test::readUpTo(*opened.decoder, Span);
        ASSERT_EQ(got.size(), 2 * Span);
        EXPECT_LE(maxDifference(got, fresh, 2 * frame), Dither);
    }
}

TEST(SidPlugin, RefusesBrokenAndForeignFiles) {
    const std::vector<uint8_t> good = chipgen::writePsid({});
    const auto withByte = [&](size_t offset, uint8_t value) {
        auto bytes = good;
        bytes[offset] = value;
        return bytes;
    };
    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
    } cases[] = {
        {"header cut short", {good.begin(), good.begin() + 0x50}},
        {"header without data", {good.begin(), good.begin() + 0x7C}},
        {"version 0", withByte(0x05, 0)},
        {"version 5", withByte(0x05, 5)},
        {"data offset of another version", withByte(0x07, 0x76)},
        {"RSID version 1",
         [&] {
             auto bytes = withByte(0, 'R');
             bytes[0x05] = 1;
             return bytes;
         }()},
        {"data past 64 KiB", withByte(0x08, 0xFF)},
        {"RSID that needs the BASIC ROM (not installed)",
         [] {
             auto bytes = chipgen::writePsid({.rsid = true});
             bytes[0x77] |= 0x02;
             return bytes;
         }()},
    };
    plugin_test::NamedFiles files;
    for (const auto& c : cases) {
        files.emplace_back(std::string(c.name) + ".sid", c.bytes);
    }
    plugin_test::expectRefused(plugins(), files);
}

} // namespace
