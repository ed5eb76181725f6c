// The scan and the NoisePacker v2 / AC1D converters on small modules made by the test packers:
// edge cases of the conversions, what the scan finds, and what it must leave alone.
#include "RipState.h"
#include "RipTestSupport.h"
#include "Scan.h"
#include "ScanOrder.h"
#include "formats/MultiChannel.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {
// Two patterns, three samples, a few notes.
ProTrackerModule smallModule(int songLength = 5) {
    ProTrackerModule module = ProTrackerModule::blank(2);
    module.header[950] = static_cast<std::uint8_t>(songLength);
    for (int i = 0; i < songLength; ++i)
        module.header[952 + i] = static_cast<std::uint8_t>(i % 2);
    module.setSample(0, 100, 0, 64, 0, 1);
    module.setSample(1, 50, 3, 32, 10, 40);
    module.setSample(2, 8, 15, 0, 0, 1);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0xC, 0x20});
    writeCell(module.patterns[0], 5, 3, {2, 113, 0, 0});
    writeCell(module.patterns[1], 63, 1, {3, 856, 0xF, 6});
    return module;
}

Bytes embed(const Bytes& packed, std::size_t before = 3000, std::size_t after = 2000) {
    Bytes file = filler(before, 11);
    file.insert(file.end(), packed.begin(), packed.end());
    const Bytes tail = filler(after, 12);
    file.insert(file.end(), tail.begin(), tail.end());
    return file;
}

Cell outputCell(const Bytes& mod, int pattern, int row, int channel) {
    Pattern p;
    std::copy_n(mod.begin() + 1084 + 1024 * pattern, 1024, p.begin());
    return readCell(p, row, channel);
}

TEST(NoisePackerV2, ConvertsBackToTheModuleWithPrescribedDifferences) {
    const ProTrackerModule module = smallModule();
    std::string console;
    const Bytes mod = ripToModule(embed(packNoisePackerV2(module)), &console);
    EXPECT_EQ(mod, expectedFromNoisePackerV2(module));
    EXPECT_NE(console.find("done\n"), std::string::npos);
    ASSERT_GE(mod.size(), 1084u);
    EXPECT_EQ(std::memcmp(mod.data() + 1080, "M.K.", 4), 0);
    EXPECT_EQ(std::memcmp(mod.data() + 620, "[ written by Quib! ]", 20), 0);
}

TEST(NoisePackerV2, ShortSongLeavesOrderEntry29AtOne) {
    ProTrackerModule module = smallModule(5);
    module.patterns.resize(1);
    std::memset(module.header.data() + 952, 0, 128);
    const Bytes mod = ripToModule(embed(packNoisePackerV2(module)));
    ASSERT_GE(mod.size(), 1084u);
    EXPECT_EQ(mod[950], 5);
    EXPECT_EQ(mod[951], 0x7F);
    EXPECT_EQ(mod[952 + 29], 1);
    EXPECT_EQ(mod[952 + 28], 0);
    EXPECT_EQ(mod[952 + 30], 0);
    EXPECT_EQ(mod.size(), 1084u + 1024 + 158 * 2);
}

TEST(NoisePackerV2, OrderListOf256BytesGivesSongLengthZero) {
    ProTrackerModule module = smallModule(128);
    const Bytes packed = packNoisePackerV2(module);
    ASSERT_EQ(packed[2] << 8 | packed[3], 256);
    const Bytes mod = ripToModule(embed(packed));
    ASSERT_GE(mod.size(), 1084u);
    EXPECT_EQ(mod[950], 0);
    EXPECT_EQ(mod[952], 0);
    EXPECT_EQ(mod[952 + 29], 1);
    EXPECT_EQ(mod.size(), 1084u + 1024 + 158 * 2); // one pattern: nothing in the song
}

// Row `row` of channel `channel` of pattern 0 in a NoisePacker v2 module packed from a module
// with `samples` samples and song length `songLength`.
const std::uint8_t* packedRow(const Bytes& packed, int samples, int songLength, int patterns,
                              int channel, int row) {
    const std::size_t table = 12 + 16 * samples + 2 * songLength;
    const std::size_t tracks = table + 8 * patterns;
    const unsigned address =
        packed[table + 2 * (3 - channel)] << 8 | packed[table + 2 * (3 - channel) + 1];
    return &packed[tracks + address + 3 * row];
}

TEST(NoisePackerV2, RemapsEffectsOfPackedRows) {
    struct Case {
        Cell original;
        unsigned packedEffect, packedParameter;
        Cell converted;
    } cases[] = {
        {{1, 428, 0xA, 0x30}, 7, 0x03, {1, 428, 0xA, 0x30}},   // packed 7/0x03: 0xA/0x30
        {{1, 428, 0xA, 0x02}, 7, 0xFE, {1, 428, 0xA, 0x02}},   // packed 7/0xFE: 0xA/0x02
        {{1, 428, 0xB, 0x07}, 0xB, 0x0A, {1, 428, 0xB, 0x07}}, // (0x0A + 4) / 2
        {{1, 428, 0xB, 0x00}, 0xB, 0xFC, {1, 428, 0xB, 0x00}}, // 0xFC + 4 wraps to 0
        {{1, 428, 0xB, 0x01}, 0xB, 0xFE, {1, 428, 0xB, 0x01}},
        {{1, 428, 0x0, 0x37}, 8, 0x37, {1, 428, 0x0, 0x37}}, // packed 8 is arpeggio
        {{1, 428, 0xE, 0x12}, 0xE, 0x13, {1, 428, 0xE, 0x12}},
        {{1, 428, 0x5, 0x04}, 5, 0xFC, {1, 428, 0x5, 0x04}},
        {{1, 428, 0x6, 0x50}, 6, 0x05, {1, 428, 0x6, 0x50}},
        {{17, 214, 0xC, 0x40}, 0xC, 0x40, {17, 214, 0xC, 0x40}}, // sample bit 4, plain effect
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.packedEffect);
        ProTrackerModule module = smallModule(1);
        module.patterns.resize(1);
        module.setSample(16, 20, 0, 10, 0, 1);
        writeCell(module.patterns[0], 7, 2, c.original);
        const Bytes packed = packNoisePackerV2(module);
        const std::uint8_t* row = packedRow(packed, 17, 1, 1, 2, 7);
        EXPECT_EQ(row[1] & 0x0F, c.packedEffect);
        EXPECT_EQ(row[2], c.packedParameter);
        const Bytes mod = ripToModule(embed(packed));
        ASSERT_GE(mod.size(), 1084u + 1024);
        const Cell out = outputCell(mod, 0, 7, 2);
        EXPECT_EQ(out.sample, c.converted.sample);
        EXPECT_EQ(out.period, c.converted.period);
        EXPECT_EQ(out.effect, c.converted.effect);
        EXPECT_EQ(out.parameter, c.converted.parameter);
    }
}

TEST(Ac1d, ConvertsBackKeepingSongLengthRestartAndOrderList) {
    ProTrackerModule module = smallModule(3);
    module.header[951] = 2;
    module.header[952 + 100] = 1;                            // past the song length, kept as stored
    writeCell(module.patterns[1], 10, 2, {2, 320, 7, 0x44}); // tremolo: no parameter stored
    const Bytes mod = ripToModule(embed(packAc1d(module)));
    EXPECT_EQ(mod, expectedFromAc1d(module));
    ASSERT_GE(mod.size(), 1084u + 2048);
    EXPECT_EQ(mod[950], 3);
    EXPECT_EQ(mod[951], 2);
    EXPECT_EQ(mod[952 + 100], 1);
    const Cell tremolo = outputCell(mod, 1, 10, 2);
    EXPECT_EQ(tremolo.sample, 2u);
    EXPECT_EQ(tremolo.period, 320u);
    EXPECT_EQ(tremolo.effect, 0u);
    EXPECT_EQ(tremolo.parameter, 0u);
}

TEST(Ac1d, NoteBytesMapToPeriodIndices) {
    ProTrackerModule module = smallModule(1);
    module.patterns.resize(1);
    module.patterns[0] = Pattern{};
    writeCell(module.patterns[0], 0, 0, {1, 808, 0xC, 0x20}); // note byte 13 at offset 896
    struct Case {
        std::uint8_t note;
        unsigned period;
    } cases[] = {{0, 856}, {11, 856}, {12, 856}, {13, 808}, {47, 113}, {0x3F, 0}};
    for (const Case& c : cases) {
        Bytes packed = packAc1d(module);
        ASSERT_EQ(packed[896], 13);
        packed[896] = c.note;
        const Bytes mod = ripToModule(embed(packed));
        ASSERT_GE(mod.size(), 1084u + 1024);
        EXPECT_EQ(outputCell(mod, 0, 0, 0).period, c.period) << int(c.note);
        EXPECT_EQ(outputCell(mod, 0, 0, 0).parameter, 0x20u);
    }
}

TEST(Ac1d, WritesOnePatternLessThanTheNonZeroAddresses) {
    ProTrackerModule module = smallModule(2);
    Bytes packed = packAc1d(module);
    // Three addresses (two patterns and the end mark); clearing the end mark leaves one pattern.
    std::memset(&packed[256 + 8], 0, 4);
    const Bytes mod = ripToModule(embed(packed));
    EXPECT_EQ(mod.size(), 1084u + 1024 + 158 * 2);
}

TEST(Scan, TheLastModuleFoundIsTheOneLeftInTheOutput) {
    const ProTrackerModule first = smallModule(3);
    ProTrackerModule second = smallModule(4);
    writeCell(second.patterns[1], 20, 0, {3, 240, 0xA, 0x0F});
    Bytes file = embed(packAc1d(first));
    const Bytes more = embed(packNoisePackerV2(second), 500, 500);
    file.insert(file.end(), more.begin(), more.end());
    std::string console;
    EXPECT_EQ(ripToModule(file, &console), expectedFromNoisePackerV2(second));
    EXPECT_EQ(console.find("done\n"), console.rfind("done\n") - 5); // two conversions
}

TEST(Scan, PlainModulesAreRecognisedButNeverWritten) {
    Bytes file = embed(smallModule().bytes());
    EXPECT_TRUE(ripToModule(file).empty());
}

TEST(Scan, TruncatedPackedModulesAtTheEndOfAFileAreRejected) {
    const ProTrackerModule module = smallModule();
    const Bytes np2 = packNoisePackerV2(module);
    const Bytes ac1d = packAc1d(module);
    const std::size_t np2TrackData = 8 + 16 * 3 + 4 + 10 + 16;
    for (const Bytes& cut : {Bytes(np2.begin(), np2.begin() + std::ptrdiff_t(np2TrackData + 100)),
                             Bytes(ac1d.begin(), ac1d.begin() + 850)}) {
        Bytes file = filler(3000, 5);
        file.insert(file.end(), cut.begin(), cut.end());
        EXPECT_TRUE(ripToModule(file).empty());
    }
}

// Every tag the scan knows, repeated over a whole file at each alignment, and runs of the small
// bytes that wake the chain tests: every test and converter they reach must end without reading
// outside the input (the sanitizer build runs this too) and without looping.
TEST(Scan, FilesFullOfSignaturesNeitherCrashNorHang) {
    std::vector<Bytes> patterns;
    for (const TagRow& row : tagRows())
        patterns.emplace_back(row.tag.begin(), row.tag.end());
    for (const char* special : {"!PM!", "<", "1CHN", "16CH"})
        patterns.emplace_back(special, special + std::strlen(special));
    for (std::uint8_t small : {0x00, 0x01, 0x0C, 0x1F, 0x40})
        patterns.push_back({small, 0x00, small, 0x40, 0x00, 0x00});
    for (const Bytes& pattern : patterns)
        for (std::size_t shift = 0; shift < 3; ++shift) {
            Bytes file(shift, 0x55);
            while (file.size() < 64 * 1024)
                file.insert(file.end(), pattern.begin(), pattern.end());
            ripToModule(file);
        }
}

TEST(Scan, StopsSixtyFourBytesBeforeTheEnd) {
    const Bytes random = filler(10000, 3);
    ripBuffer(random.data(), std::int32_t(random.size()));
    EXPECT_EQ(ripState().position, random.size() - 64);
}

// A plain module with `channels` channels and the tag `tag` at 1080.
Bytes multiChannelModule(int channels, const char* tag) {
    Bytes module(1084 + 256 * channels + 64);
    module[950] = 1;
    for (int i = 0; i < 31; ++i)
        module[20 + 30 * i + 29] = 1;
    std::memcpy(&module[1080], tag, 4);
    module[1084] = 0x01; // a period of 0x1AC at the first cell
    module[1085] = 0xAC;
    return module;
}

TEST(MultiChannel, RecognisesPlainModulesByTheirTag) {
    struct Case {
        const char* name;
        int channels;
        const char* tag;
        std::size_t corruptAt; // 0: none
        std::uint8_t value;
        bool accepted;
    } cases[] = {
        {"M.K.", 4, "M.K.", 0, 0, true},
        {"6CHN", 6, "6CHN", 0, 0, true},
        {"16CH", 16, "16CH", 0, 0, true},
        {"SongLengthZero", 4, "M.K.", 950, 0, false},
        {"SongLength128", 4, "M.K.", 950, 128, false},
        {"OrderEntry128", 4, "M.K.", 952 + 127, 128, false},
        {"Volume65", 4, "M.K.", 20 + 25, 65, false},
        {"Finetune16", 4, "M.K.", 20 + 24, 16, false},
        {"NoteByte20", 4, "M.K.", 1084 + 4 * 9, 20, false},
        {"PeriodBelow28", 4, "M.K.", 1084 + 4 * 9 + 1, 27, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes module = multiChannelModule(c.channels, c.tag);
        if (c.corruptAt)
            module[c.corruptAt] = c.value;
        Bytes input = filler(100, 9);
        input.insert(input.end(), module.begin(), module.end());
        RipState& state = ripState();
        state.input = input.data();
        state.inputSize = std::int32_t(input.size());
        state.position = 100 + 1080;
        EXPECT_EQ(testMultiChannel(state, c.channels) == 0, c.accepted);
        if (c.accepted) {
            EXPECT_EQ(state.moduleStart, 100u);
            ripMultiChannel(state);
            EXPECT_EQ(state.position, 100u + 1080 + 1084);
            EXPECT_EQ(state.outputSize, 1084u + 256 * c.channels);
        }
        // The same module cut inside its pattern data, and a tag too early for a header.
        state.inputSize = std::int32_t(100 + 1084 + 256 * c.channels - 1);
        state.position = 100 + 1080;
        EXPECT_NE(testMultiChannel(state, c.channels), 0);
        state.position = 1079;
        EXPECT_NE(testMultiChannel(state, c.channels), 0);
        state.input = nullptr;
    }
}
} // namespace
