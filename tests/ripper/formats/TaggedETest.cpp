// Noise From Heaven, Stone Arts Player, GnuPlayer and GPMO: real music packed by the test
// packers comes back as its music; cut modules and files full of packed headers neither convert
// nor read outside the input. The AMOS music bank converts only its title and sample records.
#include "RipTestSupport.h"
#include "packers/TaggedEPacker.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {
const Packer kPackers[] = {{"Noise From Heaven", packNoiseFromHeaven, expectedFromNoiseFromHeaven},
                           {"Stone Arts Player", packStoneArtsPlayer, expectedFromStoneArtsPlayer},
                           {"GnuPlayer", packGnuPlayer, expectedFromGnuPlayer},
                           {"GPMO", packGpmo, expectedFromGpmo}};

TEST(TaggedE, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(TaggedE, ATruncatedModuleIsRejected) {
    expectCutModulesRefused(kPackers);
}

TEST(TaggedE, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    expectHeaderFloodsAreSafe(kPackers);
}

// A command of the player's own is reported and left out; the rest of the song converts.
TEST(TaggedE, GnuPlayerCommandWithoutProTrackerCounterpartIsReportedAndDropped) {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(0, 64, 0, 64, 0, 1);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0xC, 0x20});
    writeCell(module.patterns[0], 1, 1, {1, 214, 0xF, 0x06});
    std::string console;
    const Bytes actual =
        ripToModule(hideInside(packGnuPlayerWithOwnCommand(module, 0x25), 3), &console);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0, 0});
    EXPECT_TRUE(actual == expectedFromGnuPlayer(module));
    EXPECT_NE(console.find("\nunsupported case in Depack_GnuPlayer(). Please send this file to"),
              std::string::npos);
}

void append16(Bytes& out, unsigned value) {
    out.insert(out.end(), {std::uint8_t(value >> 8), std::uint8_t(value)});
}
void append32(Bytes& out, unsigned value) {
    append16(out, value >> 16);
    append16(out, value & 0xFFFF);
}
void appendText(Bytes& out, const char* text, std::size_t size) {
    const std::string padded = std::string(text).append(size, ' ').substr(0, size);
    out.insert(out.end(), padded.begin(), padded.end());
}

// A music bank with `songs` songs named "Tune", two instruments and no pattern data.
Bytes amosMusicBank(unsigned songs) {
    Bytes music;
    append32(music, 12);                  // instruments
    append32(music, 12 + 2 + 2 * 32);     // songs
    append32(music, 12 + 2 + 2 * 32 + 8); // patterns, not read
    append16(music, 2);
    const unsigned instruments[2][5] = {
        // sample address, loop address, loop length, volume, length (words)
        {0x100, 0x140, 0x20, 40, 0x80},
        {0x200, 0x200, 2, 64, 0x10}};
    const char* names[2] = {"Bass drum", "Lead"};
    for (int i = 0; i < 2; ++i) {
        append32(music, instruments[i][0]);
        append32(music, instruments[i][1]);
        append16(music, 0);
        append16(music, instruments[i][2]);
        append16(music, instruments[i][3]);
        append16(music, instruments[i][4]);
        appendText(music, names[i], 16);
    }
    append16(music, std::uint16_t(songs));
    append32(music, 6); // every song is the same
    for (int word = 0; word < 6; ++word)
        append16(music, 0);
    appendText(music, "Tune", 16);

    Bytes bank = {'A', 'm', 'B', 'k', 0, 3, 0, 1};
    append32(bank, 0x80000000u | unsigned(8 + music.size()));
    appendText(bank, "Music", 8);
    bank.insert(bank.end(), music.begin(), music.end());
    return bank;
}

// The unfinished output: title, then 31 sample records, nothing else.
Bytes expectedAmosOutput() {
    Bytes out;
    appendText(out, "Tune", 16);
    out.resize(20);
    const unsigned records[2][4] = {{0x80, 40, 0x20, 0x20}, {0x10, 64, 0, 1}};
    const char* names[2] = {"Bass drum", "Lead"};
    for (int i = 0; i < 31; ++i) {
        const unsigned* record = i < 2 ? records[i] : nullptr;
        if (record)
            appendText(out, names[i], 16);
        out.resize(out.size() + 22 - (record ? 16 : 0));
        append16(out, record ? record[0] : 0);
        out.insert(out.end(), {0, std::uint8_t(record ? record[1] : 0)});
        append16(out, record ? record[2] : 0);
        append16(out, record ? record[3] : 1);
    }
    return out;
}

TEST(TaggedE, AmosMusicBankGivesOnlyItsTitleAndSampleRecords) {
    EXPECT_TRUE(ripToModule(hideInside(amosMusicBank(1), 4)) == expectedAmosOutput());
}

TEST(TaggedE, AmosBankOfTwoSongsLeavesAnEmptyFileAndAsksForTheFile) {
    TempWorkDir dir;
    writeFile("input.bin", hideInside(amosMusicBank(2), 5));
    const RipRun run = ripCaptured("input.bin");
    ASSERT_TRUE(std::filesystem::exists("-1.mod"));
    EXPECT_EQ(std::filesystem::file_size("-1.mod"), 0u);
    EXPECT_NE(run.console.find("\n!!! unsupported feature in depack_AmBk() - send this file to"),
              std::string::npos);
}

// Only a music bank (number 3, chip or fast memory, named "Music") that fits is converted.
TEST(TaggedE, OtherAmosBanksAndCutBanksAreNotConverted) {
    const struct {
        std::size_t at;
        std::uint8_t value;
    } changes[] = {{5, 4}, {7, 2}, {12, 'm'}, {19, '!'}, {9, 0x7F}};
    for (const auto& change : changes) {
        SCOPED_TRACE(change.at);
        Bytes bank = amosMusicBank(1);
        bank[change.at] = change.value;
        Bytes file = filler(2000, 6);
        file.insert(file.end(), bank.begin(), bank.end());
        EXPECT_TRUE(ripToModule(file).empty());
    }
}
} // namespace
