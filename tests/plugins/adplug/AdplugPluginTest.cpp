// The adplug plug-in through the player's decoder choice: generated IMF and DRO register dumps
// and HSC and CMF songs play at the pitch their notes give for as long as their timing says,
// seek, and damaged or foreign data is left alone.
#include "AdlibDumpTrackerWriter.h"
#include "AdlibDumpWriter.h"
#include "PluginTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string_view>
#include <tuple>

namespace {

using chipgen::AdlibNote;
using chipgen::AdlibSong;

struct DumpFormat {
    const char* extension;
    const char* formatName;
    std::function<std::vector<uint8_t>(const AdlibSong&)> write;
    double toleranceMs; // IMF counts whole 560 Hz ticks
};

const DumpFormat Formats[] = {
    {".imf", "", chipgen::writeImf, 2.5},
    {".dro", "DOSBox Raw OPL v2.0", chipgen::writeDro, 1.5},
};

// Two notes a fifth and an octave apart, with a gap of silence between them.
const AdlibSong TwoNotes = {{{0x244, 4, 600}, {0x1B2, 5, 500}}, 100};

class AdplugPlugin : public ::testing::Test {
protected:
    std::unique_ptr<audio::PluginRegistry> plugins_ = plugin_test::loadPlugin(CODEC_PLUGIN_PATH);

    // Opens `bytes` as `name`, expecting the plug-in to take it.
    std::unique_ptr<audio::Decoder> open(const std::string& name, const std::vector<uint8_t>& bytes,
                                         bool asMemory = false) {
        auto opened = plugin_test::openBytes(plugins_.get(), name, bytes, asMemory);
        EXPECT_EQ(opened.result, audio::Result::Ok) << name;
        if (opened.decoder) {
            EXPECT_EQ(opened.decoder->type(), audio::SoundType::User) << name;
        }
        return std::move(opened.decoder);
    }
};

// Frames of `ms` milliseconds at `rate`.
size_t framesOf(double ms, int rate) {
    return static_cast<size_t>(ms * rate / 1000);
}

// The stretch [fromMs, toMs) of interleaved stereo `audio`.
std::vector<float> stretch(const std::vector<float>& audio, int rate, double fromMs, double toMs) {
    const size_t from = std::min(audio.size(), 2 * framesOf(fromMs, rate));
    const size_t to = std::min(audio.size(), 2 * framesOf(toMs, rate));
    return {audio.begin() + static_cast<std::ptrdiff_t>(from),
            audio.begin() + static_cast<std::ptrdiff_t>(to)};
}

TEST_F(AdplugPlugin, DumpsPlayTheirNotesForTheirLength) {
    for (const DumpFormat& format : Formats) {
        for (const bool asMemory : {false, true}) {
            SCOPED_TRACE(std::string(format.extension) + (asMemory ? " in memory" : " as file"));
            auto decoder =
                open(std::string("two") + format.extension, format.write(TwoNotes), asMemory);
            ASSERT_TRUE(decoder);
            const int rate = decoder->sampleRate();
            EXPECT_EQ(decoder->subsongCount(), 1);
            if (*format.formatName != '\0') {
                EXPECT_EQ(decoder->formatName(), format.formatName);
            } else {
                EXPECT_FALSE(decoder->formatName().empty());
            }
            const double songMs = chipgen::adlibSongMs(TwoNotes);
            ASSERT_NE(decoder->lengthFrames(), audio::UnknownFrames);
            EXPECT_NEAR(decoder->lengthFrames() * 1000.0 / rate, songMs, format.toleranceMs);

            const auto audio = plugin_test::readUpTo(*decoder, framesOf(2 * songMs, rate));
            EXPECT_EQ(audio.size() / 2, decoder->lengthFrames()) << "plays exactly its length";
            const struct {
                double fromMs, toMs, hz; // hz 0: silence
            } parts[] = {
                {50, 550, chipgen::adlibNoteHz(TwoNotes.notes[0])},
                {630, 690, 0},
                {750, 1150, chipgen::adlibNoteHz(TwoNotes.notes[1])},
                {1220, 1290, 0},
            };
            for (const auto& part : parts) {
                const auto heard =
                    plugin_test::listen(stretch(audio, rate, part.fromMs, part.toMs), rate);
                if (part.hz == 0) {
                    EXPECT_LT(heard.rms, 0.002) << "silent from " << part.fromMs << " ms";
                } else {
                    EXPECT_GT(heard.rms, 0.02) << "sounds from " << part.fromMs << " ms";
                    EXPECT_NEAR(heard.frequencyHz, part.hz, 0.02 * part.hz);
                }
            }
        }
    }
}

TEST_F(AdplugPlugin, SeeksForwardAndBack) {
    for (const DumpFormat& format : Formats) {
        SCOPED_TRACE(format.extension);
        auto decoder = open(std::string("seek") + format.extension, format.write(TwoNotes));
        ASSERT_TRUE(decoder);
        const int rate = decoder->sampleRate();
        const auto start = plugin_test::readUpTo(*decoder, 2048);

        ASSERT_EQ(decoder->seek(framesOf(800, rate)), audio::Result::Ok);
        const auto heard = plugin_test::listen(plugin_test::readUpTo(*decoder, 8192), rate);
        const double hz = chipgen::adlibNoteHz(TwoNotes.notes[1]);
        EXPECT_NEAR(heard.frequencyHz, hz, 0.02 * hz);

        ASSERT_EQ(decoder->seek(0), audio::Result::Ok);
        EXPECT_EQ(plugin_test::readUpTo(*decoder, 2048), start);
        EXPECT_NE(decoder->seek(decoder->lengthFrames() + 10), audio::Result::Ok);
    }
}

TEST_F(AdplugPlugin, MeasuresLongDumpsAndGivesUpOnOverlongOnes) {
    AdlibSong manyNotes; // over 4 KiB: more than the probe sees
    for (uint16_t i = 0; i < 400; ++i) {
        manyNotes.notes.push_back({static_cast<uint16_t>(0x180 + i), 4, 20});
    }
    const AdlibSong overlong = {{{0x244, 4, 25 * 60 * 1000}}, 0};
    for (const DumpFormat& format : Formats) {
        for (const AdlibSong* song :
             std::initializer_list<const AdlibSong*>{&manyNotes, &overlong}) {
            const auto bytes = format.write(*song);
            SCOPED_TRACE(std::string(format.extension) + " of " + std::to_string(bytes.size()) +
                         " bytes");
            auto decoder = open(std::string("long") + format.extension, bytes);
            ASSERT_TRUE(decoder);
            const int rate = decoder->sampleRate();
            const double songMs = chipgen::adlibSongMs(*song);
            if (song == &overlong) {
                EXPECT_EQ(decoder->lengthFrames(), audio::UnknownFrames);
            } else {
                EXPECT_NEAR(decoder->lengthFrames() * 1000.0 / rate, songMs, format.toleranceMs);
            }
            const auto heard =
                plugin_test::listen(plugin_test::readUpTo(*decoder, framesOf(1000, rate)), rate);
            EXPECT_EQ(heard.frames, framesOf(1000, rate));
            EXPECT_GT(heard.rms, 0.02);
        }
    }
}

// An HSC song of one pattern: C-4 from row 1, C-5 from row 33, 64 rows of 2 ticks at 18.2 Hz.
std::vector<uint8_t> hscSong() {
    return chipgen::writeHsc({{49, 1}, {61, 33}});
}

// A CMF song at 200 ticks per second: A4 and A5 for half a second each, then 100 ms of silence.
std::vector<uint8_t> cmfSong() {
    return chipgen::writeCmf({{69, 100, 0}, {81, 100, 20}}, 200);
}

// Songs whose players trust their data and are played only after our own check: the check
// passes what the writers make, and the notes sound at their pitch for the song's length.
TEST_F(AdplugPlugin, CheckedTrackerSongsPlayTheirNotes) {
    const struct {
        std::string name;
        std::vector<uint8_t> bytes;
        const char* formatName;
        double songMs;
        double firstHz; // the second note is an octave higher
    } songs[] = {
        // HSC's note table starts its octaves at F-number 0x16B.
        {"two.hsc", hscSong(), "HSC Adlib Composer / HSC-Tracker", 64 * 2 * 1000 / 18.2,
         chipgen::adlibNoteHz({0x16B, 4, 0})},
        {"two.cmf", cmfSong(), "Creative Music File (CMF)", 1100, chipgen::midiKeyHz(69)},
    };
    for (const auto& song : songs) {
        for (const bool asMemory : {false, true}) {
            SCOPED_TRACE(song.name + (asMemory ? " in memory" : " as file"));
            auto decoder = open(song.name, song.bytes, asMemory);
            ASSERT_TRUE(decoder);
            EXPECT_EQ(decoder->formatName(), song.formatName);
            ASSERT_NE(decoder->lengthFrames(), audio::UnknownFrames);
            const int rate = decoder->sampleRate();
            EXPECT_NEAR(decoder->lengthFrames() * 1000.0 / rate, song.songMs, 0.01 * song.songMs);
            const auto audio = plugin_test::readUpTo(*decoder, framesOf(2 * song.songMs, rate));
            EXPECT_EQ(audio.size() / 2, decoder->lengthFrames()) << "plays exactly its length";
            const double ms = song.songMs;
            for (const auto& [fromMs, toMs, hz] :
                 {std::tuple{0.1 * ms, 0.4 * ms, song.firstHz},
                  std::tuple{0.6 * ms, 0.85 * ms, 2 * song.firstHz}}) {
                const auto heard = plugin_test::listen(stretch(audio, rate, fromMs, toMs), rate);
                EXPECT_GT(heard.rms, 0.02) << "sounds from " << fromMs << " ms";
                EXPECT_NEAR(heard.frequencyHz, hz, 0.02 * hz) << "from " << fromMs << " ms";
            }
        }
    }
}

// The probe sees only the first 4 KiB of a song, so longer HSC and CMF songs are checked
// whole when they are opened: they play for their whole length, damage at their end is refused.
TEST_F(AdplugPlugin, ChecksLongSongsWhole) {
    constexpr size_t HscOrders = 128 * 12;
    constexpr size_t HscPatternBytes = 64 * 9 * 2;
    auto hsc = hscSong(); // three patterns
    hsc.resize(hsc.size() + 2 * HscPatternBytes, 0);
    std::copy_n(std::begin({0, 1, 2, 0xFF}), 4, hsc.begin() + HscOrders);
    auto hscDamaged = hsc;
    hscDamaged[hsc.size() - 2] = 100; // no such note
    const auto cmf = chipgen::writeCmf(std::vector<chipgen::CmfNote>(1500, {69, 2, 0}), 200);
    auto cmfDamaged = cmf;
    cmfDamaged[cmf.size() - 5] = 0x80; // the last note off's velocity is no data byte
    const struct {
        std::string name;
        std::vector<uint8_t> whole, damaged;
        double songMs;
    } songs[] = {
        {"long.hsc", hsc, hscDamaged, 3 * 64 * 2 * 1000 / 18.2},
        {"long.cmf", cmf, cmfDamaged, 1500 * 2 * 1000 / 200.0},
    };
    for (const auto& song : songs) {
        for (const bool asMemory : {false, true}) {
            SCOPED_TRACE(song.name + (asMemory ? " in memory" : " as file"));
            ASSERT_GT(song.whole.size(), 4096u);
            auto decoder = open(song.name, song.whole, asMemory);
            ASSERT_TRUE(decoder);
            EXPECT_NEAR(decoder->lengthFrames() * 1000.0 / decoder->sampleRate(), song.songMs,
                        0.01 * song.songMs);
            const auto opened =
                plugin_test::openBytes(plugins_.get(), song.name, song.damaged, asMemory);
            EXPECT_TRUE(!opened.decoder || opened.decoder->type() != audio::SoundType::User);
        }
    }
}

TEST_F(AdplugPlugin, RefusesDamagedUnclaimedAndForeignData) {
    const auto imf = chipgen::writeImf(TwoNotes);
    const auto dro = chipgen::writeDro(TwoNotes);
    auto imfBadRegister = imf;
    imfBadRegister[2 + 4 * 3] = 0xF9; // no OPL register
    auto imfLongLength = imf;
    imfLongLength[1] = 0x7F; // more records than the file holds
    auto droVersion3 = dro;
    droVersion3[8] = 3;
    const auto hsc = hscSong();
    const auto changed = [](std::vector<uint8_t> bytes, size_t at, std::vector<uint8_t> with) {
        std::copy(with.begin(), with.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
        return bytes;
    };
    constexpr size_t HscOrders = 128 * 12;
    constexpr size_t HscCells = HscOrders + 51;
    auto hscTooManyPatterns = hsc;
    hscTooManyPatterns.resize(hsc.size() + 50 * 1152, 0); // 51 patterns
    auto hscNoEnd = hsc;
    std::fill_n(hscNoEnd.begin() + HscOrders, 51, 0);
    auto hscExtraByte = hsc;
    hscExtraByte.push_back(0);

    const auto cmf = cmfSong();
    const size_t music = cmf[8] | (cmf[9] << 8); // program change, then the notes
    auto cmfCut = cmf;
    cmfCut.resize(cmf.size() - 5); // the last note's off event loses its velocity
    auto cmfLongNumber = cmf;
    cmfLongNumber.insert(cmfLongNumber.begin() + static_cast<std::ptrdiff_t>(music),
                         {0x80, 0x80, 0x80, 0x80});
    // Formats libadplug reads but whose players crash or hang on damaged files.
    const auto damaged = [](std::string_view magic) {
        auto bytes = plugin_test::noiseBytes(3000, 9);
        std::copy(magic.begin(), magic.end(), bytes.begin());
        return bytes;
    };
    plugin_test::expectRefused(
        *plugins_,
        {
            {"damaged.xad", damaged("XAD!")},
            {"damaged.bam", damaged("CBMF")},
            {"damaged.a2m", damaged("_A2module_")},
            {"damaged.sa2", damaged("SAdT")},
            {"damaged.dfm", damaged("DFM\x1A")},
            {"noise.imf", plugin_test::noiseBytes(4000, 3)},
            {"noise.wlf", plugin_test::noiseBytes(100000, 4)},
            {"badreg.imf", imfBadRegister},
            {"long.imf", imfLongLength},
            {"short.imf", {imf.begin(), imf.begin() + 6}},
            {"song.bin", imf}, // IMF has no magic: without its name it is not recognised
            {"header.dro", {dro.begin(), dro.begin() + 20}},
            {"codemap.dro", {dro.begin(), dro.begin() + 30}},
            {"v3.dro", droVersion3},
            {"noise.hsc", plugin_test::noiseBytes(1587 + 1152, 5)},
            {"extra.hsc", hscExtraByte},
            {"patterns.hsc", hscTooManyPatterns},
            {"order.hsc", changed(hsc, HscOrders, {1})},
            {"noend.hsc", hscNoEnd},
            {"jump.hsc", changed(hsc, HscOrders + 1, {0x80})},
            {"emptyorders.hsc", changed(hsc, HscOrders, {0xFF})},
            {"note.hsc", changed(hsc, HscCells + 2 * 9 * 5, {97, 0})},
            {"instrument.hsc", changed(hsc, HscCells, {0x80, 128})},
            {"noise.cmf", damaged("CTMF")},
            {"version.cmf", changed(cmf, 4, {0x02, 0x01})},
            {"notempo.cmf", changed(cmf, 12, {0, 0})},
            {"noinstruments.cmf", changed(cmf, 36, {0, 0})},
            {"instruments.cmf", changed(cmf, 36, {0xFF, 0})},
            {"instrumentoffset.cmf", changed(cmf, 6, {0xF0, 0xFF})},
            {"musicoffset.cmf", changed(cmf, 8, {0xF0, 0xFF})},
            {"title.cmf", changed(cmf, 14, {0xF0, 0xFF})},
            {"sysex.cmf", changed(cmf, cmf.size() - 3, {0xF0})},
            {"meta.cmf", changed(cmf, cmf.size() - 2, {0x51})},
            {"nostatus.cmf", changed(cmf, music + 1, {0x40})},
            {"program.cmf", changed(cmf, music + 2, {1})},
            {"unpatched.cmf", changed(cmf, music + 1, {0xC1})}, // program change of another channel
            {"strayoff.cmf", changed(cmf, music + 4, {0x80, 60, 0})}, // off before any note sounds
            {"databyte.cmf", changed(cmf, music + 5, {0x80})},
            {"cut.cmf", cmfCut},
            {"number.cmf", cmfLongNumber},
            {"timeless.cmf", chipgen::writeCmf({{69, 0, 0}, {81, 0, 0}}, 200)},
        });
}

} // namespace
