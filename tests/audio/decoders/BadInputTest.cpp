// Sources every decoder must refuse with a result: no crash, no hang, no false accept (a false
// accept would keep the module ripper from ever seeing the file), and misbehaving servers, each
// refused with the result that names what went wrong and within bounded memory.
#include "ChildProcess.h"
#include "DecoderTestSupport.h"
#include "ModulePacker.h"
#include "ScriptedHttpServer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <unistd.h>

namespace audio::test {
namespace {

std::vector<uint8_t> randomBytes(size_t size, unsigned seed) {
    std::mt19937 generator(seed);
    std::vector<uint8_t> bytes(size);
    for (auto& byte : bytes) {
        byte = static_cast<uint8_t>(generator());
    }
    return bytes;
}

std::vector<uint8_t> textBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

struct BadFile {
    const char* name;
    std::vector<uint8_t> (*make)();
    Result expected;
};

std::vector<uint8_t> empty() {
    return {};
}
std::vector<uint8_t> randomSmall() {
    return randomBytes(3000, 1);
}
std::vector<uint8_t> randomLarge() {
    return randomBytes(400000, 2);
}
std::vector<uint8_t> truncatedMp3() {
    auto bytes = fileBytes(mediaPath("music.mp3"));
    bytes.resize(1500);
    return bytes;
}
std::vector<uint8_t> zipArchive() {
    return fileBytes(mediaPath("songs.zip"));
}
std::vector<uint8_t> gzipWav() {
    return fileBytes(mediaPath("music.wav.gz"));
}
std::vector<uint8_t> gzipModule() {
    return fileBytes(mediaPath("mod/area1-game.mod.gz"));
}
// A packed module, which carries no signature that a player of plain modules knows.
std::vector<uint8_t> packedModule() {
    return packNoisePackerV2(*ProTrackerModule::parse(fileBytes(mediaPath("mod/area1-game.mod"))));
}
std::vector<uint8_t> concatList() {
    return textBytes("ffconcat version 1.0\nfile " + mediaPath("music.mp3") + "\n");
}
std::vector<uint8_t> hlsList() {
    return textBytes("#EXTM3U\n#EXT-X-TARGETDURATION:20\n#EXTINF:20,\nfile:" +
                     mediaPath("music.mp3") + "\n#EXT-X-ENDLIST\n");
}

class BadFileInput : public testing::TestWithParam<BadFile> {};

TEST_P(BadFileInput, IsRefusedFromFileAndFromMemory) {
    const auto bytes = GetParam().make();
    DecoderSource fromFile;
    fromFile.path = writeTempFile(GetParam().name, bytes);
    std::unique_ptr<Decoder> decoder;
    EXPECT_EQ(openDecoder(fromFile, nullptr, &decoder), GetParam().expected);
    EXPECT_FALSE(decoder);

    DecoderSource fromMemory;
    fromMemory.path = GetParam().name;
    fromMemory.memory = std::make_shared<std::vector<uint8_t>>(bytes);
    const Result result = openDecoder(fromMemory, nullptr, &decoder);
    EXPECT_TRUE(result == Result::FormatUnsupported || result == Result::FormatCorrupt ||
                result == Result::ProtocolRefused)
        << errorString(result);
    EXPECT_FALSE(decoder);
}

INSTANTIATE_TEST_SUITE_P(
    Refused, BadFileInput,
    testing::Values(BadFile{"empty.mp3", empty, Result::FormatUnsupported},
                    BadFile{"random-small.mp3", randomSmall, Result::FormatUnsupported},
                    BadFile{"random-large.bin", randomLarge, Result::FormatUnsupported},
                    BadFile{"truncated.mp3", truncatedMp3, Result::FormatUnsupported},
                    BadFile{"songs.zip", zipArchive, Result::FormatUnsupported},
                    BadFile{"music.wav.gz", gzipWav, Result::FormatUnsupported},
                    BadFile{"module.mod.gz", gzipModule, Result::FormatUnsupported},
                    BadFile{"packed.mod", packedModule, Result::FormatUnsupported},
                    // Lists that would make the demuxer read other files.
                    BadFile{"concat-list.mp3", concatList, Result::ProtocolRefused},
                    BadFile{"hls-list.mp3", hlsList, Result::ProtocolRefused}),
    [](const auto& info) { return testName(info.param.name); });

// A symbolic link that points at itself: stat fails with ELOOP, not ENOENT.
std::string loopingLink() {
    const std::string path = writeTempFile("loop.mp3", {});
    std::filesystem::remove(path);
    std::filesystem::create_symlink(path, path);
    return path;
}

TEST(BadLocation, UnsafeOrMissingLocationsAreRefused) {
    const std::string song = mediaPath("music.mp3");
    const struct {
        std::string path;
        Result expected;
    } cases[] = {
        {"", Result::FileNotFound},
        {song + ".missing", Result::FileNotFound},
        {"no-such-file.mp3", Result::FileNotFound},
        {mediaPath("mod"), Result::FileUnreadable},
        // Present but out of reach is not "not found".
        {loopingLink(), Result::FileUnreadable},
        {"concat:" + song + "|" + song, Result::ProtocolRefused},
        {"subfile:,start,0,end,1000,:" + song, Result::ProtocolRefused},
        {"pipe:0", Result::ProtocolRefused},
        // A relative name that starts like a scheme is never read as a path.
        {"song: live.mp3", Result::ProtocolRefused},
        {"data:audio/mpeg;base64,AAAA", Result::ProtocolRefused},
        {"ftp://127.0.0.1/x.mp3", Result::ProtocolRefused},
        {"file://otherhost/x.mp3", Result::ProtocolRefused},
    };
    for (const auto& c : cases) {
        DecoderSource source;
        source.path = c.path;
        std::unique_ptr<Decoder> decoder;
        EXPECT_EQ(openDecoder(source, nullptr, &decoder), c.expected) << c.path;
        EXPECT_FALSE(decoder);
    }
    EXPECT_EQ(openDecoder(DecoderSource{}, nullptr, nullptr), Result::InvalidParameter);
}

using Script = tamberlo::test::ScriptedHttpServer::Script;

std::string fileText(const std::string& path) {
    const std::vector<uint8_t> bytes = fileBytes(path);
    return {bytes.begin(), bytes.end()};
}

// An ID3 tag header that announces 200 MB of tag data: the MP3 demuxer keeps a tag in memory.
std::string hugeTagHeader() {
    const uint32_t size = 200u << 20;
    const char syncSafe[4] = {
        static_cast<char>((size >> 21) & 0x7F), static_cast<char>((size >> 14) & 0x7F),
        static_cast<char>((size >> 7) & 0x7F), static_cast<char>(size & 0x7F)};
    return std::string("ID3\x03\x00\x00", 6) + std::string(syncSafe, 4);
}

struct HostileServer {
    const char* name;
    Script script;
    Result expected;
};

TEST(HostileServer, EachFailureIsReportedForWhatItIs) {
    const std::string mp3 = fileText(mediaPath("music.mp3"));
    const std::string ok = "HTTP/1.0 200 OK\r\nContent-Type: audio/mpeg\r\n\r\n";
    const std::string empty = "Content-Length: 0\r\n\r\n";
    const HostileServer cases[] = {
        {"silent", {.head = ""}, Result::NetworkTimeout},
        {"endless headers",
         {.head = "HTTP/1.0 200 OK\r\n",
          .body = "X-Filler: " + std::string(1000, 'a') + "\r\n",
          .repeat = -1},
         Result::NetworkTimeout},
        {"server error",
         {.head = "HTTP/1.0 500 Oops\r\n" + empty, .hangUp = true},
         Result::HttpError},
        {"not found", {.head = "HTTP/1.0 404 Gone\r\n" + empty, .hangUp = true}, Result::HttpError},
        {"redirect loop",
         {.head = "HTTP/1.0 302 Found\r\nLocation: /again\r\n" + empty, .hangUp = true},
         Result::NetworkBadAnswer},
        {"not http", {.head = "garbage garbage\r\n\r\n", .hangUp = true}, Result::NetworkBadAnswer},
        {"web page",
         {.head = "HTTP/1.0 200 OK\r\nContent-Type: text/html\r\n\r\n",
          .body = "<html><body>" + std::string(100000, 'x') + "</body></html>"},
         Result::FormatUnsupported},
        // 400 bytes a second: not even the format is known before the time is up.
        {"trickle",
         {.head = "HTTP/1.0 200 OK\r\n\r\n", .body = mp3, .chunkBytes = 20, .pauseMs = 50},
         Result::NetworkTooSlow},
        // A tag of 200 MB (100 MiB of it sent): without a bound the demuxer would keep it all.
        {"huge tag",
         {.head = ok + hugeTagHeader(), .body = std::string(1 << 20, '\0'), .repeat = 100},
         Result::StreamOverBudget},
        // SHOUTcast's status line is a stream like any other.
        {"icy",
         {.head = "ICY 200 OK\r\nicy-name: test\r\nContent-Type: audio/mpeg\r\n\r\n", .body = mp3},
         Result::Ok},
    };
    for (const HostileServer& c : cases) {
        SCOPED_TRACE(c.name);
        tamberlo::test::ScriptedHttpServer server(c.script);
        DecoderSource source;
        source.path = server.url("/stream");
        source.network.connectTimeoutMs = 1500;
        source.network.readTimeoutMs = 1500;
        std::unique_ptr<Decoder> decoder;
        const Result result = openDecoder(source, nullptr, &decoder);
        EXPECT_EQ(result, c.expected) << errorString(result);
        EXPECT_EQ(decoder != nullptr, c.expected == Result::Ok);
        if (c.expected == Result::StreamOverBudget) {
            // What was read stayed near the bound (kernel socket buffers come on top).
            EXPECT_LT(server.bytesSent(), int64_t{100} << 20);
        }
    }
    // Nobody listens: the one case where "could not connect" is the truth.
    DecoderSource closed;
    closed.path = "http://127.0.0.1:" + std::to_string(tamberlo::test::freeLocalPort()) + "/x";
    std::unique_ptr<Decoder> decoder;
    EXPECT_EQ(openDecoder(closed, nullptr, &decoder), Result::NetworkConnect);
}

TEST(HostileServer, AStreamThatKeepsGivingSoundIsNotCutByTheByteBound) {
    tamberlo::test::ScriptedHttpServer server(
        {.head = "HTTP/1.0 200 OK\r\nContent-Type: audio/mpeg\r\n\r\n",
         .body = fileText(mediaPath("music.mp3")),
         .repeat = 4,
         .hangUp = true});
    DecoderSource source;
    source.path = server.url("/radio");
    source.network.maxBytesWithoutSound = 256 << 10; // far less than the stream sends in all
    source.network.reconnectTries = 0; // this server answers every reconnect with the same file
    std::unique_ptr<Decoder> decoder;
    ASSERT_EQ(openDecoder(source, nullptr, &decoder), Result::Ok);
    const std::vector<float> all = readAll(*decoder);
    EXPECT_EQ(decoder->lastError(), Result::NetworkRead) << "ends only when the server hangs up";
    const auto once = openOrFail(mediaPath("music.mp3"));
    EXPECT_GT(all.size(), 3 * readAll(*once).size()) << "more than three plays of the file";
}

} // namespace
} // namespace audio::test
