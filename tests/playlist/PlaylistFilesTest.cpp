// M3U and PLS parsing, reading real files written by the tests, and M3U writing.

#include "PlaylistFiles.h"
#include "PlaylistTestSupport.h"

#include <gtest/gtest.h>

#include <QFile>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;
using playlisttest::ScratchFolder;
using playlisttest::TitlesAndPaths;
using playlisttest::titlesAndPaths;

namespace {

struct ListCase {
    std::string contents;
    TitlesAndPaths expected;
    const char* listPath = "/l/x.lst"; // relative lines join its folder
};

TEST(ListParsing, M3uLinesYieldTitlesAndPaths) {
    // clang-format off
    const ListCase cases[] = {
        {"#EXTM3U\n", {}},
        {"", {}},
        {"#extm3u\r\n#ExtInf:123,Artist - Title\r\n/music/a.mp3\r\n", {{"a.mp3", "/music/a.mp3"}}},
        {"#EXTVLCOPT:x\n", {{"#EXTVLCOPT:x", "/l/#EXTVLCOPT:x"}}}, // other # lines are paths
        {"C:\\Music\\a.mp3\r\n", {{"a.mp3", "C:/Music/a.mp3"}}},
        {"/music/d e/f g.flac\n", {{"f g.flac", "/music/d e/f g.flac"}}},
        {"sub\\b.ogg\n", {{"b.ogg", "/l/sub/b.ogg"}}},
        {"sub\\b.ogg\n", {{"b.ogg", "D:/lists/sub/b.ogg"}}, "D:/lists/x.m3u"},
        {"http://host/stream\n", {{"http://host/stream", "http://host/stream"}}},
        {"HTTP://host/s.mp3\n", {{"s.mp3", "/l/HTTP://host/s.mp3"}}}, // capital scheme: relative
        {"/a.mp3\n\n/b.mp3\n", {{"a.mp3", "/a.mp3"}, {"", "/l/"}, {"b.mp3", "/b.mp3"}}},
        {"/a.mp3\r\n\r\n", {{"a.mp3", "/a.mp3"}, {"", "/l/"}}},
        {"/a.mp3\r\r/b.mp3\r", {{"a.mp3", "/a.mp3"}, {"", "/l/"}, {"b.mp3", "/b.mp3"}}},
        {"/a.mp3\n/b.mp3", {{"a.mp3", "/a.mp3"}, {"b.mp3", "/b.mp3"}}},
        // Spaces are trimmed after the line is classified as absolute or relative.
        {"/x/ song.mp3 \r\n  y.mp3\n", {{"song.mp3", "/x/ song.mp3"}, {"y.mp3", "/l/  y.mp3"}}},
        {std::string("/a.mp3\0/evil\n", 13), {{"a.mp3", "/a.mp3"}}}, // NUL ends the line
        {"/m\xfcsik/caf\xe9.mp3\n", {{"caf\xe9.mp3", "/m\xfcsik/caf\xe9.mp3"}}}, // Latin-1 kept
    };
    // clang-format on
    for (const ListCase& c : cases) {
        EXPECT_EQ(titlesAndPaths(parseM3u(c.contents, c.listPath)), c.expected) << c.contents;
    }
}

TEST(ListParsing, PlsFileKeysYieldTitlesAndPathsInLineOrder) {
    // clang-format off
    const ListCase cases[] = {
        // File keys in any case; the other keys are skipped.
        {"[playlist]\nFile1=song.mp3\nTitle1=Song\nLength1=100\nfile2=song.mp3\n"
         "NumberOfEntries=2\nVersion=2\n",
         {{"song.mp3", "/l/song.mp3"}, {"song.mp3", "/l/song.mp3"}}},
        {"File2=/b.mp3\r\nFile1=/a.mp3", {{"b.mp3", "/b.mp3"}, {"a.mp3", "/a.mp3"}}},
        {"File1=HTTP://host/s\n", {{"HTTP://host/s", "HTTP://host/s"}}}, // capital scheme: a URL
        {"FILE7\n", {{"FILE7", "/l/FILE7"}}}, // no '=': the whole line
        {"File1=C:\\x\\a=b.mp3\r\n", {{"a=b.mp3", "C:/x/a=b.mp3"}}},
        {"[playlist]\n\n\n", {}},
        {"File1=a.mp3", {{"a.mp3", "x.pls/a.mp3"}}, "x.pls"}, // no '/': the path is the folder
    };
    // clang-format on
    for (const ListCase& c : cases) {
        EXPECT_EQ(titlesAndPaths(parsePls(c.contents, c.listPath)), c.expected) << c.contents;
    }
}

TEST(ListFileStatus, BadFilesYieldNoEntriesAndSayWhy) {
    ScratchFolder folder;
    const std::string missing = folder.str() + "/missing.m3u";
    fs::create_directories(folder.path() / "folder.m3u");
    const std::string fifo = folder.str() + "/fifo.pls";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string big = folder.write("big.pls", "");
    fs::resize_file(big, MaxPlaylistFileBytes + 1); // sparse: cheap to make

    const std::vector<std::pair<std::string, ListReadStatus>> cases = {
        {missing, ListReadStatus::Unreadable},
        {folder.str() + "/folder.m3u", ListReadStatus::Unreadable},
        {fifo, ListReadStatus::Unreadable}, // must not block
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

TEST(M3uWriting, ReplacesTheWholeFileLeavesOutPathsWithLineBreaksAndFailuresLeaveNoTrace) {
    ScratchFolder folder;
    const std::string target = folder.write("out.m3u", std::string(10000, 'x'));
    const M3uWrite result =
        writeM3u(QString::fromStdString(target),
                 {entryWithPath("/a.mp3"), entryWithPath("/b\nhttp://evil/"),
                  entryWithPath(std::string("/c\0d", 4)), entryWithPath("http://host/s")});
    EXPECT_TRUE(result.written);
    EXPECT_EQ(result.skippedEntries, 2);
    EXPECT_EQ(playlisttest::readFile(target), "#EXTM3U\n/a.mp3\nhttp://host/s\n");
    EXPECT_TRUE(writeM3u(QString::fromStdString(target), {}).written);
    EXPECT_EQ(playlisttest::readFile(target), "#EXTM3U\n");

    EXPECT_FALSE(writeM3u(QString(), {entryWithPath("/a")}).written); // cancelled dialog
    EXPECT_FALSE(writeM3u(QString::fromStdString(target + "/no/such/folder.m3u"), {}).written);
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
