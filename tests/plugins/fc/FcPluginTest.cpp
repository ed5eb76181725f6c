// The Future Composer plug-in through the player's decoder choice: generated 1.3 and 1.4
// modules play at the pitch their periods set, for as long as their sequence says, seek
// exactly, and hostile headers are refused or played safely.
#include "FutureComposerWriter.h"
#include "PluginTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ostream>
#include <string>

namespace {

using chipgen::FcInstrument;
using chipgen::FcNote;
using chipgen::FcSound;
using chipgen::FcVersion;
using chipgen::FutureComposerSong;

constexpr int Rate = 44100;
constexpr uint64_t FramesPerTick = Rate / 50;
constexpr double PaulaClock = 3546895;
constexpr size_t WaveBytes = 32; // both generated sounds repeat every 32 bytes

const audio::PluginRegistry& plugins() {
    static const auto registry = plugin_test::loadPlugin(CODEC_PLUGIN_PATH);
    return *registry;
}

const char* formatName(FcVersion version) {
    return version == FcVersion::Fc13 ? "Future Composer 1.3" : "Future Composer 1.4";
}

// One side of interleaved stereo, as the left channel of a new buffer (what listen() reads).
std::vector<float> side(const std::vector<float>& stereo, int which, size_t from = 0,
                        size_t frames = ~size_t{0}) {
    std::vector<float> out;
    for (size_t i = from; i < stereo.size() / 2 && i - from < frames; ++i) {
        out.insert(out.end(), {stereo[2 * i + static_cast<size_t>(which)], 0.0f});
    }
    return out;
}

struct Played {
    plugin_test::Opened opened;
    std::vector<float> audio;
};

Played play(const std::vector<uint8_t>& bytes, bool asMemory = false) {
    Played played{plugin_test::openBytes(&plugins(), "song.smod", bytes, asMemory), {}};
    if (played.opened.decoder) {
        // A little past the reported length, to see that it ends there.
        const uint64_t length = played.opened.decoder->lengthFrames();
        played.audio = plugin_test::readUpTo(*played.opened.decoder,
                                             std::min<uint64_t>(length, 600 * Rate) + 1000);
    }
    return played;
}

struct PitchCase {
    const char* name;
    FcVersion version;
    FcSound sound;
    int voice;
    int note;
    std::vector<uint8_t> frequencyMacro; // empty: start the sound and hold the note
    int period;                          // what the note and macro should play
    int speed;
    int steps;
    bool asMemory;
};

void PrintTo(const PitchCase& c, std::ostream* os) {
    *os << c.name;
}

class FcPitch : public ::testing::TestWithParam<PitchCase> {};

TEST_P(FcPitch, PlaysTheNoteForTheSequenceLengthOnItsSide) {
    const PitchCase& c = GetParam();
    FutureComposerSong song;
    song.version = c.version;
    song.speed = c.speed;
    song.steps = c.steps;
    song.instruments = {FcInstrument{64, c.sound, c.frequencyMacro, {}}};
    song.notes = {{c.voice, 0, c.note, 0}};
    const Played played = play(chipgen::writeFutureComposer(song), c.asMemory);
    ASSERT_EQ(played.opened.result, audio::Result::Ok);
    audio::Decoder& decoder = *played.opened.decoder;
    EXPECT_EQ(decoder.formatName(), formatName(c.version));
    EXPECT_EQ(decoder.subsongCount(), 1);

    const uint64_t frames = static_cast<uint64_t>(c.steps) * 32 * c.speed * FramesPerTick;
    EXPECT_EQ(decoder.lengthFrames(), frames);
    EXPECT_EQ(played.audio.size() / 2, frames);

    // Voices 0 and 3 sound left, 1 and 2 right.
    const int loud = c.voice == 0 || c.voice == 3 ? 0 : 1;
    const auto heard = plugin_test::listen(side(played.audio, loud), Rate);
    EXPECT_GT(heard.rms, 0.05);
    EXPECT_LT(plugin_test::listen(side(played.audio, 1 - loud), Rate).rms, 1e-6);
    const double expected = PaulaClock / c.period / WaveBytes;
    EXPECT_NEAR(heard.frequencyHz, expected, 0.03 * expected);
}

INSTANTIATE_TEST_SUITE_P(
    Modules, FcPitch,
    ::testing::Values(
        PitchCase{"Fc13Square", FcVersion::Fc13, FcSound::Square, 0, 13, {}, 808, 3, 2, false},
        PitchCase{"Fc14Square", FcVersion::Fc14, FcSound::Square, 1, 25, {}, 404, 6, 1, true},
        PitchCase{"Fc13Sample", FcVersion::Fc13, FcSound::Sample, 2, 13, {}, 808, 3, 1, false},
        PitchCase{"Fc14Sample", FcVersion::Fc14, FcSound::Sample, 3, 1, {}, 1616, 2, 3, false},
        // A transpose in the frequency macro raises the note an octave.
        PitchCase{"MacroTranspose",
                  FcVersion::Fc13,
                  FcSound::Square,
                  0,
                  13,
                  {0xE2, 10, 12, 0xE1},
                  404,
                  3,
                  1,
                  false},
        // Bit 7 plays a fixed note whatever the pattern says.
        PitchCase{"MacroFixedNote",
                  FcVersion::Fc14,
                  FcSound::Square,
                  0,
                  40,
                  {0xE2, 10, 0x80 | 13, 0xE1},
                  808,
                  3,
                  1,
                  false}),
    [](const auto& info) { return std::string(info.param.name); });

struct EnvelopeCase {
    const char* name;
    std::vector<uint8_t> volumeMacro;
    double loudFrom, loudTo;     // seconds where the note must sound
    double silentFrom, silentTo; // seconds where it must not
};

void PrintTo(const EnvelopeCase& c, std::ostream* os) {
    *os << c.name;
}

class FcEnvelope : public ::testing::TestWithParam<EnvelopeCase> {};

TEST_P(FcEnvelope, VolumeMacroShapesTheNote) {
    const EnvelopeCase& c = GetParam();
    FutureComposerSong song;
    song.steps = 1; // 1.92 s, then the pattern (and the note) would start again
    song.instruments = {FcInstrument{64, FcSound::Square, {}, c.volumeMacro}};
    song.notes = {{0, 0, 13, 0}};
    const Played played = play(chipgen::writeFutureComposer(song));
    ASSERT_EQ(played.opened.result, audio::Result::Ok);
    const auto rmsBetween = [&](double from, double to) {
        const auto at = [](double seconds) { return static_cast<size_t>(seconds * Rate); };
        return plugin_test::listen(side(played.audio, 0, at(from), at(to) - at(from)), Rate).rms;
    };
    if (c.loudTo > c.loudFrom) {
        EXPECT_GT(rmsBetween(c.loudFrom, c.loudTo), 0.05);
    }
    EXPECT_LT(rmsBetween(c.silentFrom, c.silentTo), 1e-6);
}

INSTANTIATE_TEST_SUITE_P(
    Volumes, FcEnvelope,
    ::testing::Values(
        EnvelopeCase{"Zero", {1, 0, 0, 0, 0, 0, 0xE1}, 0, 0, 0, 1.9},
        // 64 for 50 ticks (a pause of 49 after the first), then 0.
        EnvelopeCase{
            "PauseThenSilence", {1, 0, 0, 0, 0, 64, 0xE8, 49, 0, 0xE1}, 0.1, 0.9, 1.1, 1.9},
        // One step every 2 ticks: 64, then a slide of -4 a tick for 16 ticks.
        EnvelopeCase{"Slide", {2, 0, 0, 0, 0, 64, 0xEA, 0xFC, 16, 0xE1}, 0, 0.2, 0.5, 1.9}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(FcSeek, LandsWhereContinuousPlayIs) {
    FutureComposerSong song;
    song.version = FcVersion::Fc14;
    song.steps = 2;
    song.instruments = {
        FcInstrument{},
        FcInstrument{48, FcSound::Sample, {0xE2, 0, 0xE3, 3, 30, 0, 7, 0xE0, 4}, {}}};
    song.notes = {{0, 0, 13, 0}, {1, 3, 30, 1}, {3, 20, 22, 1}, {2, 9, 49, 0}};
    const Played whole = play(chipgen::writeFutureComposer(song));
    ASSERT_EQ(whole.opened.result, audio::Result::Ok);
    const uint64_t length = whole.audio.size() / 2;
    ASSERT_EQ(length, whole.opened.decoder->lengthFrames());

    audio::Decoder& decoder = *whole.opened.decoder;
    for (const uint64_t frame : {uint64_t{0}, FramesPerTick - 1, 57 * FramesPerTick + 301,
                                 uint64_t{100000}, length - 500, length}) {
        SCOPED_TRACE(frame);
        ASSERT_EQ(decoder.seek(frame), audio::Result::Ok);
        const auto got = plugin_test::readUpTo(decoder, 3000);
        ASSERT_EQ(got.size() / 2, std::min<uint64_t>(3000, length - frame));
        EXPECT_TRUE(std::equal(got.begin(), got.end(), whole.audio.begin() + 2 * frame));
    }
    EXPECT_NE(decoder.seek(length + 1), audio::Result::Ok);
}

// Changes to a generated 1.3 module: to its description, or to its bytes (header fields at
// their offsets in the format).
struct HostileCase {
    const char* name;
    void (*changeSong)(FutureComposerSong& song);
    void (*changeBytes)(std::vector<uint8_t>& bytes);
    bool played; // opened by the plug-in (and played to its end) or refused
};

void setBig32(std::vector<uint8_t>& bytes, size_t at, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

void PrintTo(const HostileCase& c, std::ostream* os) {
    *os << c.name;
}

class FcHostile : public ::testing::TestWithParam<HostileCase> {};

TEST_P(FcHostile, IsRefusedOrPlaysToItsEndSafely) {
    const HostileCase& c = GetParam();
    FutureComposerSong song;
    song.notes = {{0, 0, 13, 0}, {1, 0, 25, 1}};
    song.instruments = {FcInstrument{}, FcInstrument{48, FcSound::Sample, {}, {}}};
    if (c.changeSong != nullptr) {
        c.changeSong(song);
    }
    std::vector<uint8_t> bytes = chipgen::writeFutureComposer(song);
    if (c.changeBytes != nullptr) {
        c.changeBytes(bytes);
    }

    const auto start = std::chrono::steady_clock::now();
    const Played played = play(bytes);
    const bool ours =
        played.opened.decoder && played.opened.decoder->formatName() == formatName(FcVersion::Fc13);
    EXPECT_EQ(ours, c.played);
    if (ours) {
        EXPECT_EQ(played.audio.size() / 2, played.opened.decoder->lengthFrames());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

using Bytes = std::vector<uint8_t>;

INSTANTIATE_TEST_SUITE_P(
    Headers, FcHostile,
    ::testing::Values(
        HostileCase{"PatternsPastTheEnd", nullptr, [](Bytes& b) { setBig32(b, 12, 0x10000); },
                    false},
        HostileCase{"HugeSequence", nullptr, [](Bytes& b) { setBig32(b, 4, 0xFFFFFFF0u); }, false},
        HostileCase{"HugeVolumeMacros", nullptr, [](Bytes& b) { setBig32(b, 28, 0x7FFFFFFFu); },
                    false},
        HostileCase{"AreasOutOfOrder", nullptr, [](Bytes& b) { setBig32(b, 16, 0); }, false},
        HostileCase{"SamplesPastTheEnd", nullptr,
                    [](Bytes& b) { setBig32(b, 32, static_cast<uint32_t>(b.size() + 100)); }, true},
        HostileCase{"SampleLongerThanFile", nullptr,
                    [](Bytes& b) { b[40] = b[41] = b[42] = b[44] = 0xFF; }, true},
        HostileCase{"FrequencyMacroLoopsOnItself",
                    [](FutureComposerSong& s) {
                        s.instruments[0].frequencyMacro = {0xE0, 0};
                    },
                    nullptr, true},
        HostileCase{"FrequencyMacroJumpsToItself",
                    [](FutureComposerSong& s) {
                        s.instruments[0].frequencyMacro = {0xE2, 10, 0xE7, 0};
                    },
                    nullptr, true},
        HostileCase{"VolumeMacroLoopsOnItself",
                    [](FutureComposerSong& s) {
                        s.instruments[0].volumeMacro = {0, 0, 255, 255, 0, 0xE0, 5};
                    },
                    nullptr, true},
        HostileCase{"InstrumentsThatDoNotExist",
                    [](FutureComposerSong& s) {
                        s.notes = {{0, 0, 13, 63}, {2, 5, 200, 40}};
                    },
                    nullptr, true},
        HostileCase{"EveryPatternEndsAtOnce",
                    [](FutureComposerSong& s) {
                        s.notes = {{0, 0, 0x49, 0}};
                    },
                    nullptr, false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(FcForeignData, IsLeftAlone) {
    plugin_test::expectLeavesForeignDataAlone(plugins());
}

} // namespace
