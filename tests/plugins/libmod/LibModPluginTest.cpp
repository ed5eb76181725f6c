// The libmod plug-in through the player's decoder choice: it takes ABC tunes, which nothing
// else in the player plays, and nothing libopenmpt or FFmpeg plays; the tunes keep time and
// intervals, every tune of a file is a subsong, and seeking is exact.
#include "DecoderTestSupport.h"
#include "PluginTestSupport.h"

#include <libopenmpt/libopenmpt.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace {

using audio::SoundType;
using plugin_test::openBytes;

constexpr int Rate = 44100;

std::vector<uint8_t> bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

// A tune in quarter notes at `beatsPerMinute`.
std::string abcTune(const std::string& notes, int beatsPerMinute = 120, int number = 1) {
    return "X:" + std::to_string(number) +
           "\nT:Test tune\nM:4/4\nL:1/4\nQ:1/4=" + std::to_string(beatsPerMinute) + "\nK:C\n" +
           notes + "\n";
}

// A type 0 MIDI file: one piano note, A4, for two beats.
std::vector<uint8_t> midiFile() {
    return {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 0x01, 0xE0, // 480 ticks
                                                                    // a beat
            'M', 'T', 'r', 'k', 0, 0, 0, 16,                        // 16 bytes of events
            0x00, 0xC0, 0x00, 0x00, 0x90, 69, 100, 0x87, 0x40, 0x80, 69, 0x00, 0x00, 0xFF, 0x2F,
            0x00};
}

bool libopenmptRefuses(const std::vector<uint8_t>& bytes) {
    const int probed = openmpt_probe_file_header(OPENMPT_PROBE_FILE_HEADER_FLAGS_DEFAULT,
                                                 bytes.data(), bytes.size(), bytes.size(), nullptr,
                                                 nullptr, nullptr, nullptr, nullptr, nullptr);
    openmpt_module* module = openmpt_module_create_from_memory2(
        bytes.data(), bytes.size(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (module != nullptr) {
        openmpt_module_destroy(module);
    }
    return probed != OPENMPT_PROBE_FILE_HEADER_RESULT_SUCCESS && module == nullptr;
}

class LibModPlugin : public testing::Test {
protected:
    // The plug-in stays loaded until the process ends, so that leak reports at exit can still
    // name libmodplug (see LibModPlugLeaks.cpp).
    static void SetUpTestSuite() {
        if (plugins == nullptr) {
            plugins = plugin_test::loadPlugin(CODEC_PLUGIN_PATH).release();
        }
    }

    static std::unique_ptr<audio::Decoder> openTune(const std::string& text) {
        auto opened = openBytes(plugins, "tune.abc", bytesOf(text), true);
        EXPECT_TRUE(opened.decoder && opened.decoder->type() == SoundType::User) << text;
        return std::move(opened.decoder);
    }

    static audio::PluginRegistry* plugins;
};
audio::PluginRegistry* LibModPlugin::plugins = nullptr;

TEST_F(LibModPlugin, TakesAbcTunesAndNothingElse) {
    const struct {
        std::string what;
        std::vector<uint8_t> bytes;
        bool claimed;
    } files[] = {
        {"tune", bytesOf(abcTune("C D E F|G4|")), true},
        {"version line first", bytesOf("%abc-2.1\n" + abcTune("C D E F|")), true},
        {"byte order mark", bytesOf("\xEF\xBB\xBF" + abcTune("C D E F|")), true},
        {"title before number", bytesOf("T:Title\nX:1\nL:1/4\nK:G\nG A B c|\n"), true},
        {"CR LF lines", bytesOf("X:1\r\nT:t\r\nL:1/4\r\nK:C\r\nC D E F|\r\n"), true},
        {"MIDI", midiFile(), false},
        {"no key field", bytesOf("X:1\nT:Test\nC D E F|\n"), false},
        {"comments and blank lines first", bytesOf("% my tunes\n\n" + abcTune("C D E F|")), true},
        {"too long to load in time", bytesOf(abcTune(std::string(40000, 'C'))), false},
        {"no notes", bytesOf("X:1\nT:Test\nK:C\n"), false},
        {"cut in the header", bytesOf("X:1\nT:Test tu"), false},
        {"prose", bytesOf("Notes: buy milk\nK: the cat\n"), false},
        {"PostScript", bytesOf("%!PS-Adobe-3.0\n%%Title: x\nK:\n"), false},
    };
    for (const auto& file : files) {
        SCOPED_TRACE(file.what);
        // Nothing else in the player plays these.
        EXPECT_TRUE(libopenmptRefuses(file.bytes));
        EXPECT_NE(openBytes(nullptr, "tune.abc", file.bytes).result, audio::Result::Ok);
        for (const bool asMemory : {false, true}) {
            const auto opened = openBytes(plugins, "tune.abc", file.bytes, asMemory);
            const bool taken = opened.decoder && opened.decoder->type() == SoundType::User;
            EXPECT_EQ(taken, file.claimed);
            if (taken) {
                EXPECT_EQ(opened.decoder->formatName(), "ABC tune");
                EXPECT_EQ(opened.decoder->sampleRate(), Rate);
            }
        }
    }
}

TEST_F(LibModPlugin, KeepsTimeAndIntervals) {
    const double middleC =
        plugin_test::listen(audio::test::readAll(*openTune(abcTune("C4|C4|"))), Rate).frequencyHz;
    ASSERT_GT(middleC, 0);
    const struct {
        std::string notes;
        int beatsPerMinute;
        double seconds;
        double pitchToMiddleC;
    } tunes[] = {
        {"C4|C4|", 120, 4, 1},       {"c4|c4|", 120, 4, 2}, {"C,4|C,4|", 120, 4, 0.5},
        {"G4|G4|", 120, 4, 1.4983},  {"C4|C4|", 60, 8, 1},  {"|:C4|C4:|", 120, 8, 1},
        {"C2 z2|C2 z2|", 120, 4, 1},
    };
    for (const auto& tune : tunes) {
        SCOPED_TRACE(tune.notes + " at " + std::to_string(tune.beatsPerMinute));
        auto decoder = openTune(abcTune(tune.notes, tune.beatsPerMinute));
        ASSERT_TRUE(decoder);
        EXPECT_NEAR(static_cast<double>(decoder->lengthFrames()), tune.seconds * Rate, Rate / 50);
        const auto sound = audio::test::readAll(*decoder);
        EXPECT_EQ(sound.size() / 2, decoder->lengthFrames());
        const auto heard = plugin_test::listen(sound, Rate);
        EXPECT_GT(heard.rms, 0.02);
        EXPECT_NEAR(heard.frequencyHz / middleC, tune.pitchToMiddleC, 0.015 * tune.pitchToMiddleC);
    }
}

TEST_F(LibModPlugin, EveryTuneOfAFileIsASubsongThatSeeksExactly) {
    const std::string file =
        "%abc-2.1\nM:4/4\n\n" + abcTune("C4|C4|", 120, 1) + "\n" + abcTune("G4|G4|G4|", 60, 2);
    auto decoder = openTune(file);
    ASSERT_TRUE(decoder);
    ASSERT_EQ(decoder->subsongCount(), 2);
    EXPECT_EQ(decoder->selectSubsong(2), audio::Result::InvalidParameter);
    ASSERT_EQ(decoder->selectSubsong(1), audio::Result::Ok);
    EXPECT_NEAR(static_cast<double>(decoder->lengthFrames()), 12.0 * Rate, Rate / 50);

    const auto whole = audio::test::readAll(*decoder);
    for (const uint64_t frame : {uint64_t{3 * Rate + 17}, uint64_t{1000}, uint64_t{11 * Rate}}) {
        ASSERT_EQ(decoder->seek(frame), audio::Result::Ok);
        const auto part = plugin_test::readUpTo(*decoder, 500);
        ASSERT_EQ(part.size(), 1000u);
        EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + 2 * frame)) << frame;
    }
    EXPECT_NE(decoder->seek(13 * Rate), audio::Result::Ok);
}

TEST_F(LibModPlugin, TunesDecodedAtOnceOnTwoThreadsSoundAsAlone) {
    const std::string tune = abcTune("C D E F|G A B c|c B A G|F E D C|");
    const auto alone = audio::test::readAll(*openTune(tune));
    auto first = openTune(tune);
    auto second = openTune(tune);
    std::vector<float> firstSound, secondSound;
    std::thread other([&] { secondSound = audio::test::readAll(*second, 512); });
    firstSound = audio::test::readAll(*first, 512);
    other.join();
    EXPECT_EQ(firstSound, alone);
    EXPECT_EQ(secondSound, alone);
}

TEST_F(LibModPlugin, LeavesForeignDataAlone) {
    plugin_test::expectLeavesForeignDataAlone(*plugins);
}

} // namespace
