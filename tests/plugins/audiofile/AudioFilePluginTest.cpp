// The audiofile plug-in through the player's decoder choice: which sox-made files it takes and
// which stay FFmpeg's; sound, length, rate and pitch of all; exact seeking and refusal of broken
// files for those it takes.
#include "DecoderTestSupport.h"
#include "PluginTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace {

using audio::SoundType;
using plugin_test::openBytes;

constexpr int Rate = 22050;
constexpr double ToneHz = 440;

// One second of a 440 Hz sine at half scale, 22050 Hz, written by sox with `options` into
// `name` (whose extension picks the format).
std::vector<uint8_t> soxTone(const std::string& name, const std::string& options) {
    const auto folder =
        std::filesystem::temp_directory_path() / ("tamberlo-af-test-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string path = (folder / name).string();
    const std::string command = "sox -q -n -r " + std::to_string(Rate) + " " + options + " '" +
                                path + "' synth 1 sine " + std::to_string(ToneHz) + " vol 0.5";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    return audio::test::fileBytes(path);
}

struct FormatCase {
    std::string file;
    std::string soxOptions;
    std::string pluginFormat; // the plug-in's display name; empty when FFmpeg keeps the file
    SoundType ffmpegType = SoundType::User;
    int fileRate = Rate; // 8-bit VOC stores the rate as a time constant: 22222 Hz
};

// Which decoder each format reaches, and why: the plug-in takes what FFmpeg in the player
// refuses; everything FFmpeg decodes right stays FFmpeg's, with its proper type.
const FormatCase Formats[] = {
    {"tone.smp", "-b 16", "Sample Vision"},
    {"tone.sf", "-b 16", "IRCAM"},
    {"float.sf", "-e floating-point", "IRCAM"},
    {"ulaw.sf", "-e u-law", "IRCAM"},
    {"stereo.sf", "-b 16 -c 2", "IRCAM"},
    {"quad.sf", "-b 16 -c 4", "IRCAM"},
    {"tone.avr", "-b 16", "AVR"},
    {"byte.avr", "-b 8", "AVR"},
    {"stereo.avr", "-b 16 -c 2", "AVR"},
    {"tone.8svx", "-b 8", "IFF 8SVX"},
    {"tone.sph", "-b 16", "NIST SPHERE"},
    {"ulaw.sph", "-e u-law", "NIST SPHERE"},
    {"tone.aiff", "-b 16", "", SoundType::AIFF},
    {"byte.aiff", "-b 8", "", SoundType::AIFF},
    {"float.aifc", "-e floating-point -b 32", "", SoundType::AIFF},
    {"tone.au", "-b 16", "", SoundType::OtherFfmpeg},
    {"ulaw.au", "-e u-law", "", SoundType::OtherFfmpeg},
    {"alaw.au", "-e a-law", "", SoundType::OtherFfmpeg},
    {"float.au", "-e floating-point", "", SoundType::OtherFfmpeg},
    {"tone.wav", "-b 16", "", SoundType::WAV},
    {"ima.wav", "-e ima-adpcm", "", SoundType::WAV},
    {"ms.wav", "-e ms-adpcm", "", SoundType::WAV},
    {"tone.voc", "-b 16", "", SoundType::OtherFfmpeg},
    {"byte.voc", "-b 8 -e unsigned", "", SoundType::OtherFfmpeg, 22222},
    {"tone.caf", "-b 16", "", SoundType::OtherFfmpeg},
};

class AudioFilePlugin : public testing::Test {
protected:
    static void SetUpTestSuite() { plugins = plugin_test::loadPlugin(CODEC_PLUGIN_PATH).release(); }
    static void TearDownTestSuite() { delete plugins; }
    static audio::PluginRegistry* plugins;
};
audio::PluginRegistry* AudioFilePlugin::plugins = nullptr;

TEST_F(AudioFilePlugin, EachFormatReachesTheRightDecoderSoundsRightAndSeeksExactly) {
    for (const auto& format : Formats) {
        SCOPED_TRACE(format.file);
        const auto bytes = soxTone(format.file, format.soxOptions);
        const bool claimed = !format.pluginFormat.empty();
        // The reason for the claim: FFmpeg alone does not open these.
        EXPECT_EQ(openBytes(nullptr, format.file, bytes).result != audio::Result::Ok, claimed);
        const auto fromMemory = openBytes(plugins, format.file, bytes, true).decoder;
        ASSERT_TRUE(fromMemory);
        EXPECT_EQ(fromMemory->formatName(), format.pluginFormat);

        auto decoder = openBytes(plugins, format.file, bytes).decoder;
        ASSERT_TRUE(decoder);
        EXPECT_EQ(decoder->type(), claimed ? SoundType::User : format.ffmpegType);
        EXPECT_EQ(decoder->formatName(), format.pluginFormat);
        EXPECT_EQ(decoder->sampleRate(), format.fileRate);
        EXPECT_NEAR(static_cast<double>(decoder->lengthFrames()), Rate, Rate / 100);
        const auto whole = audio::test::readAll(*decoder);
        const auto heard = plugin_test::listen(whole, Rate);
        EXPECT_NEAR(static_cast<double>(heard.frames), Rate, Rate / 100);
        EXPECT_NEAR(heard.frequencyHz, ToneHz, ToneHz / 100);
        EXPECT_NEAR(heard.rms, 0.5 / std::sqrt(2.0), 0.03);
        if (!claimed) {
            continue;
        }
        for (const uint64_t frame : {uint64_t{12345}, uint64_t{77}, uint64_t{21000}}) {
            ASSERT_EQ(decoder->seek(frame), audio::Result::Ok);
            const auto part = plugin_test::readUpTo(*decoder, 500);
            ASSERT_EQ(part.size(), 1000u);
            EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + 2 * frame)) << frame;
        }
        EXPECT_NE(decoder->seek(Rate + 1), audio::Result::Ok);
    }
}

// Overwrites `bytes` at `offset` with `patch`.
std::vector<uint8_t> patched(std::vector<uint8_t> bytes, size_t offset,
                             const std::vector<uint8_t>& patch) {
    std::copy(patch.begin(), patch.end(), bytes.begin() + static_cast<long>(offset));
    return bytes;
}

// Where the size of the IFF chunk `id` is stored.
size_t chunkSizeOffset(const std::vector<uint8_t>& iff, const std::string& id) {
    const auto at = std::search(iff.begin(), iff.end(), id.begin(), id.end());
    EXPECT_NE(at, iff.end()) << id;
    return static_cast<size_t>(at - iff.begin()) + 4;
}

TEST_F(AudioFilePlugin, RefusesTruncatedFilesNonsenseHeadersAndForeignData) {
    const auto smp = soxTone("tone.smp", "-b 16");
    const auto ircam = soxTone("tone.sf", "-b 16");
    const auto avr = soxTone("tone.avr", "-b 16");
    const auto svx = soxTone("tone.8svx", "-b 8");
    const auto sphere = soxTone("tone.sph", "-b 16");
    plugin_test::expectRefused(
        *plugins, {
                      {"truncated.smp", {smp.begin(), smp.begin() + 30000}},
                      // IRCAM headers give no length: a cut file is a shorter sound, but one
                      // without data is no sound at all.
                      {"header-only.sf", {ircam.begin(), ircam.begin() + 1024}},
                      {"truncated.avr", {avr.begin(), avr.begin() + 30000}},
                      {"truncated.8svx", {svx.begin(), svx.begin() + 15000}},
                      {"truncated.sph", {sphere.begin(), sphere.begin() + 30000}},
                      {"header-only.sph", {sphere.begin(), sphere.begin() + 1024}},
                      {"huge-count.smp", patched(smp, 112, {0xFF, 0xFF, 0xFF, 0x7F})},
                      {"zero-rate.sf", patched(ircam, 4, {0, 0, 0, 0})},
                      {"many-channels.sf", patched(ircam, 8, {0x00, 0x10, 0, 0})},
                      {"huge-count.avr", patched(avr, 26, {0x7F, 0xFF, 0xFF, 0xFF})},
                      {"zero-rate.avr", patched(avr, 22, {0, 0, 0, 0})},
                      {"huge-body.8svx",
                       patched(svx, chunkSizeOffset(svx, "BODY"), {0x7F, 0xFF, 0xFF, 0xFF})},
                      {"endless-chunks.8svx",
                       patched(std::vector<uint8_t>(140, 0), 0,
                               {'F', 'O', 'R', 'M', 0xFF, 0, 4, 0x10, '8', 'S', 'V', 'X',
                                'V', 'H', 'D', 'R', 0,    0, 0, 20,   0,   0,   3,   0xE8})},
                      {"chunk-pointing-back.8svx",
                       patched(svx, chunkSizeOffset(svx, "ANNO"), {0xFF, 0xFF, 0xFF, 0xF8})},
                      {"magic-then-noise.avr",
                       patched(plugin_test::noiseBytes(4096), 0, {'2', 'B', 'I', 'T'})},
                  });
}

} // namespace
