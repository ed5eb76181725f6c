// The zip branch of addPaths with archives made by the real `zip` command and, for member names
// that command will not write, by minizip's writer.

#include "PlaylistTestSupport.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <unzip.h>
#include <vector>

namespace fs = std::filesystem;
using playlisttest::LogMessage;
using playlisttest::ModelRig;
using playlisttest::q;
using playlisttest::readFile;

namespace {

// Checks that every entry is an unpacked file in the temporary folder named STEM_XXXXXX.tmp for
// the given stems, in order, holding the given data.
void expectUnpacked(const ModelRig& rig, const std::vector<std::string>& stems,
                    const std::vector<std::string>& data) {
    ASSERT_EQ(rig.model->count(), static_cast<int>(stems.size()));
    for (int i = 0; i < rig.model->count(); ++i) {
        const PlaylistEntry& entry = rig.model->entry(i);
        const std::regex name(
            std::regex_replace(stems[i], std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)") +
            "_[A-Za-z0-9]{6}\\.tmp");
        EXPECT_TRUE(std::regex_match(entry.title, name)) << entry.title;
        EXPECT_EQ(entry.path, rig.tempFolder.string() + "/" + entry.title);
        EXPECT_EQ(readFile(entry.path), data[i]) << entry.title;
    }
}

TEST(ZipArchives, NestedFoldersSameNamesStoredAndDeflatedMembers) {
    ModelRig rig;
    const std::string modA = "mod a " + std::string(400, 'a');
    const std::string modOther = "mod other " + std::string(400, 'o');
    const std::string deep = "deep " + std::string(300, 'd');
    const std::string raw = "raw bytes stored as they are";
    rig.folder.write("src/dir/a.mod", modA);
    rig.folder.write("src/dir/sub/deep.xm", deep);
    rig.folder.write("src/other/a.mod", modOther);
    rig.folder.write("src/dir/b.raw", raw);
    // Explicit member order; "dir/" and "dir/sub/" are folder members; .raw is stored.
    ASSERT_EQ(playlisttest::runIn(rig.folder.path() / "src",
                                  "zip -q -n .raw ../Music.ZIP dir/ dir/a.mod dir/sub/ "
                                  "dir/sub/deep.xm other/a.mod dir/b.raw"),
              0);
    const std::string archive = rig.folder.str() + "/Music.ZIP";
    ASSERT_EQ(playlisttest::runIn(rig.folder.path(),
                                  "unzip -v Music.ZIP | grep -q ' Stored .*/b.raw$' && "
                                  "unzip -v Music.ZIP | grep -q ' Defl:N .*/a.mod$'"),
              0);

    rig.model->addPaths({q(archive), q("/after.mp3")});
    EXPECT_EQ(rig.model->entry(4).path, "/after.mp3");
    rig.model->removeRows({4}, -1);
    expectUnpacked(rig, {"a.mod", "deep.xm", "a.mod", "b.raw"}, {modA, deep, modOther, raw});
    EXPECT_NE(rig.model->entry(0).path, rig.model->entry(2).path);
    EXPECT_EQ(playlisttest::filesIn(rig.tempFolder).size(), 4u); // no file for folder members
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_EQ(rig.signalsSeen, (std::vector<std::string>{"appended 0 5", "removed 4 1"}));
}

TEST(ZipArchives, MemberNamesCannotLeaveTheTemporaryFolder) {
    ModelRig rig;
    const std::string archive = rig.folder.str() + "/hostile.zip";
    const std::string longName(300, 'n');
    playlisttest::writeZip(archive, {{"../../escape.mod", "1"},
                                     {"/abs/path/evil.mod", "2"},
                                     {"..\\..\\win.mod", "3"},
                                     {"dir/..", "4"},
                                     {"C:evil.s3m", "5"},
                                     {"only/folder/", ""},
                                     {"a/" + longName + ".mod", "6"}});
    rig.model->addPaths({q(archive)});
    expectUnpacked(
        rig, {"escape.mod", "evil.mod", "win.mod", "..", "C:evil.s3m", longName.substr(0, 200)},
        {"1", "2", "3", "4", "5", "6"});
    for (const PlaylistEntry& entry : rig.model->entries()) {
        EXPECT_EQ(fs::path(entry.path).parent_path(), rig.tempFolder);
    }
    EXPECT_EQ(playlisttest::filesIn(rig.tempFolder).size(), 6u);
    EXPECT_FALSE(fs::exists(rig.folder.path() / "escape.mod"));
    EXPECT_TRUE(rig.messages().empty());
    rig.model->clearList(true); // the hidden ".._XXXXXX.tmp" goes too
    EXPECT_FALSE(fs::exists(rig.tempFolder));
}

TEST(ZipArchives, BadArchivesAreLoggedAndKeepEarlierEntries) {
    ModelRig rig;
    const std::string dir = rig.folder.str();
    // Not an archive at all, and a real archive cut in half (its directory is gone).
    const std::string fake = rig.folder.write("fake.zip", "just some text, no archive\n");
    rig.folder.write("src/good.txt", "good data " + std::string(100, 'g'));
    rig.folder.write("src/bad.raw", "BADMARKER" + std::string(100, 'b'));
    ASSERT_EQ(
        playlisttest::runIn(rig.folder.path() / "src", "zip -q -0 ../damaged.zip good.txt bad.raw"),
        0);
    const std::string whole = readFile(dir + "/damaged.zip");
    const std::string cut = rig.folder.write("Cut.Zip", whole.substr(0, whole.size() / 2));
    // One flipped byte inside the stored member "bad.raw": only its checksum can tell.
    std::string damaged = whole;
    damaged[damaged.find("BADMARKER") + 3] ^= 0x20;
    const std::string damagedPath = rig.folder.write("damaged.zip", damaged);

    rig.model->addPaths({q(fake), q(cut), q(damagedPath)});
    expectUnpacked(rig, {"good.txt"}, {"good data " + std::string(100, 'g')});
    const std::vector<LogMessage> expected = {
        {"red", "'" + fake + "' is NOT a zip-file!"},
        {"red", "'" + cut + "' is NOT a zip-file!"},
        {"red", "Zip error (-105) on file 'bad.raw'!"},
    };
    EXPECT_EQ(rig.messages(), expected);
    EXPECT_EQ(playlisttest::filesIn(rig.tempFolder).size(), 1u); // no partial file of bad.raw
}

TEST(ZipArchives, UnsupportedMethodOversizedMemberAndUnwritableFolderEndTheArchiveWithALogLine) {
    ModelRig rig({.memberBytes = 100000});
    rig.folder.write("src/ok.mod", "fine");
    rig.folder.write("src/odd.mod", std::string(5000, 'z'));
    rig.folder.write("src/after.mod", "never reached");
    ASSERT_EQ(playlisttest::runIn(rig.folder.path() / "src",
                                  "zip -q ../methods.zip ok.mod odd.mod after.mod"),
              0);
    // Give "odd.mod" compression method 14 in the central directory: unknown to the reader.
    std::string bytes = readFile(rig.folder.str() + "/methods.zip");
    const size_t centralName = bytes.find("odd.mod", bytes.find("odd.mod") + 1);
    const size_t centralHeader = centralName - 46;
    ASSERT_EQ(bytes.compare(centralHeader, 4, "PK\x01\x02"), 0);
    bytes[centralHeader + 10] = 14;
    bytes[centralHeader + 11] = 0;
    const std::string archive = rig.folder.write("methods.zip", bytes);
    const std::string big = rig.folder.str() + "/big.zip";
    playlisttest::writeZip(big, {{"small.mod", std::string(1000, 's')},
                                 {"big.mod", std::string(100001, '\0')},
                                 {"after.mod", "never reached"}});

    rig.model->addPaths({q(archive), q(big)});
    expectUnpacked(rig, {"ok.mod", "small.mod"}, {"fine", std::string(1000, 's')});
    EXPECT_EQ(rig.messages(),
              (std::vector<LogMessage>{
                  {"red", "Zip error (-103) on file 'odd.mod'!"},
                  {"red", "Zip member 'big.mod' is larger than 100000 bytes; not unpacked!"}}));
    EXPECT_EQ(playlisttest::filesIn(rig.tempFolder).size(), 2u); // nothing left of big.mod

    // A file where the temporary folder should be: no member can be written.
    ModelRig blocked;
    fs::create_directories(blocked.tempFolder.parent_path());
    std::ofstream(blocked.tempFolder) << "in the way";
    blocked.model->addPaths({q(archive)});
    EXPECT_EQ(blocked.model->count(), 0);
    EXPECT_EQ(blocked.messages(),
              (std::vector<LogMessage>{{"red", "Couldn't write unpacked file to disk: (" +
                                                   blocked.tempFolder.string() +
                                                   "/ok.mod_XXXXXX.tmp)!"}}));
}

} // namespace
