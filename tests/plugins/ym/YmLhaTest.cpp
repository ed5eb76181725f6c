// Our LHA reader and -lh5- unpacker against our packer: round trips of random and repetitive
// data, and refusal of damaged archives.
#include "DecoderTestSupport.h"
#include "LhStaticDecoder.h"
#include "LhaArchive.h"
#include "PluginTestSupport.h"
#include "YmLh5Packer.h"
#include "YmWriter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

namespace {

using Bytes = std::vector<uint8_t>;

std::optional<Bytes> unpack(const Bytes& archive) {
    const auto member = ym::readLhaHeader(archive);
    if (!member) {
        return std::nullopt;
    }
    return ym::unpackLhaMember(archive, *member, size_t{64} << 20);
}

Bytes repeatedText(size_t size) {
    const std::string line = "Atari ST YM2149 register dump, frame after frame. ";
    Bytes bytes;
    for (size_t i = 0; bytes.size() < size; ++i) {
        bytes.insert(bytes.end(), line.begin(), line.end());
        bytes.push_back(static_cast<uint8_t>('0' + i % 10));
    }
    bytes.resize(size);
    return bytes;
}

// Half random bytes, half runs: exercises long and short matches and many literals.
Bytes mixed(size_t size) {
    Bytes bytes = plugin_test::noiseBytes(size, 7);
    for (size_t i = 0; i < size; i += 1000) {
        for (size_t k = i; k < std::min(size, i + 500); ++k) {
            bytes[k] = static_cast<uint8_t>(k / 300);
        }
    }
    return bytes;
}

Bytes ym5Song() {
    chipgen::YmDescription song;
    song.frames = chipgen::ymToneFrames(284, 15, 500);
    return chipgen::writeYm(song, chipgen::YmFormat::Ym5);
}

TEST(YmLha, PackedDataComesBackUnchanged) {
    struct Case {
        const char* label;
        Bytes data;
        chipgen::LhaMemberOptions options;
    };
    const Case cases[] = {
        {"one byte", {42}, {}},
        {"random 100 KiB", plugin_test::noiseBytes(100000, 3), {}},
        {"repetitive 300 KiB, level 1", repeatedText(300000), {"x.ym", 1, false}},
        {"zeros past the window", Bytes(70000, 0), {}},
        {"runs and noise", mixed(50000), {}},
        {"YM5 dump", ym5Song(), {}},
        {"stored", repeatedText(5000), {"a.ym", 0, true}},
        {"level 2", mixed(40000), {"level2.ym", 2, false}},
    };
    for (const auto& c : cases) {
        const Bytes archive = chipgen::lhaArchive(c.data, c.options);
        EXPECT_EQ(unpack(archive), c.data) << c.label;
    }
    // Many small blocks, each with its own tables.
    const Bytes text = repeatedText(20000);
    const Bytes stream = chipgen::lh5Compress(text, 100);
    EXPECT_EQ(ym::decodeLhStatic(stream, text.size(), 13), text);
}

TEST(YmLha, DamagedArchivesAreRefused) {
    const Bytes good = chipgen::lhaArchive(mixed(20000), {});
    const size_t headerEnd = 2 + good[0];
    struct Case {
        const char* label;
        std::function<void(Bytes&)> damage;
    };
    const Case cases[] = {
        {"cut in half", [](Bytes& a) { a.resize(a.size() / 2); }},
        {"cut in the header", [](Bytes& a) { a.resize(15); }},
        {"wrong CRC", [](Bytes& a) { a[2 + a[0] - 2] ^= 0x55; }},
        {"header checksum", [](Bytes& a) { a[1] ^= 1; }},
        {"unknown method", [](Bytes& a) { a[5] = 'x'; }},
        {"absurd original size", [](Bytes& a) { a[14] = 0xFF; }},
        {"packed size past the end", [](Bytes& a) { a[10] = 0x7F; }},
        // An all-ones table of code lengths can never be a complete code.
        {"bad code-length table",
         [headerEnd](Bytes& a) {
             for (size_t i = headerEnd + 2; i < headerEnd + 8; ++i) {
                 a[i] = 0xFF;
             }
         }},
        {"empty block", [headerEnd](Bytes& a) { a[headerEnd] = a[headerEnd + 1] = 0; }},
        {"flipped bits in the data",
         [headerEnd](Bytes& a) {
             for (size_t i = headerEnd + 400; i < a.size(); i += 97) {
                 a[i] ^= 0x24;
             }
         }},
    };
    ASSERT_TRUE(unpack(good));
    for (const auto& c : cases) {
        Bytes damaged = good;
        c.damage(damaged);
        // Header fields are covered by the header checksum: fix it up so the unpacker sees them.
        if (std::string(c.label) != "header checksum" && damaged.size() > headerEnd) {
            uint8_t sum = 0;
            for (size_t i = 2; i < headerEnd; ++i) {
                sum = static_cast<uint8_t>(sum + damaged[i]);
            }
            damaged[1] = sum;
        }
        EXPECT_FALSE(unpack(damaged)) << c.label;
    }
}

TEST(YmLha, MalformedHuffmanTablesAreRefused) {
    // Block size 1, then the code-length table: 5 bits of count, 3 bits per length.
    struct Case {
        const char* label;
        Bytes stream;
    };
    const Case cases[] = {
        {"three 1-bit codes", {0x00, 0x01, 0x19, 0x24, 0x00, 0x00}},
        {"a 1-bit and a 2-bit code only", {0x00, 0x01, 0x11, 0x40, 0x00, 0x00}},
        {"more than 19 lengths", {0x00, 0x01, 0xA0, 0x00, 0x00, 0x00}},
        {"stream ends in the table", {0x00, 0x01, 0x19}},
    };
    for (const auto& c : cases) {
        EXPECT_FALSE(ym::decodeLhStatic(c.stream, 100, 13)) << c.label;
    }
}

// When an outside archiver is installed, it must read what our packer writes.
TEST(YmLha, OutsideArchiverReadsOurArchives) {
    if (std::system("command -v bsdtar >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "bsdtar not installed";
    }
    const Bytes data = mixed(30000);
    const std::string archive =
        audio::test::writeTempFile("packed.lzh", chipgen::lhaArchive(data, {}));
    const std::string out = archive + ".out";
    ASSERT_EQ(std::system(("bsdtar -xOf '" + archive + "' > '" + out + "'").c_str()), 0);
    std::ifstream file(out, std::ios::binary);
    const Bytes extracted((std::istreambuf_iterator<char>(file)), {});
    EXPECT_EQ(extracted, data);
}

} // namespace
