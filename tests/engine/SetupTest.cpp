// Engine start-up, the result check and the effect switches.
#include "EngineTestSupport.h"

#include <gtest/gtest.h>

namespace enginetest {
namespace {

TEST(EngineSetup, LogsEveryMissingPluginWithItsLevelAndAnAudioError) {
    ScratchDir dir("plugins"); // no plugin/ folder here
    CapturedLog log(dir.file("log.html"));
    auto engine = offlineEngine();

    // The game and module codecs fail quietly: "Error: ..." in black; the others fail in red.
    const std::pair<const char*, bool> plugins[] = {
        {"codec_sid.so", false},    {"codec_game.so", true},   {"codec_audiofile.so", false},
        {"codec_adplug.so", false}, {"codec_libmod.so", true}, {"codec_fc.so", false},
        {"codec_ym.so", false},
    };
    const std::vector<LogEntry> lines = log.entries();
    ASSERT_GE(lines.size(), 3 * std::size(plugins));
    size_t at = 0;
    for (const auto& [name, quiet] : plugins) {
        SCOPED_TRACE(name);
        EXPECT_EQ(lines[at].level, 0);
        EXPECT_EQ(lines[at].text, std::string("Trying to load ") + name);
        EXPECT_EQ(lines[at + 1].level, quiet ? 0 : 2);
        EXPECT_EQ(lines[at + 1].text,
                  std::string(quiet ? "Error: " : "") + "Loading of " + name + " failed!");
        EXPECT_EQ(lines[at + 2].level, 2);
        EXPECT_EQ(lines[at + 2].text.rfind("Audio error! (", 0), 0u) << lines[at + 2].text;
        at += 3;
    }
    // The rest of start-up (speaker mode, init, effect units) succeeded silently.
    EXPECT_EQ(lines.size(), at);
    EXPECT_EQ(engine->getReverbParameters(),
              (std::array<float, 5>{0.71f, 0.56f, 0.15f, 0.5f, 1.0f}));
}

TEST(EngineSetup, CheckResultLogsFailuresOnlyWithCodeTextAndContext) {
    ScratchDir dir("check");
    auto engine = offlineEngine();
    CapturedLog log(dir.file("log.html"));
    engine->checkResult(audio::Result::Ok, "quiet");
    engine->checkResult(audio::Result::FileNotFound, "song.mp3");
    const std::vector<LogEntry> lines = log.entries();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, 2);
    EXPECT_EQ(lines[0].text, std::string("Audio error! (3) ") +
                                 audio::errorString(audio::Result::FileNotFound) + " song.mp3");
}

TEST(EngineSetup, ReverbSwitchDecidesWhetherASoundRingsOnAndVolumeZeroSilences) {
    ScratchDir dir("effects");
    // 100 ms of a loud square wave, then nothing.
    writeWav(dir.file("click.wav"), 44100, 4410,
             [](uint32_t f, int) { return static_cast<int16_t>(f % 100 < 50 ? 20000 : -20000); });
    struct Case {
        const char* name;
        bool reverb;
        float volume;
        bool ringsOn;
        bool audible;
    };
    const Case cases[] = {
        {"dry", false, 1.0f, false, true},
        {"reverb", true, 1.0f, true, true},
        {"muted", false, 0.0f, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto engine = offlineEngine();
        engine->setReverbWetMix(1.0f);
        engine->setReverbEnabled(c.reverb);
        engine->setMasterVolume(c.volume);
        ASSERT_TRUE(load(*engine, dir.file("click.wav"), 0).ok);
        engine->startSlot(0);
        EXPECT_EQ(mixMs(*engine, 100) > 0.01f, c.audible);
        EXPECT_EQ(mixMs(*engine, 200) > 0.001f, c.ringsOn) << "after the song has played out";
    }
}

} // namespace
} // namespace enginetest
