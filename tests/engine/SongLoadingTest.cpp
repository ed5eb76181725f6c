// Loading songs into slots: slot mapping and base frequencies, creation modes, trim off, and
// bad input that must be logged and refused without crashing or hanging.
#include "EngineTestSupport.h"

#include <arpa/inet.h>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace enginetest {
namespace {

std::function<int16_t(uint32_t, int)> tone() {
    return [](uint32_t f, int) { return static_cast<int16_t>(f % 64 < 32 ? 8000 : -8000); };
}

bool channelPlays(const SoundEngine& engine, int slot) {
    bool playing = false;
    engine.getChannel(slot).isPlaying(&playing);
    return playing;
}

TEST(SongLoading, SlotsUseTheirOwnChannelAndCrosswiseFrequencyFields) {
    ScratchDir dir("slots");
    writeWav(dir.file("48k.wav"), 48000, 48000, tone());
    writeWav(dir.file("22k.wav"), 22050, 22050, tone());
    auto engine = offlineEngine();
    int end = 0;
    std::string type;
    ASSERT_TRUE(engine->loadSong(dir.file("48k.wav"), 1, false, false, 0, &end, &type));
    EXPECT_EQ(engine->getBaseFrequency(1), 48000);
    EXPECT_EQ(engine->getBaseFrequency(0), 0);
    EXPECT_TRUE(channelPlays(*engine, 1));
    EXPECT_FALSE(channelPlays(*engine, 0));
    ASSERT_TRUE(engine->loadSong(dir.file("22k.wav"), 0, false, false, 0, &end, &type));
    EXPECT_EQ(engine->getBaseFrequency(0), 22050);
    EXPECT_EQ(engine->getBaseFrequency(1), 48000);
    EXPECT_TRUE(channelPlays(*engine, 0));
    EXPECT_EQ(type, "Microsoft WAV");
    EXPECT_EQ(end, 1000); // trim off: the full length
}

TEST(SongLoading, LoadedSongWaitsPausedAtZeroUntilStartSlot) {
    ScratchDir dir("paused");
    writeWav(dir.file("a.wav"), 44100, 44100, tone());
    auto engine = offlineEngine();
    int end = 0;
    std::string type;
    ASSERT_TRUE(engine->loadSong(dir.file("a.wav"), 0, false, false, 0, &end, &type));
    mixMs(*engine, 100);
    unsigned position = 1;
    engine->getChannel(0).getPosition(&position, audio::TimeUnit::Ms);
    EXPECT_EQ(position, 0u);
    EXPECT_TRUE(engine->startSlot(0));
    mixMs(*engine, 100);
    engine->getChannel(0).getPosition(&position, audio::TimeUnit::Ms);
    EXPECT_EQ(position, 100u);
    engine->stopAll();
    EXPECT_FALSE(channelPlays(*engine, 0));
    EXPECT_FALSE(engine->isLoaded(0));
    EXPECT_EQ(engine->getSound(0), nullptr);
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
        int end = 0;
        std::string type;
        ASSERT_TRUE(engine->loadSong(dir.file(c.name), 0, c.accurate, false, 0, &end, &type));
        EXPECT_EQ(loadedAsWholeSample(*engine, 0), c.wholeSample);
    }
}

// A TCP port on this machine that nothing listens on.
int closedPort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), size);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    ::close(fd);
    return ntohs(address.sin_port);
}

std::vector<uint8_t> gzipBytes(const std::vector<uint8_t>& data) {
    uLongf size = compressBound(static_cast<uLong>(data.size())) + 32;
    std::vector<uint8_t> out(size);
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY); // gzip wrapper
    stream.next_in = const_cast<uint8_t*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

TEST(SongLoading, BadInputIsLoggedAndRefusedWithoutHarm) {
    ScratchDir dir("bad");
    writeWav(dir.file("song.wav"), 44100, 44100, tone());
    const std::vector<uint8_t> gz = gzipBytes(readBytes(dir.file("song.wav")));

    std::vector<uint8_t> bomb = gz; // a small file whose trailer claims 4 GiB
    bomb[bomb.size() - 4] = bomb[bomb.size() - 3] = bomb[bomb.size() - 2] = bomb[bomb.size() - 1] =
        0xFF;
    writeBytes(dir.file("bomb.wav.gz"), bomb);
    writeBytes(dir.file("truncated.wav.gz"), {gz.begin(), gz.begin() + gz.size() / 2});
    std::vector<uint8_t> understated = gz; // the trailer claims less than the data holds
    understated[understated.size() - 4] = 0x10;
    understated[understated.size() - 3] = understated[understated.size() - 2] =
        understated[understated.size() - 1] = 0;
    writeBytes(dir.file("understated.wav.gz"), understated);
    std::filesystem::create_directory(dir.file("folder.wav")); // opens, but cannot be read
    writeBytes(dir.file("noise.bin"), std::vector<uint8_t>(5000, 0x5A));

    struct Case {
        std::string path;
        std::string logged;
    };
    const Case cases[] = {
        {dir.file("bomb.wav.gz"), "claims 4294967295 bytes uncompressed"},
        {dir.file("truncated.wav.gz"), "Gzip file"}, // damaged, or a garbage trailer too large
        {dir.file("understated.wav.gz"), "is damaged"},
        {dir.file("folder.wav"), "Audio error!"},
        {dir.file("missing.wav"), "Audio error!"},
        {dir.file("noise.bin"), "Audio error!"},
        {"http://127.0.0.1:" + std::to_string(closedPort()) + "/stream", "Audio error!"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        CapturedLog log(dir.file("log.html"));
        auto engine = offlineEngine();
        engine->setRipperPath("/bin/true"); // finds nothing, quickly
        int end = 0;
        std::string type = "stale";
        const auto started = std::chrono::steady_clock::now();
        EXPECT_FALSE(engine->loadSong(c.path, 1, false, true, 0, &end, &type));
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
        EXPECT_TRUE(log.contains(c.logged));
        EXPECT_EQ(type, "") << "no type name for a failed load";
        EXPECT_FALSE(channelPlays(*engine, 1));
        engine->stopAll(); // releasing a failed slot is refused, logged and harmless
    }
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
        // A ripper that leaves nothing: the stale module from an earlier run must not play.
        {"stale", "/bin/true", "Audio error!"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        writeBytes("-1.mod", std::vector<uint8_t>(2000, 1)); // stale output of an earlier run
        CapturedLog log(dir.file("log.html"));
        auto engine = offlineEngine();
        engine->setRipperPath(c.ripper);
        engine->setRipperTimeout(std::chrono::milliseconds(500));
        int end = 0;
        std::string type;
        EXPECT_FALSE(engine->loadSong(dir.file("noise.bin"), 0, false, false, 0, &end, &type));
        EXPECT_TRUE(log.contains(c.logged));
        EXPECT_FALSE(log.contains("Module ripper ripped a song!"));
        EXPECT_FALSE(fileExists("-1.mod"));
    }
}

} // namespace
} // namespace enginetest
