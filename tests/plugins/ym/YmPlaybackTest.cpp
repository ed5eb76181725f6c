// The ym plug-in through the player's decoder choice: YM3, YM3b, YM5 and YM6 dumps, plain and
// LHA-packed, play the pitch their registers ask for, last frames / rate, seek exactly, and
// broken or foreign files are refused.
#include "PluginTestSupport.h"
#include "YmLh5Packer.h"
#include "YmWriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace {

using Bytes = std::vector<uint8_t>;
using chipgen::YmFormat;
using chipgen::YmFrame;

constexpr int Rate = 44100;

double toneHz(uint32_t clockHz, uint16_t period) {
    return clockHz / (16.0 * period);
}

// Best normalised autocorrelation over lags of 1..10 ms: near 1 for a steady tone or
// buzz, low for noise.
double periodicity(const std::vector<float>& stereo) {
    const size_t start = stereo.size() / 4, window = 8192;
    double best = 0, energy = 0;
    for (size_t i = 0; i < window; ++i) {
        energy += stereo[2 * (start + i)] * stereo[2 * (start + i)];
    }
    for (size_t lag = 44; lag < 441; ++lag) {
        double c = 0;
        for (size_t i = 0; i < window; ++i) {
            c += stereo[2 * (start + i)] * stereo[2 * (start + i + lag)];
        }
        best = std::max(best, c / energy);
    }
    return best;
}

class YmPlayback : public ::testing::Test {
protected:
    void SetUp() override { plugins_ = plugin_test::loadPlugin(CODEC_PLUGIN_PATH); }

    plugin_test::Opened open(const Bytes& bytes, const std::string& name = "song.ym") {
        return plugin_test::openBytes(plugins_.get(), name, bytes);
    }

    std::unique_ptr<audio::PluginRegistry> plugins_;
};

TEST_F(YmPlayback, EveryFormatPlaysItsToneForFramesOverRate) {
    enum class Packing { Plain, Lh5, Lh5Level1, Stored };
    struct Case {
        const char* label;
        YmFormat format;
        Packing packing;
        uint16_t period;
        uint16_t frameRate;
        uint32_t clockHz;
        bool interleaved;
        const char* formatName;
    };
    const Case cases[] = {
        {"YM5 plain", YmFormat::Ym5, Packing::Plain, 284, 50, 2000000, true,
         "YM5 (Atari ST YM2149)"},
        {"YM5 lh5", YmFormat::Ym5, Packing::Lh5, 142, 50, 2000000, true, "YM5 (Atari ST YM2149)"},
        {"YM5 lh5 level 1, 60 Hz, 1 MHz", YmFormat::Ym5, Packing::Lh5Level1, 100, 60, 1000000,
         false, "YM5 (Atari ST YM2149)"},
        {"YM6 stored", YmFormat::Ym6, Packing::Stored, 500, 50, 2000000, false,
         "YM6 (Atari ST YM2149)"},
        {"YM3 plain", YmFormat::Ym3, Packing::Plain, 400, 50, 2000000, true,
         "YM3 (Atari ST YM2149)"},
        {"YM3b lh5", YmFormat::Ym3b, Packing::Lh5, 200, 50, 2000000, true,
         "YM3b (Atari ST YM2149)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        chipgen::YmDescription song;
        song.frames = chipgen::ymToneFrames(c.period, 15, 75);
        song.frameRate = c.frameRate;
        song.clockHz = c.clockHz;
        song.interleaved = c.interleaved;
        song.loopFrame = 10;
        Bytes bytes = chipgen::writeYm(song, c.format);
        if (c.packing != Packing::Plain) {
            bytes = chipgen::lhaArchive(bytes, {"tune.ym", c.packing == Packing::Lh5Level1 ? 1 : 0,
                                                c.packing == Packing::Stored});
        }
        auto opened = open(bytes, c.packing == Packing::Plain ? "tune.ym" : "tune.lha");
        ASSERT_EQ(opened.result, audio::Result::Ok);
        EXPECT_EQ(opened.decoder->formatName(), c.formatName);
        EXPECT_EQ(opened.decoder->sampleRate(), Rate);
        const uint64_t length = (75ull * Rate + c.frameRate - 1) / c.frameRate;
        EXPECT_EQ(opened.decoder->lengthFrames(), length);
        const auto audio = plugin_test::readUpTo(*opened.decoder, 2 * length);
        EXPECT_EQ(audio.size() / 2, length);
        const auto heard = plugin_test::listen(audio, Rate);
        EXPECT_GT(heard.rms, 0.1);
        EXPECT_NEAR(heard.frequencyHz, toneHz(c.clockHz, c.period),
                    0.03 * toneHz(c.clockHz, c.period));
    }
}

TEST_F(YmPlayback, NoiseAndEnvelopesSoundAsSet) {
    // Every frame is the same; shape 0xFF after the first frame lets the envelope run on.
    struct Case {
        const char* label;
        uint8_t mixer;
        uint8_t volume;
        uint8_t shape;
        uint16_t envelopePeriod;
        double expectedHz; // 0: no pitch expected
        bool noisy;        // low periodicity
        bool fadesOut;     // one-shot envelope: loud start, silent end
    };
    const Case cases[] = {
        {"noise", 0x37, 15, 0xFF, 0, 0, true, false},
        {"saw down", 0x3F, 16, 8, 20, 2000000.0 / (256 * 20), false, false},
        {"saw up", 0x3F, 16, 12, 30, 2000000.0 / (256 * 30), false, false},
        {"triangle", 0x3F, 16, 10, 15, 2000000.0 / (512 * 15), false, false},
        {"triangle up first", 0x3F, 16, 14, 15, 2000000.0 / (512 * 15), false, false},
        {"decay then silence", 0x3E, 16, 0, 3000, 0, false, true},
        {"attack then silence", 0x3E, 16, 4, 3000, 0, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        YmFrame frame;
        frame.mixer = c.mixer;
        frame.noisePeriod = 1;
        frame.tonePeriods[0] = 100; // heard only where the mixer lets it through
        frame.volumes[0] = c.volume;
        frame.envelopePeriod = c.envelopePeriod;
        chipgen::YmDescription song;
        song.frames.assign(50, frame);
        song.frames[0].envelopeShape = c.shape;
        auto opened = open(chipgen::writeYm(song, YmFormat::Ym5));
        ASSERT_EQ(opened.result, audio::Result::Ok);
        const auto audio = plugin_test::readUpTo(*opened.decoder, Rate);
        const auto heard = plugin_test::listen(audio, Rate);
        if (c.fadesOut) {
            // A tone under 3000 * 256 / 2 MHz = 384 ms of ramp, then a held 0.
            const std::vector<float> start(audio.begin(), audio.begin() + 2 * Rate * 2 / 5);
            const std::vector<float> end(audio.end() - 2 * Rate / 4, audio.end());
            EXPECT_GT(plugin_test::listen(start, Rate).peak, 0.2);
            EXPECT_LT(plugin_test::listen(end, Rate).rms, 0.01);
            continue;
        }
        EXPECT_GT(heard.rms, 0.05);
        if (c.noisy) {
            EXPECT_LT(periodicity(audio), 0.5);
        } else {
            EXPECT_NEAR(heard.frequencyHz, c.expectedHz, 0.03 * c.expectedHz);
        }
    }
}

TEST_F(YmPlayback, TimerEffectsPlayTheirRate) {
    // Effect timers count 2.4576 MHz / predivisor (50 for index 4) / register 14 or 15.
    const double timerHz = 2457600.0 / (50 * 56);
    auto sid = [](YmFrame& frame, uint8_t typeBits) {
        frame.mixer = 0x3F; // the SID voice switches the volume of a silent channel
        frame.extraBits[1] = static_cast<uint8_t>(0x10 | typeBits); // voice A
        frame.extraBits[6] = 4 << 5;
        frame.register14 = 56;
    };
    struct Case {
        const char* label;
        YmFormat format;
        std::function<void(YmFrame&)> setUp;
        bool everyFrame; // else only in the first frame
        double expectedHz;
    };
    const Case cases[] = {
        {"YM5 SID voice", YmFormat::Ym5, [&](YmFrame& f) { sid(f, 0); }, true, timerHz / 2},
        {"YM6 SID voice", YmFormat::Ym6, [&](YmFrame& f) { sid(f, 0); }, true, timerHz / 2},
        // Drum 0 (in voice A's volume register) on voice A: a square of 20 samples played at
        // the timer rate, started once and playing on over the following frames.
        {"YM5 digidrum", YmFormat::Ym5,
         [](YmFrame& f) {
             f.volumes[0] = 0;
             f.extraBits[3] = 0x10;
             f.extraBits[8] = 4 << 5;
             f.register15 = 56;
         },
         false, timerHz / 20},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        chipgen::YmDescription song;
        song.frames.assign(50, YmFrame{});
        for (size_t i = 0; i < song.frames.size(); ++i) {
            song.frames[i].volumes[0] = 15;
            if (i == 0 || c.everyFrame) {
                c.setUp(song.frames[i]);
            }
        }
        song.drums.emplace_back(8000);
        for (size_t i = 0; i < 8000; ++i) {
            song.drums[0][i] = (i / 10) % 2 == 0 ? 0xF0 : 0x00;
        }
        auto opened = open(chipgen::writeYm(song, c.format));
        ASSERT_EQ(opened.result, audio::Result::Ok);
        const auto heard =
            plugin_test::listen(plugin_test::readUpTo(*opened.decoder, Rate / 2), Rate);
        EXPECT_GT(heard.rms, 0.05);
        EXPECT_NEAR(heard.frequencyHz, c.expectedHz, 0.03 * c.expectedHz);
    }
}

TEST_F(YmPlayback, SeekLandsOnTheFrame) {
    // Frames 0..99 play period 400, frames 100..199 period 100.
    chipgen::YmDescription song;
    song.frames = chipgen::ymToneFrames(400, 15, 100);
    const auto high = chipgen::ymToneFrames(100, 15, 100);
    song.frames.insert(song.frames.end(), high.begin(), high.end());
    auto opened = open(chipgen::lhaArchive(chipgen::writeYm(song, YmFormat::Ym5), {}), "s.lzh");
    ASSERT_EQ(opened.result, audio::Result::Ok);
    auto& decoder = *opened.decoder;
    const uint64_t length = 4 * Rate;
    for (uint64_t target : {uint64_t{3 * Rate + 123}, uint64_t{Rate / 2}, length - 100, length}) {
        SCOPED_TRACE(target);
        ASSERT_EQ(decoder.seek(target), audio::Result::Ok);
        const auto rest = plugin_test::readUpTo(decoder, length);
        EXPECT_EQ(rest.size() / 2, length - target);
        if (rest.size() / 2 > Rate / 4) {
            const std::vector<float> first(rest.begin(), rest.begin() + Rate / 2);
            const double expected = toneHz(2000000, target < 2 * Rate ? 400 : 100);
            EXPECT_NEAR(plugin_test::listen(first, Rate).frequencyHz, expected, 0.03 * expected);
        }
    }
    EXPECT_NE(decoder.seek(length + 1), audio::Result::Ok);
}

TEST_F(YmPlayback, BrokenAndForeignFilesAreRefused) {
    chipgen::YmDescription song;
    song.frames = chipgen::ymToneFrames(284, 15, 20);
    const Bytes good = chipgen::writeYm(song, YmFormat::Ym5);
    struct Case {
        const char* label;
        std::function<void(Bytes&)> damage;
    };
    const Case cases[] = {
        {"cut in the frames", [](Bytes& b) { b.resize(b.size() - 100); }},
        {"cut in the header", [](Bytes& b) { b.resize(20); }},
        {"frame count past the end", [](Bytes& b) { b[12] = 0x10; }},
        {"zero frame rate", [](Bytes& b) { b[26] = b[27] = 0; }},
        {"zero clock", [](Bytes& b) { b[22] = b[23] = b[24] = b[25] = 0; }},
        {"digidrum past the end", [](Bytes& b) { b[21] = 1; }},
        {"YM3 without a frame", [](Bytes& b) { b = {'Y', 'M', '3', '!', 1, 2, 3}; }},
    };
    for (const auto& c : cases) {
        Bytes damaged = good;
        c.damage(damaged);
        EXPECT_NE(open(damaged).result, audio::Result::Ok) << c.label;
    }
    plugin_test::expectLeavesForeignDataAlone(*plugins_);
}

} // namespace
