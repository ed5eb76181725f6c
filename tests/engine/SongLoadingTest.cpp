// Loading songs into slots: slot mapping and base frequencies, creation modes, trim off, a gzip
// trailer that lies and rippers that fail (other bad input: HostileInputTest).
#include "EngineTestSupport.h"
#include "GzipSong.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace enginetest {
namespace {

std::function<int16_t(uint32_t, int)> tone() {
    return [](uint32_t f, int) { return static_cast<int16_t>(f % 64 < 32 ? 8000 : -8000); };
}

TEST(SongLoading, SlotsKeepTheirOwnChannelAndFrequencyAndWaitPausedUntilStarted) {
    ScratchDir dir("slots");
    writeWav(dir.file("48k.wav"), 48000, 48000, tone());
    writeWav(dir.file("22k.wav"), 22050, 22050, tone());
    auto engine = offlineEngine();
    ASSERT_TRUE(load(*engine, dir.file("48k.wav"), 1).ok);
    EXPECT_EQ(engine->getBaseFrequency(1), 48000);
    EXPECT_EQ(engine->getBaseFrequency(0), 0);
    // Slot 1 is channel A; every other value is channel B, which is still empty.
    for (int slot : {1, 0, 2, -1}) {
        EXPECT_EQ(channelPlays(*engine, slot), slot == 1) << slot;
    }
    const Loaded loaded = load(*engine, dir.file("22k.wav"), 0);
    ASSERT_TRUE(loaded.ok);
    EXPECT_EQ(loaded.type, "Microsoft WAV");
    EXPECT_EQ(loaded.end, 1000); // trim off: the full length
    EXPECT_EQ(engine->getBaseFrequency(0), 22050);
    EXPECT_EQ(engine->getBaseFrequency(1), 48000);
    EXPECT_TRUE(channelPlays(*engine, 0));

    mixMs(*engine, 100);
    EXPECT_EQ(positionMs(*engine, 0), 0u) << "loaded paused";
    EXPECT_TRUE(engine->startSlot(0));
    mixMs(*engine, 100);
    EXPECT_EQ(positionMs(*engine, 0), 100u);
    EXPECT_EQ(positionMs(*engine, 1), 0u) << "only the started slot moves";
    engine->stopAll();
    for (int slot : {0, 1}) {
        EXPECT_FALSE(channelPlays(*engine, slot));
        EXPECT_FALSE(engine->isLoaded(slot));
        EXPECT_EQ(engine->getSound(slot), nullptr);
    }
}

// A stream plays on one channel at a time; a whole sample may play on several. So playing the
// slot's sound again tells the two creation modes apart.
bool loadedAsWholeSample(SoundEngine& engine, int slot) {
    audio::Channel second;
    engine.getSystem()->playSound(engine.getSound(slot), true, &second);
    return channelPlays(engine, slot);
}

TEST(SongLoading, LowerCaseFcLoadsAsWholeSampleEvenWithAccurateAndEverythingElseStreams) {
    ScratchDir dir("fc");
    struct Case {
        const char* name;
        bool accurate;
        bool wholeSample;
    };
    const Case cases[] = {
        {"song.fc", false, true},
        {"song.fc", true, true},
        {"song.FC", false, false},
        {"song.wav", true, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.name) + (c.accurate ? " accurate" : ""));
        writeWav(dir.file(c.name), 44100, 44100, tone());
        auto engine = offlineEngine();
        ASSERT_TRUE(load(*engine, dir.file(c.name), 0, c.accurate).ok);
        EXPECT_EQ(loadedAsWholeSample(*engine, 0), c.wholeSample);
    }
}

TEST(SongLoading, AGzipTrailerClaimingMoreThanTheDataHoldsCostsOnlyWhatUnpacks) {
    ScratchDir dir("overstated");
    writeWav(dir.file("song.wav"), 44100, 4410, tone());
    ASSERT_EQ(std::system("gzip -kn song.wav"), 0);
    std::vector<uint8_t> gz = readBytes(dir.file("song.wav.gz"));
    const uint32_t claimed = 400u << 20; // under the limit, far over the content
    for (size_t i = 0; i < 4; ++i) {
        gz[gz.size() - 4 + i] = static_cast<uint8_t>(claimed >> (8 * i));
    }
    writeBytes(dir.file("overstated.wav.gz"), gz);
    const engine_detail::GzipUnpacked unpacked =
        engine_detail::unpackGzipSong(dir.file("overstated.wav.gz"));
    // zlib checks the trailer at the stream's end, so the lie is caught; the buffer must not
    // have been sized by it on the way.
    EXPECT_EQ(unpacked.status, engine_detail::GzipUnpacked::Status::Damaged);
    EXPECT_TRUE(unpacked.data.empty());
    EXPECT_LT(unpacked.data.capacity(), size_t{32} << 20) << "memory follows the data";
}

// Writes an executable shell script standing in for the ripper.
std::string fakeRipper(const ScratchDir& dir, const std::string& name, const std::string& body) {
    const std::string path = dir.file(name);
    writeBytes(path, std::vector<uint8_t>(body.begin(), body.end()));
    ::chmod(path.c_str(), 0755);
    return path;
}

TEST(SongLoading, RipperThatCrashesHangsOrFailsNeverAffectsTheEngine) {
    ScratchDir dir("ripper");
    writeBytes(dir.file("noise.bin"), std::vector<uint8_t>(5000, 0x5A));
    struct Case {
        const char* name;
        std::string ripper;
        const char* logged;
    };
    const Case cases[] = {
        {"crash", fakeRipper(dir, "crash.sh", "#!/bin/sh\nkill -SEGV $$\n"), "crashed"},
        {"hang", fakeRipper(dir, "hang.sh", "#!/bin/sh\nexec sleep 30\n"), "in time"},
        {"fails", fakeRipper(dir, "fails.sh", "#!/bin/sh\nexit 3\n"), "Audio error!"},
        {"missing", dir.file("no-such-ripper"), "could not be started"},
        // A ripper that leaves nothing: the "-1.mod" in the current directory must not play.
        {"nothing", "/bin/true", "No packed module found in"},
    };
    // The user's own file of that name in the current directory: never read, never removed.
    const std::vector<uint8_t> users(2000, 1);
    writeBytes("-1.mod", users);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log(dir.file("log.html"));
        auto engine = offlineEngine();
        engine->setRipperPath(c.ripper);
        engine->setRipperTimeout(std::chrono::milliseconds(500));
        EXPECT_FALSE(load(*engine, dir.file("noise.bin"), 0).ok);
        EXPECT_TRUE(log.contains(c.logged));
        EXPECT_FALSE(log.contains("Module ripper ripped a song!"));
        EXPECT_EQ(readBytes("-1.mod"), users);
    }
}

} // namespace
} // namespace enginetest
