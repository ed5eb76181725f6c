// M3U and PLS reading and M3U writing with real files written by the tests.

#include "PlaylistFiles.h"
#include "PlaylistTestSupport.h"

#include <gtest/gtest.h>

#include <QFile>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using playlisttest::ScratchFolder;
using playlisttest::TitlesAndPaths;
using playlisttest::titlesAndPaths;

namespace {

// "@" in an expected path stands for the folder of the list file.
TitlesAndPaths expand(TitlesAndPaths expected, const std::string& folder) {
    for (auto& [title, path] : expected) {
        if (!path.empty() && path[0] == '@') {
            path = folder + path.substr(1);
        }
    }
    return expected;
}

struct ListCase {
    const char* name;
    std::string contents;
    TitlesAndPaths expected;
};

void PrintTo(const ListCase& listCase, std::ostream* out) {
    *out << listCase.name;
}

class M3uReading : public ::testing::TestWithParam<ListCase> {};
class PlsReading : public ::testing::TestWithParam<ListCase> {};

TEST_P(M3uReading, YieldsTitlesAndPaths) {
    ScratchFolder folder;
    const std::string list = folder.write("lists/x.m3u", GetParam().contents);
    const ListRead read = readM3u(list);
    EXPECT_EQ(read.status, ListReadStatus::Ok);
    EXPECT_EQ(titlesAndPaths(read.entries), expand(GetParam().expected, folder.str() + "/lists"));
}

TEST_P(PlsReading, YieldsTitlesAndPaths) {
    ScratchFolder folder;
    const std::string list = folder.write("lists/x.pls", GetParam().contents);
    const ListRead read = readPls(list);
    EXPECT_EQ(read.status, ListReadStatus::Ok);
    EXPECT_EQ(titlesAndPaths(read.entries), expand(GetParam().expected, folder.str() + "/lists"));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Lines, M3uReading, ::testing::Values(
    ListCase{"OnlyHeader", "#EXTM3U\n", {}},
    ListCase{"EmptyFile", "", {}},
    ListCase{"MixedCaseHeadersCrlf",
             "#extm3u\r\n#ExtInf:123,Artist - Title\r\n/music/a.mp3\r\n",
             {{"a.mp3", "/music/a.mp3"}}},
    ListCase{"OtherHashLineIsPath", "#EXTVLCOPT:x\n", {{"#EXTVLCOPT:x", "@/#EXTVLCOPT:x"}}},
    ListCase{"WindowsAbsolute", "C:\\Music\\a.mp3\r\n", {{"a.mp3", "C:/Music/a.mp3"}}},
    ListCase{"UnixAbsoluteWithSpaces", "/music/d e/f g.flac\n", {{"f g.flac", "/music/d e/f g.flac"}}},
    ListCase{"RelativeWithBackslash", "sub\\b.ogg\n", {{"b.ogg", "@/sub/b.ogg"}}},
    ListCase{"HttpUrl", "http://host/stream\n", {{"http://host/stream", "http://host/stream"}}},
    ListCase{"CapitalSchemeIsRelative", "HTTP://host/s.mp3\n", {{"s.mp3", "@/HTTP://host/s.mp3"}}},
    ListCase{"BlankLineBetween", "/a.mp3\n\n/b.mp3\n",
             {{"a.mp3", "/a.mp3"}, {"", "@/"}, {"b.mp3", "/b.mp3"}}},
    ListCase{"DoubledLineEndAtEnd", "/a.mp3\r\n\r\n", {{"a.mp3", "/a.mp3"}, {"", "@/"}}},
    ListCase{"LoneCarriageReturnsEndLines", "/a.mp3\r\r/b.mp3\r",
             {{"a.mp3", "/a.mp3"}, {"", "@/"}, {"b.mp3", "/b.mp3"}}},
    ListCase{"NoFinalLineEnd", "/a.mp3\n/b.mp3", {{"a.mp3", "/a.mp3"}, {"b.mp3", "/b.mp3"}}},
    ListCase{"SpacesTrimmedAfterClassifying", "/x/ song.mp3 \r\n  y.mp3\n",
             {{"song.mp3", "/x/ song.mp3"}, {"y.mp3", "@/  y.mp3"}}},
    ListCase{"NulEndsLine", std::string("/a.mp3\0/evil\n", 13), {{"a.mp3", "/a.mp3"}}},
    ListCase{"Latin1BytesKept", "/m\xfcsik/caf\xe9.mp3\n", {{"caf\xe9.mp3", "/m\xfcsik/caf\xe9.mp3"}}}),
    [](const auto& info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(Lines, PlsReading, ::testing::Values(
    ListCase{"FileKeysAnyCaseOtherKeysSkipped",
             "[playlist]\nFile1=song.mp3\nTitle1=Song\nLength1=100\nfile2=song.mp3\n"
             "NumberOfEntries=2\nVersion=2\n",
             {{"song.mp3", "@/song.mp3"}, {"song.mp3", "@/song.mp3"}}},
    ListCase{"LineOrderNotKeyNumbers", "File2=/b.mp3\r\nFile1=/a.mp3",
             {{"b.mp3", "/b.mp3"}, {"a.mp3", "/a.mp3"}}},
    ListCase{"CapitalSchemeIsUrl", "File1=HTTP://host/s\n", {{"HTTP://host/s", "HTTP://host/s"}}},
    ListCase{"NoEqualsTakesWholeLine", "FILE7\n", {{"FILE7", "@/FILE7"}}},
    ListCase{"ValueAfterFirstEquals", "File1=C:\\x\\a=b.mp3\r\n", {{"a=b.mp3", "C:/x/a=b.mp3"}}},
    ListCase{"BlankAndHeaderOnly", "[playlist]\n\n\n", {}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

TEST(ListFolder, RelativeLinesJoinTheListsFolderEvenWhenItIsAWindowsPath) {
    const auto entries = parseM3u("sub\\b.ogg\n", "D:/lists/x.m3u");
    EXPECT_EQ(titlesAndPaths(entries), (TitlesAndPaths{{"b.ogg", "D:/lists/sub/b.ogg"}}));
    // A list path without '/' is taken whole as the folder part.
    EXPECT_EQ(titlesAndPaths(parsePls("File1=a.mp3", "x.pls")),
              (TitlesAndPaths{{"a.mp3", "x.pls/a.mp3"}}));
}

TEST(ListFileStatus, BadFilesYieldNoEntriesAndSayWhy) {
    ScratchFolder folder;
    const std::string missing = folder.str() + "/missing.m3u";
    fs::create_directories(folder.path() / "folder.m3u");
    const std::string fifo = folder.str() + "/fifo.pls";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string manyLines = folder.write("many.m3u", std::string(MaxPlaylistLines + 1, '\n'));
    const std::string big = folder.write("big.pls", "");
    fs::resize_file(big, MaxPlaylistFileBytes + 1); // sparse: cheap to make

    const std::vector<std::pair<std::string, ListReadStatus>> cases = {
        {missing, ListReadStatus::Unreadable},
        {folder.str() + "/folder.m3u", ListReadStatus::Unreadable},
        {fifo, ListReadStatus::Unreadable}, // must not block
        {manyLines, ListReadStatus::TooLarge},
        {big, ListReadStatus::TooLarge},
    };
    for (const auto& [path, status] : cases) {
        const ListRead m3u = readM3u(path);
        const ListRead pls = readPls(path);
        EXPECT_EQ(m3u.status, status) << path;
        EXPECT_EQ(pls.status, status) << path;
        EXPECT_TRUE(m3u.entries.empty() && pls.entries.empty()) << path;
    }
}

PlaylistEntry entryWithPath(std::string path) {
    PlaylistEntry entry;
    entry.path = std::move(path);
    entry.title = "ignored by the writer";
    return entry;
}

TEST(M3uWriting, EmptyListIsHeaderOnlyAndFailuresLeaveNoTrace) {
    ScratchFolder folder;
    const QString target = QString::fromStdString(folder.str() + "/out.m3u");
    EXPECT_TRUE(writeM3u(target, {}).written);
    EXPECT_EQ(playlisttest::readFile(target.toStdString()), "#EXTM3U\n");

    EXPECT_FALSE(writeM3u(QString(), {entryWithPath("/a")}).written); // cancelled dialog
    EXPECT_FALSE(writeM3u(target + "/no/such/folder.m3u", {entryWithPath("/a")}).written);
    EXPECT_EQ(playlisttest::filesIn(folder.path()), std::vector<std::string>{"out.m3u"});
}

TEST(M3uWriting, ReplacesTheWholeFileAndLeavesOutPathsWithLineBreaks) {
    ScratchFolder folder;
    const std::string target = folder.write("out.m3u", std::string(10000, 'x'));
    const M3uWrite result =
        writeM3u(QString::fromStdString(target),
                 {entryWithPath("/a.mp3"), entryWithPath("/b\nhttp://evil/"),
                  entryWithPath(std::string("/c\0d", 4)), entryWithPath("http://host/s")});
    EXPECT_TRUE(result.written);
    EXPECT_EQ(result.skippedEntries, 2);
    EXPECT_EQ(playlisttest::readFile(target), "#EXTM3U\n/a.mp3\nhttp://host/s\n");
    // Written through a temporary file and renamed: nothing else is left in the folder.
    EXPECT_EQ(playlisttest::filesIn(folder.path()), std::vector<std::string>{"out.m3u"});
}

TEST(M3uWriting, RoundTripOfAThousandPathsKeepsBytesAndOrder) {
    ScratchFolder folder;
    const std::vector<std::string> samples = {
        "/music/With Spaces/track %d.mp3",
        "/music/Caf\xc3\xa9 del Mar/Mot\xc3\xb6rhead %d.ogg", // UTF-8, as QFile::encodeName gives
        "/music/raw latin1 \xe9\xfc\xf1/%d.flac",             // raw Latin-1 bytes
        "http://radio.example:8000/stream%d",
        "C:/Music/Windows %d.wma",
    };
    std::vector<PlaylistEntry> entries;
    for (int i = 0; i < 1000; ++i) {
        char path[200];
        std::snprintf(path, sizeof path, samples[i % samples.size()].c_str(), i);
        entries.push_back(entryWithPath(path));
    }
    const QString target = QString::fromStdString(folder.str() + "/round trip.m3u");
    ASSERT_TRUE(writeM3u(target, entries).written);
    const ListRead read = readM3u(QFile::encodeName(target).toStdString());
    ASSERT_EQ(read.entries.size(), entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        ASSERT_EQ(read.entries[i].path, entries[i].path) << i;
    }
}

} // namespace
