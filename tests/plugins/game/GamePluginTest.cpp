// The game-music plug-in through the player's decoder choice: generated VGM, VGZ, GYM and NSF
// files play at the pitch and for the length they describe, subsongs and seeking work, and
// broken or foreign data is refused.
#include "DecoderTestSupport.h"
#include "GameMusicWriter.h"
#include "LoadedPlugin.h"
#include "PluginTestSupport.h"
#include "VgmWriter.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using plugin_test::listen;
using plugin_test::openBytes;
using plugin_test::readUpTo;

constexpr int Rate = 44100;

std::vector<uint8_t> vgm(std::vector<chipgen::VgmNote> notes, bool loop = false) {
    chipgen::VgmSong song;
    song.notes = std::move(notes);
    song.loop = loop;
    song.title = "Test tone";
    return chipgen::writeVgm(song);
}

class GamePlugin : public testing::Test {
protected:
    std::unique_ptr<audio::PluginRegistry> plugins = plugin_test::loadPlugin(CODEC_PLUGIN_PATH);
};

TEST_F(GamePlugin, PlaysGeneratedFilesAtTheirPitchAndLength) {
    const auto twoSeconds = vgm({{254, 2 * Rate}});
    const auto nsf = chipgen::twoSongNsf();
    const struct {
        std::string name;
        std::vector<uint8_t> bytes;
        bool asMemory;
        int subsong;
        std::string format;
        uint64_t length; // audio::UnknownFrames when the file gives none
        int subsongs;
        double hz;
    } cases[] = {
        {"a.vgm", twoSeconds, false, 0, "VGM (Sega Master System)", 2u * Rate, 1,
         chipgen::vgmToneHz(254)},
        {"a.vgm", twoSeconds, true, 0, "VGM (Sega Master System)", 2u * Rate, 1,
         chipgen::vgmToneHz(254)},
        {"a.vgz", chipgen::gzipped(twoSeconds), false, 0, "VGZ (Sega Master System)", 2u * Rate, 1,
         chipgen::vgmToneHz(254)},
        // Rests count: 0.5 s rest then a note of 1 s.
        {"rest.vgm", vgm({{0, Rate / 2}, {127, Rate}}), false, 0, "VGM (Sega Master System)",
         Rate * 3u / 2, 1, chipgen::vgmToneHz(127)},
        // A looping song plays its intro and two loops (here the whole 1 s song twice).
        {"loop.vgm", vgm({{300, Rate}}, true), false, 0, "VGM (Sega Master System)", 2u * Rate, 1,
         chipgen::vgmToneHz(300)},
        {"tone.gym", chipgen::headerlessGym(200, 90), false, 0, "GYM (Sega Genesis)",
         audio::UnknownFrames, 1, chipgen::vgmToneHz(200)},
        {"two.nsf", nsf, false, 0, "NSF (Nintendo NES)", audio::UnknownFrames, 2,
         chipgen::nesPulseHz(chipgen::NsfPulsePeriods[0])},
        {"two.nsf", nsf, true, 1, "NSF (Nintendo NES)", audio::UnknownFrames, 2,
         chipgen::nesPulseHz(chipgen::NsfPulsePeriods[1])},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name + " subsong " + std::to_string(c.subsong));
        auto opened = openBytes(plugins.get(), c.name, c.bytes, c.asMemory);
        ASSERT_EQ(opened.result, audio::Result::Ok);
        auto& decoder = *opened.decoder;
        EXPECT_EQ(decoder.type(), audio::SoundType::User);
        EXPECT_EQ(decoder.formatName(), c.format);
        EXPECT_EQ(decoder.sampleRate(), Rate);
        EXPECT_EQ(decoder.subsongCount(), c.subsongs);
        ASSERT_EQ(decoder.selectSubsong(c.subsong), audio::Result::Ok);
        EXPECT_EQ(decoder.lengthFrames(), c.length);

        const auto start = readUpTo(decoder, Rate);
        const auto heard = listen(start, Rate);
        EXPECT_GT(heard.rms, 0.05);
        EXPECT_NEAR(heard.frequencyHz, c.hz, 0.03 * c.hz);
        if (c.length != audio::UnknownFrames) {
            EXPECT_EQ(start.size() / 2 + readUpTo(decoder, 10 * Rate).size() / 2, c.length);
        }
    }
}

TEST_F(GamePlugin, LoopingSongsFadeOutAtTheirEnd) {
    auto opened = openBytes(plugins.get(), "loop.vgm", vgm({{300, 2 * Rate}}, true));
    ASSERT_EQ(opened.result, audio::Result::Ok);
    const auto all = readUpTo(*opened.decoder, 10 * Rate);
    ASSERT_EQ(all.size(), 2u * 4 * Rate);
    // Loudness of 0.1 s from `seconds` on: the last second (of 4) fades linearly to silence.
    const auto loudness = [&](double seconds) {
        const auto first = all.begin() + 2 * static_cast<long>(seconds * Rate);
        return listen({first, first + 2 * Rate / 10}, Rate).rms;
    };
    const double full = loudness(1.0);
    for (const auto& [seconds, gain] :
         {std::pair{2.9, 1.0}, {3.2, 0.75}, {3.5, 0.45}, {3.9, 0.05}}) {
        EXPECT_NEAR(loudness(seconds), gain * full, 0.05 * full) << seconds;
    }
}

TEST_F(GamePlugin, SeeksToTheFrameAskedFor) {
    auto opened = openBytes(plugins.get(), "two.vgm", vgm({{254, Rate}, {127, Rate}}));
    ASSERT_EQ(opened.result, audio::Result::Ok);
    auto& decoder = *opened.decoder;
    const auto whole = readUpTo(decoder, 3 * Rate);
    ASSERT_EQ(whole.size(), 2u * 2 * Rate);
    for (const uint64_t frame : {uint64_t{Rate} * 3 / 2, uint64_t{Rate} / 4, uint64_t{1000}}) {
        ASSERT_EQ(decoder.seek(frame), audio::Result::Ok) << frame;
        const auto block = readUpTo(decoder, 2048);
        ASSERT_EQ(block.size(), 2u * 2048);
        for (size_t i = 0; i < block.size(); ++i) {
            ASSERT_NEAR(block[i], whole[2 * frame + i], 1e-3) << frame << " at " << i;
        }
    }
    EXPECT_EQ(decoder.seek(2 * Rate + 1), audio::Result::SeekFailed);
}

TEST_F(GamePlugin, RefusesBrokenAndForeignFiles) {
    const auto good = vgm({{254, Rate}});
    auto badVersion = good;
    badVersion[0x09] = 0x03;
    // The end command overwritten: the stream would run on into the GD3 tag.
    auto noEnd = good;
    noEnd[good[0x14] + 0x14 - 1] = 0x62;
    auto badClock = good;
    badClock[0x0F] = 0xD2; // 3.5 GHz with the dual-chip flag
    auto noChip = good;
    std::fill(noChip.begin() + 0x0C, noChip.begin() + 0x10, 0); // SN76489 writes, no SN76489
    auto noSongs = chipgen::twoSongNsf();
    noSongs[6] = 0;
    const auto cut = [](std::vector<uint8_t> bytes, size_t size) {
        bytes.resize(size);
        return bytes;
    };
    const std::string spcMagic = "SNES-SPC700 Sound File Data v0.30\x1A\x1A";
    std::vector<uint8_t> spcHeaderOnly(spcMagic.begin(), spcMagic.end());
    spcHeaderOnly.resize(0x200, 0);
    auto badGym = chipgen::headerlessGym(200, 10);
    badGym[4] = 7;
    plugin_test::expectRefused(
        *plugins,
        {
            {"half.vgm", cut(good, good.size() / 2)},
            {"header.vgm", cut(good, 0x30)},
            {"version.vgm", badVersion},
            {"noend.vgm", noEnd},
            {"clock.vgm", badClock},
            {"nochip.vgm", noChip},
            {"spin.vgm", vgm({{254, 0}}, true)}, // loops without time passing
            {"header.gbs", cut(chipgen::gbsTone(1750), 0x70)},
            {"half.vgz", cut(chipgen::gzipped(good), 40)},
            {"nosongs.nsf", noSongs},
            {"header.nsf", cut(chipgen::twoSongNsf(), 0x80)},
            {"bad.gym", badGym},
            {"tone.bin", chipgen::headerlessGym(200, 10)}, // headerless GYM only by its name
            {"short.spc", spcHeaderOnly},
        });
}

// libgme may crash on GBS and HES files, so the plug-in has them decoded in tamberlo-codec-host.
TEST_F(GamePlugin, GbsAndHesPlayInASeparateProcess) {
    std::vector<uint8_t> hes = {'H', 'E', 'S', 'M'};
    hes.resize(0x100, 0);
    auto wild = chipgen::gbsTone(1750);
    wild[0x08] = 0x80; // init jumps into high RAM
    wild[0x09] = 0xFF;
    const struct {
        std::string name;
        std::vector<uint8_t> bytes;
        int claim; // the probe's answer
    } cases[] = {
        {"tone.gbs", chipgen::gbsTone(1750), 2},
        {"wild.gbs", wild, 2},
        {"zero.hes", hes, 2},
        {"two.nsf", chipgen::twoSongNsf(), 1},
    };
    const auto& table = plugins->plugins().front()->table();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(table.probe(c.bytes.data(), c.bytes.size(), c.name.c_str()), c.claim);
        // Whatever the emulation does with the file (libgme crashes on wild.gbs and zero.hes),
        // this process goes on and the file is played or refused as damaged.
        const auto opened = openBytes(plugins.get(), c.name, c.bytes);
        if (opened.decoder) {
            readUpTo(*opened.decoder, 2 * Rate);
        } else {
            EXPECT_EQ(opened.result, audio::Result::FormatCorrupt);
        }
    }
    for (const bool asMemory : {false, true}) {
        auto opened = openBytes(plugins.get(), "tone.gbs", chipgen::gbsTone(1750), asMemory);
        ASSERT_EQ(opened.result, audio::Result::Ok);
        EXPECT_EQ(opened.decoder->formatName(), "GBS (Game Boy)");
        EXPECT_EQ(opened.decoder->sampleRate(), Rate);
        const auto heard = listen(readUpTo(*opened.decoder, Rate), Rate);
        EXPECT_GT(heard.rms, 0.05);
        EXPECT_NEAR(heard.frequencyHz, chipgen::gbSquareHz(1750), 0.03 * 440);
    }
}

} // namespace
