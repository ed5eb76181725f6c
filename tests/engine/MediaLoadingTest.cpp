// Loading real media: gzip-compressed songs play from memory and leave nothing on disk, a file
// that only the module ripper can make playable plays the converted module, and a live stream
// has no end and plays on through a drop.
#include "EngineTestSupport.h"
#include "IcecastServer.h"
#include "ModulePacker.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <thread>

namespace enginetest {
namespace {

std::string media(const std::string& name) {
    const char* dir = std::getenv("TAMBERLO_TEST_MEDIA");
    return std::string(dir != nullptr ? dir : TAMBERLO_TEST_MEDIA_DIR) + "/" + name;
}

std::string ripperBesidePrograms() {
    const char* dir = std::getenv("TAMBERLO_APP_DIR");
    return std::string(dir != nullptr ? dir : TAMBERLO_APP_DIR_PATH) + "/tamberlo-rip";
}

TEST(MediaLoading, GzipSongsPlayFromMemoryWithTheirOwnType) {
    struct Case {
        const char* file;
        const char* type;
    };
    const Case cases[] = {
        {"mod/area1-game.mod.gz", "Protracker/Fasttracker"},
        {"music.wav.gz", "Microsoft WAV"},
        {"music.mp3.gz", "MP2/MP3 MPEG"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        ScratchDir dir("gzip");
        CapturedLog log(dir.file("log.html"));
        auto engine = offlineEngine();
        const Loaded loaded = load(*engine, media(c.file), 0, false, true);
        ASSERT_TRUE(loaded.ok);
        EXPECT_EQ(loaded.type, c.type);
        EXPECT_GT(loaded.end, 0);
        EXPECT_TRUE(log.contains("read bytes:180000"));
        engine->startSlot(0);
        mixMs(*engine, 200);
        EXPECT_GT(positionMs(*engine, 0), 0u);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1)
            << "only the log: nothing unpacked onto disk";
    }
}

TEST(MediaLoading, RefusedFileWithAPackedModulePlaysTheRippedModule) {
    ScratchDir dir("rip");
    const auto module = ProTrackerModule::parse(readBytes(media("mod/area1-game.mod")));
    ASSERT_TRUE(module.has_value());
    // Junk in front keeps every decoder from recognising the packed module.
    std::vector<uint8_t> file(4096, 0xA5);
    const Bytes packed = packNoisePackerV2(*module);
    file.insert(file.end(), packed.begin(), packed.end());
    writeBytes(dir.file("packed.bin"), file);

    CapturedLog log(dir.file("log.html"));
    auto engine = offlineEngine();
    engine->setRipperPath(ripperBesidePrograms());
    const Loaded loaded = load(*engine, dir.file("packed.bin"), 1, false, true);
    ASSERT_TRUE(loaded.ok);
    EXPECT_TRUE(log.contains("Module ripper ripped a song!"));
    EXPECT_EQ(loaded.type, "Protracker/Fasttracker");
    EXPECT_GT(loaded.end, 10000) << "measured on the ripped module";
    EXPECT_FALSE(std::filesystem::exists("-1.mod"));
    engine->startSlot(1);
    mixMs(*engine, 500);
    EXPECT_GT(positionMs(*engine, 1), 400u);
}

TEST(MediaLoading, LiveStreamHasNoEndAndTheUnknownLengthLimitActsFromItsSecondPlay) {
    tamberlo::test::IcecastServer server;
    ASSERT_TRUE(server.started()) << "icecast did not start";
    server.feed(media("music.mp3"), "mp3", "audio/mpeg", "radio.mp3");
    ScratchDir dir("stream");
    CapturedLog log(dir.file("log.html"));
    auto engine = offlineEngine();
    PlaybackSequencer sequencer(*engine);
    SequencerOptions options;
    options.gapless = true;
    options.unknownLimit = true;
    options.unknownLimitSeconds = 1;
    sequencer.setOptions(options);

    SequencedEntry radio;
    radio.path = server.url("radio.mp3");
    // The mount exists once the source has connected: try for a while, as a listener would.
    PlaybackSequencer::StartResult first;
    for (int attempt = 0; attempt < 60 && !first.loaded; ++attempt) {
        first = sequencer.start(radio);
        if (!first.loaded) {
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
        }
    }
    ASSERT_TRUE(first.loaded);
    EXPECT_FALSE(first.seekable);
    EXPECT_TRUE(log.contains("Sound is of unlimited length, skipping get real sound end"));
    EXPECT_EQ(sequencer.endMs(), PlaybackSequencer::UnknownLengthMs) << "first play: no end";
    EXPECT_EQ(radio.lengthMs, 1000u) << "the limit is stored for the next play";
    EXPECT_EQ(radio.formatName, "MP2/MP3 MPEG");
    for (int tick = 0; tick < 60; ++tick) {
        mixMs(*engine, 20);
        ASSERT_FALSE(sequencer.tick().ended) << tick;
    }

    ASSERT_TRUE(sequencer.start(radio).loaded);
    EXPECT_EQ(sequencer.endMs(), 1000u);
    EXPECT_EQ(ticksUntilEnd(*engine, sequencer, 200), 50);
    EXPECT_EQ(radio.lengthMs, 1000u) << "the limit stays stored";
    const PlaybackSequencer::StartResult third = sequencer.start(radio);
    ASSERT_TRUE(third.loaded);
    EXPECT_FALSE(third.seekable);
    EXPECT_EQ(sequencer.endMs(), 1000u) << "every later play is cut off at the limit";
    sequencer.stop();
}

// The player's side of a drop: the song goes on through the reconnect (the default back-off:
// the first try a second after the drop, before the source is back), the log names the tries
// and each title once.
TEST(MediaLoading, ADroppedStreamPlaysOnAndTheLogNamesItsTriesAndEachTitleOnce) {
    tamberlo::test::IcecastServer server;
    ASSERT_TRUE(server.started()) << "icecast did not start";
    server.feed(media("music.mp3"), "mp3", "audio/mpeg", "radio.mp3");
    ASSERT_TRUE(server.waitForMount("radio.mp3", 15000));
    ScratchDir dir("reconnect");
    CapturedLog log(dir.file("log.html"));
    auto engine = offlineEngine();
    PlaybackSequencer sequencer(*engine);
    SequencedEntry radio;
    radio.path = server.url("radio.mp3");
    ASSERT_TRUE(sequencer.start(radio).loaded);
    ASSERT_TRUE(server.setStreamTitle("radio.mp3", "Morning Show"));

    // Ticks as the player does until `text` is in the log or `seconds` pass; the song must not
    // end meanwhile.
    const auto tickUntilLogged = [&](const std::string& text, double seconds) {
        const auto start = std::chrono::steady_clock::now();
        while (!log.contains(text) &&
               std::chrono::steady_clock::now() - start < std::chrono::duration<double>(seconds)) {
            mixMs(*engine, 20);
            if (sequencer.tick().ended) {
                return false;
            }
        }
        return log.contains(text);
    };
    ASSERT_TRUE(tickUntilLogged("Stream title: Morning Show", 10));

    server.stopFeeding();
    std::thread restart([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        server.feed(media("music.mp3"), "mp3", "audio/mpeg", "radio.mp3");
        if (server.waitForMount("radio.mp3", 5000)) {
            server.setStreamTitle("radio.mp3", "Evening News");
        }
    });
    const bool secondTitle = tickUntilLogged("Stream title: Evening News", 30);
    restart.join();
    EXPECT_TRUE(secondTitle);
    EXPECT_GT(mixMs(*engine, 500), 0.01f) << "sound after the reconnect";
    EXPECT_FALSE(sequencer.tick().ended);

    int morning = 0;
    bool firstTry = false;
    bool reconnected = false;
    for (const LogEntry& entry : log.entries()) {
        morning += entry.text == "Stream title: Morning Show" ? 1 : 0;
        firstTry = firstTry || (entry.level == 1 && entry.text == "Stream dropped, reconnecting "
                                                                  "(try 1 of 4): " +
                                                                      radio.path);
        reconnected = reconnected || entry.text == "Stream reconnected: " + radio.path;
    }
    EXPECT_EQ(morning, 1) << "a title is logged once";
    EXPECT_TRUE(firstTry);
    EXPECT_TRUE(reconnected);
    sequencer.stop();
}

} // namespace
} // namespace enginetest
