// Sources every decoder must refuse with a result: no crash, no hang, no false accept (a false
// accept would keep the module ripper from ever seeing the file).
#include "DecoderTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

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

void putWord(std::vector<uint8_t>& bytes, size_t at, unsigned value) {
    bytes[at] = static_cast<uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<uint8_t>(value);
}

// A packed Amiga module of the usual kind: a table of 31 eight-byte sample records (length,
// fine tune, volume, loop start, loop length), the song length and restart byte, a table of
// track offsets per pattern, compactly coded note data, then 8-bit sample data. It carries no
// signature that a player of plain modules knows.
std::vector<uint8_t> packedModule() {
    std::vector<uint8_t> bytes(31 * 8 + 2);
    for (size_t sample = 0; sample < 4; ++sample) {
        const size_t at = sample * 8;
        putWord(bytes, at, 1024);  // length in words
        bytes[at + 3] = 64;        // volume
        putWord(bytes, at + 4, 0); // loop start
        putWord(bytes, at + 6, 1); // no loop
    }
    bytes[31 * 8] = 8; // song length in patterns
    bytes[31 * 8 + 1] = 0x7F;
    for (unsigned pattern = 0; pattern < 8; ++pattern) {
        for (unsigned track = 0; track < 4; ++track) {
            bytes.push_back(0);
            bytes.push_back(static_cast<uint8_t>((pattern * 4 + track) * 3));
        }
    }
    std::mt19937 generator(7);
    for (int note = 0; note < 64 * 32; ++note) {
        bytes.push_back(static_cast<uint8_t>(generator() % 0x48)); // note and sample bits
        bytes.push_back(static_cast<uint8_t>(generator() % 0x10)); // effect
        bytes.push_back(static_cast<uint8_t>(generator()));        // effect value
    }
    for (int i = 0; i < 4 * 2048; ++i) {
        bytes.push_back(static_cast<uint8_t>(static_cast<int8_t>(100 * std::sin(i * 0.07))));
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

} // namespace
} // namespace audio::test
