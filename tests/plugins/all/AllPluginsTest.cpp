// The seven codec plug-ins side by side: each claims exactly its own formats, and with all of
// them loaded in the player's order the built-in decoders and the module ripper still get
// theirs.
#include "AdlibDumpWriter.h"
#include "DecoderTestSupport.h"
#include "FutureComposerWriter.h"
#include "ModulePacker.h"
#include "PluginTestSupport.h"
#include "PsidWriter.h"
#include "VgmWriter.h"
#include "YmLh5Packer.h"
#include "YmWriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using plugin_test::openBytes;

// In the order the player loads them.
const char* const Codecs[] = {"sid", "game", "audiofile", "adplug", "libmod", "fc", "ym"};

std::string pluginPath(const std::string& codec) {
    return std::string(PLUGIN_FOLDER) + "/codec_" + codec + ".so";
}

// A second of a 440 Hz tone as a Sample Vision file, which only the audiofile plug-in plays.
std::vector<uint8_t> sampleVisionTone() {
    const std::string path = audio::test::writeTempFile("tone.wav", {});
    const std::string smp = path.substr(0, path.size() - 4) + ".smp";
    const std::string command =
        "sox -n -r 22050 -c 1 -b 16 '" + smp + "' synth 1 sine 440 vol 0.5 2>/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    return audio::test::fileBytes(smp);
}

struct OwnFile {
    const char* codec;
    const char* name;
    std::vector<uint8_t> bytes;
};

std::vector<OwnFile> ownFiles() {
    using namespace chipgen;
    AdlibSong adlib;
    adlib.notes = {AdlibNote{}};
    VgmSong vgm;
    vgm.notes = {VgmNote{254, 44100}};
    YmDescription ym;
    ym.frames = ymToneFrames(284, 15, 100);
    FutureComposerSong fc13;
    fc13.notes = {FcNote{}};
    FutureComposerSong fc14 = fc13;
    fc14.version = FcVersion::Fc14;
    const std::string abc = "X:1\nT:Scale\nM:4/4\nL:1/8\nK:D\nDEFG ABcd|\n";
    return {
        {"sid", "tune.sid", writePsid(PsidDescription{})},
        {"game", "tune.vgm", writeVgm(vgm)},
        {"audiofile", "tone.smp", sampleVisionTone()},
        {"adplug", "tune.dro", writeDro(adlib)},
        {"adplug", "tune.imf", writeImf(adlib)},
        {"libmod", "tune.abc", std::vector<uint8_t>(abc.begin(), abc.end())},
        {"fc", "tune.fc13", writeFutureComposer(fc13)},
        {"fc", "tune.fc14", writeFutureComposer(fc14)},
        {"ym", "plain.ym", writeYm(ym, YmFormat::Ym5)},
        {"ym", "packed.ym", lhaArchive(writeYm(ym, YmFormat::Ym5), LhaMemberOptions{})},
    };
}

TEST(AllPlugins, EachClaimsItsOwnFilesAndNoOtherPlugInsFiles) {
    const std::vector<OwnFile> files = ownFiles();
    for (const char* codec : Codecs) {
        const auto plugin = plugin_test::loadPlugin(pluginPath(codec));
        for (const OwnFile& file : files) {
            SCOPED_TRACE(std::string(codec) + " with " + file.name);
            const auto opened = openBytes(plugin.get(), file.name, file.bytes, true);
            const bool claimed = opened.decoder && opened.decoder->type() == audio::SoundType::User;
            EXPECT_EQ(claimed, std::string(codec) == file.codec);
        }
    }
}

TEST(AllPlugins, SongsModulesAndPackedModulesStillReachTheirDecodersAndTheRipper) {
    audio::PluginRegistry plugins;
    for (const char* codec : Codecs) {
        ASSERT_EQ(plugins.load(pluginPath(codec)), audio::Result::Ok) << codec;
    }
    plugin_test::expectLeavesForeignDataAlone(plugins);

    const std::vector<uint8_t> module =
        audio::test::fileBytes(audio::test::mediaPath("mod/area1-game.mod"));
    const auto parsed = ProTrackerModule::parse(module);
    ASSERT_TRUE(parsed);
    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
        audio::SoundType type; // Unknown: refused, so the engine hands it to the ripper
    } cases[] = {
        {"music.mp3", audio::test::fileBytes(audio::test::mediaPath("music.mp3")),
         audio::SoundType::MPEG},
        {"music.flac", audio::test::fileBytes(audio::test::mediaPath("music.flac")),
         audio::SoundType::FLAC},
        {"music.aiff", audio::test::fileBytes(audio::test::mediaPath("music.aiff")),
         audio::SoundType::AIFF},
        {"area1-game.mod", module, audio::SoundType::MOD},
        {"packed.np2", packNoisePackerV2(*parsed), audio::SoundType::Unknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_FALSE(c.bytes.empty());
        const auto opened = openBytes(&plugins, c.name, c.bytes);
        if (c.type == audio::SoundType::Unknown) {
            EXPECT_EQ(opened.result, audio::Result::FormatUnsupported);
        } else {
            ASSERT_EQ(opened.result, audio::Result::Ok);
            EXPECT_EQ(opened.decoder->type(), c.type);
        }
    }
}

// The real player set-up: the engine loads the seven plug-ins from plugin/ beside the program
// and plays a plug-in's files through them (tamberlo-render sequences songs as the player does).
TEST(AllPlugins, TheEngineLoadsAllSevenFromTheApplicationFolderAndPlaysTheirSongs) {
    const std::vector<OwnFile> files = ownFiles();
    const std::string folder = audio::test::writeTempFile("render.log", {});
    const std::string log = folder;
    const std::string wav = folder + ".wav";
    std::string command =
        std::string(TAMBERLO_RENDER) + " --max-seconds 4 --log '" + log + "' -o '" + wav + "'";
    for (const OwnFile& file : files) {
        if (std::string(file.name) == "tune.sid" || std::string(file.name) == "packed.ym") {
            command += " '" + audio::test::writeTempFile(file.name, file.bytes) + "'";
        }
    }
    ASSERT_EQ(std::system((command + " 2>/dev/null").c_str()), 0) << command;

    const std::vector<uint8_t> logBytes = audio::test::fileBytes(log);
    const std::string logText(logBytes.begin(), logBytes.end());
    for (const char* codec : Codecs) {
        EXPECT_NE(logText.find(std::string("Loading of codec_") + codec + ".so completed."),
                  std::string::npos)
            << codec;
    }
    // 16-bit stereo after a 44-byte header: something must be heard in the first seconds.
    const std::vector<uint8_t> out = audio::test::fileBytes(wav);
    ASSERT_GT(out.size(), 44u + 4 * 44100);
    double sum = 0;
    const size_t frames = (out.size() - 44) / 4;
    for (size_t i = 0; i < frames; ++i) {
        const auto left = static_cast<int16_t>(out[44 + 4 * i] | (out[45 + 4 * i] << 8));
        sum += static_cast<double>(left) * left;
    }
    EXPECT_GT(std::sqrt(sum / static_cast<double>(frames)), 100.0);
}

} // namespace
