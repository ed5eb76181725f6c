// Hostile inputs for the playlist: list files, paths and zip archives made to exhaust memory,
// freeze the window or fill the disk, and last-playlist files that cannot be read or were planted
// by another user. Each case states what the playlist holds afterwards and what the log says.

#include "PlaylistTestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QStringList>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using playlisttest::LogMessage;
using playlisttest::ModelRig;
using playlisttest::q;

namespace {

std::vector<std::string> pathsOf(const PlaylistModel& model) {
    std::vector<std::string> paths;
    for (const PlaylistEntry& entry : model.entries()) {
        paths.push_back(entry.path);
    }
    return paths;
}

// `text` with every "{NAME}" replaced by its value.
std::string fill(std::string text, const std::vector<std::pair<std::string, std::string>>& values) {
    for (const auto& [name, value] : values) {
        const std::string key = "{" + name + "}";
        for (size_t at = text.find(key); at != std::string::npos; at = text.find(key, at)) {
            text.replace(at, key.size(), value);
            at += value.size();
        }
    }
    return text;
}

// Runs the rest of the test in another current folder and goes back afterwards.
class CurrentFolder {
public:
    explicit CurrentFolder(const fs::path& folder) : previous_(fs::current_path()) {
        fs::current_path(folder);
    }
    ~CurrentFolder() { fs::current_path(previous_); }

private:
    fs::path previous_;
};

// Line breaks "\r\n" that fall across the reader's 64 KiB pieces: a 9-byte first line puts the
// '\r' of one "/a\r\n" line on the last byte of the first piece.
std::string linesAcrossPieces() {
    std::string text = "#EXTINFx\n";
    for (int i = 0; i < 20000; ++i) {
        text += "/a\r\n";
    }
    return text;
}

struct ListCase {
    const char* what;
    std::string fileName;
    std::string contents;
    std::vector<std::string> paths; // "{dir}" is the list's folder
    std::vector<std::string> log;   // red lines; "{file}" is the list's path
    std::int64_t sparseSize = 0;    // > 0: the file is this long and holds only zeros
};

TEST(HostileLists, OverlongLinesAndHugeFilesAreLeftOutWithALogLine) {
    const std::string longest = "/" + std::string(MaxPathBytes - 1, 'a');
    const std::string overlongLine =
        "Playlist file '{file}': 1 line(s) longer than 4095 bytes left out!";
    // clang-format off
    const ListCase cases[] = {
        {"a 60 MiB single line", "one.m3u", "/" + std::string(60 << 20, 'x'), {},
         {overlongLine}},
        {"the longest path kept, and one byte more", "edge.m3u",
         longest + "\n" + longest + "b\n", {longest}, {overlongLine}},
        {"a relative line that the list's folder makes too long", "joined.m3u",
         std::string(MaxPathBytes - 5, 'r') + "\n/ok.mp3\n", {"/ok.mp3"},
         {overlongLine}},
        {"an overlong PLS value", "long.pls", "[playlist]\nFile1=/" + std::string(5000, 'p') +
         "\nFile2=b.mp3\n", {"{dir}/b.mp3"}, {overlongLine}},
        {"an overlong comment line is skipped without a word", "comment.m3u",
         "#EXTINF:1," + std::string(10000, 'c') + "\n/a.mp3\n", {"/a.mp3"}, {}},
        {"a NUL ends a long line before it counts", "nul.m3u",
         std::string("/short\0", 7) + std::string(10000, 'x') + "\n", {"/short"}, {}},
        {"line ends split between read pieces", "pieces.m3u", linesAcrossPieces(),
         std::vector<std::string>(20000, "/a"), {}},
        {"a file larger than any list the player reads", "big.m3u", "", {},
         {"Playlist file '{file}' is too large; not read!"}, MaxPlaylistFileBytes + 1},
    };
    // clang-format on
    for (const ListCase& c : cases) {
        ModelRig rig;
        const std::string file = rig.folder.write("lists/" + c.fileName, c.contents);
        if (c.sparseSize > 0) {
            fs::resize_file(file, static_cast<std::uintmax_t>(c.sparseSize));
        }
        const std::vector<std::pair<std::string, std::string>> names = {
            {"file", file}, {"dir", rig.folder.str() + "/lists"}};
        rig.model->addPaths({q(file)});

        std::vector<std::string> expectedPaths;
        for (const std::string& path : c.paths) {
            expectedPaths.push_back(fill(path, names));
        }
        std::vector<LogMessage> expectedLog;
        for (const std::string& line : c.log) {
            expectedLog.push_back({"red", fill(line, names)});
        }
        EXPECT_EQ(pathsOf(*rig.model), expectedPaths) << c.what;
        EXPECT_EQ(rig.messages(), expectedLog) << c.what;
    }
}

// The player once wrote lists that it refused to read at the next start (and then saved an
// empty list over them): everything the playlist can hold must come back.
TEST(HostileLists, AFullPlaylistSavedByThePlayerComesBackWhole) {
    ModelRig rig;
    std::string lines = "#EXTM3U\n";
    for (int i = 0; i < 600'000; ++i) {
        char line[32];
        std::snprintf(line, sizeof line, "/m/%06d.mp3\n", i);
        lines += line;
    }
    const std::string first = rig.folder.write("first.m3u", lines);
    const std::string second = rig.folder.write("second.m3u", lines);
    rig.model->addPaths({q(first), q(second), q("/never.mp3")});
    ASSERT_EQ(static_cast<size_t>(rig.model->count()), MaxPlaylistEntries);
    EXPECT_EQ(rig.messages(),
              (std::vector<LogMessage>{{"red", "The playlist is full (at most 1000000 entries, "
                                               "268435456 bytes of paths); adding stopped at '" +
                                                   second + "'!"}}));
    const std::string last = rig.model->entries().back().path;
    const PlaylistModel::Options options = rig.model->options();
    rig.model->saveLastPlaylist();
    rig.model.reset(); // as at exit: the next start has a new model

    PlaylistModel restored(rig.log, options);
    EXPECT_EQ(restored.restoreLastPlaylist(), PlaylistModel::LastList::Restored);
    ASSERT_EQ(static_cast<size_t>(restored.count()), MaxPlaylistEntries);
    EXPECT_EQ(restored.entries().front().path, "/m/000000.mp3");
    EXPECT_EQ(restored.entries().back().path, last);
    EXPECT_EQ(rig.messages().size(), 1u) << "nothing refused on the way back";
}

struct PathCase {
    std::string argument;
    std::vector<std::string> paths;    // "{here}" is the current folder
    std::vector<std::string> log = {}; // red lines
};

TEST(HostilePaths, RelativePathsBecomeAbsoluteAndOverlongOnesAreRefused) {
    ModelRig rig;
    rig.folder.write("lists/rel.m3u", "song.mp3\n");
    const CurrentFolder inside(rig.folder.path());
    const std::string here = QFile::encodeName(QDir::currentPath()).toStdString();
    const std::string tooLong = "/" + std::string(MaxPathBytes, 'x');
    const std::string refused = "Path longer than 4095 bytes not added: '";
    // clang-format off
    const PathCase cases[] = {
        {"rel/a.mp3", {"{here}/rel/a.mp3"}},
        {"../up.mp3", {"{here}/../up.mp3"}},
        {"sub\\win.mp3", {"{here}/sub/win.mp3"}},
        {"lists/rel.m3u", {"{here}/lists/song.mp3"}}, // the list's own folder is absolute too
        {"/abs/b.mp3", {"/abs/b.mp3"}},
        {"C:\\Music\\c.mp3", {"C:/Music/c.mp3"}},
        {"https://host/live", {"https://host/live"}}, // streams stay as they are
        {"HTTP://host/a.mp3", {"HTTP://host/a.mp3"}},
        {tooLong, {}, {refused + tooLong.substr(0, 200) + "...'!"}},
        {std::string(MaxPathBytes - 3, 'y'), {},
         {refused + (here + "/" + std::string(MaxPathBytes - 3, 'y')).substr(0, 200) + "...'!"}},
    };
    // clang-format on
    for (const PathCase& c : cases) {
        rig.model->clearList(false);
        std::remove(rig.logPath.c_str());
        rig.model->addPaths({QFile::decodeName(QByteArray::fromStdString(c.argument))});
        std::vector<std::string> expected;
        for (const std::string& path : c.paths) {
            expected.push_back(fill(path, {{"here", here}}));
        }
        std::vector<LogMessage> expectedLog;
        for (const std::string& line : c.log) {
            expectedLog.push_back({"red", line});
        }
        EXPECT_EQ(pathsOf(*rig.model), expected) << c.argument.substr(0, 80);
        EXPECT_EQ(rig.messages(), expectedLog) << c.argument.substr(0, 80);
    }
}

struct ZipCase {
    const char* what;
    ZipUnpacker::Limits limits;
    // Each archive's members as (name, size in bytes); the data compresses to almost nothing,
    // as in an archive made to fill the disk.
    std::vector<std::vector<std::pair<std::string, int>>> archives;
    bool emptyFolderBetween; // clearList(true) before the last archive
    std::vector<std::string> titlesStartingWith;
    std::vector<std::string> log; // red lines; "{zip0}", "{zip1}" and "{temp}" are filled in
};

TEST(HostileZips, UnpackingStopsAtTheArchiveRunAndDiskBudgetsWithALogLine) {
    const std::vector<std::pair<std::string, int>> three = {{"a", 1000}, {"b", 1000}, {"c", 1000}};
    const std::vector<std::pair<std::string, int>> two = {{"d", 1000}, {"e", 1000}};
    // clang-format off
    const ZipCase cases[] = {
        {"per archive", {.archiveBytes = 2500}, {three}, false, {"a", "b"},
         {"Zip archive '{zip0}' unpacks to more than 2500 bytes; 'c' and later members not "
          "unpacked!"}},
        {"per run", {.runBytes = 2500}, {three, two}, false, {"a", "b"},
         {"Unpacked zip members reached 2500 bytes; 'c' and later members not unpacked!",
          "Unpacked zip members reached 2500 bytes; 'd' and later members not unpacked!"}},
        {"per run, counted again after the folder was emptied", {.runBytes = 2500},
         {three, two}, true, {"d", "e"},
         {"Unpacked zip members reached 2500 bytes; 'c' and later members not unpacked!"}},
        {"free disk space", {.minFreeDiskBytes = 1ll << 62}, {three}, false, {},
         {"Less than 4611686018427387904 bytes would be left free in '{temp}'; 'a' and later "
          "members not unpacked!"}},
    };
    // clang-format on
    for (const ZipCase& c : cases) {
        ModelRig rig(c.limits);
        std::vector<std::pair<std::string, std::string>> names = {
            {"temp", rig.tempFolder.string()}};
        for (size_t i = 0; i < c.archives.size(); ++i) {
            const std::string archive = rig.folder.str() + "/" + std::to_string(i) + ".zip";
            std::vector<std::pair<std::string, std::string>> members;
            for (const auto& [name, size] : c.archives[i]) {
                members.emplace_back(name, std::string(static_cast<size_t>(size), '\0'));
            }
            playlisttest::writeZip(archive, members);
            names.emplace_back("zip" + std::to_string(i), archive);
            if (c.emptyFolderBetween && i + 1 == c.archives.size()) {
                rig.model->clearList(true);
            }
            rig.model->addPaths({q(archive)});
        }
        std::vector<std::string> titles;
        for (const PlaylistEntry& entry : rig.model->entries()) {
            titles.push_back(entry.title.substr(0, entry.title.find('_')));
        }
        std::vector<LogMessage> expectedLog;
        for (const std::string& line : c.log) {
            expectedLog.push_back({"red", fill(line, names)});
        }
        EXPECT_EQ(titles, c.titlesStartingWith) << c.what;
        EXPECT_EQ(rig.messages(), expectedLog) << c.what;
        EXPECT_EQ(playlisttest::filesIn(rig.tempFolder).size(), titles.size())
            << c.what << ": no partial file left";
    }
}

// ---- the last playlist ----

enum class Planted { Nothing, OwnList, ForeignList, HugeFile, Folder };

struct LastListCase {
    Planted planted;
    PlaylistModel::LastList result;
    std::vector<std::string> log; // "{file}" is the last-playlist path
    bool orphanRemoved;           // the unpacked file that no entry uses is gone
    bool keptAfterEmptySave;      // saving an empty list leaves the file as it was
};

TEST(HostileLastPlaylist, AListThatWasNotReadIsNeverRestoredReplacedOrTidiedAway) {
    // clang-format off
    const LastListCase cases[] = {
        {Planted::Nothing, PlaylistModel::LastList::Missing,
         {"black:Removed 2 unpacked files that no playlist entry uses from '{temp}/'"}, true,
         false},
        {Planted::OwnList, PlaylistModel::LastList::Restored,
         {"black:Removed 1 unpacked files that no playlist entry uses from '{temp}/'"}, true,
         false},
        {Planted::ForeignList, PlaylistModel::LastList::Refused,
         {"red:Last playlist '{file}' belongs to another user; not loaded!"}, false, true},
        {Planted::HugeFile, PlaylistModel::LastList::Refused,
         {"red:Playlist file '{file}' is too large; not read!",
          "red:Last playlist '{file}' could not be read; it is kept as it is!"}, false, true},
        {Planted::Folder, PlaylistModel::LastList::Refused,
         {"red:Last playlist '{file}' could not be read; it is kept as it is!"}, false, true},
    };
    // clang-format on
    for (const LastListCase& c : cases) {
        if (c.planted == Planted::ForeignList && ::geteuid() != 0) {
            continue; // giving a file to another user needs root
        }
        ModelRig rig;
        const std::string file = rig.model->options().lastPlaylistFile.toStdString();
        const std::string used = rig.folder.write("systemp/Tamberlo_tmp/used.mod_aaaaaa.tmp", "1");
        rig.folder.write("systemp/Tamberlo_tmp/orphan.mod_bbbbbb.tmp", "2");
        switch (c.planted) {
        case Planted::Nothing:
            break;
        case Planted::OwnList:
        case Planted::ForeignList:
            rig.folder.write("last.m3u", "#EXTM3U\n" + used + "\n");
            if (c.planted == Planted::ForeignList) {
                ASSERT_EQ(::chown(file.c_str(), 65534, 65534), 0);
            }
            break;
        case Planted::HugeFile:
            rig.folder.write("last.m3u", used + "\n");
            fs::resize_file(file, MaxPlaylistFileBytes + 1);
            break;
        case Planted::Folder:
            fs::create_directory(file);
            break;
        }
        const auto stamp = [&] {
            std::error_code none;
            return std::make_pair(fs::last_write_time(file, none), fs::file_size(file, none));
        };
        const auto before = stamp();

        const int which = static_cast<int>(c.planted);
        EXPECT_EQ(rig.model->restoreLastPlaylist(), c.result) << which;
        EXPECT_EQ(rig.model->count(), c.result == PlaylistModel::LastList::Restored ? 1 : 0);
        std::vector<LogMessage> expectedLog;
        for (const std::string& line : c.log) {
            const size_t colon = line.find(':');
            expectedLog.push_back(
                {line.substr(0, colon), fill(line.substr(colon + 1),
                                             {{"file", file}, {"temp", rig.tempFolder.string()}})});
        }
        EXPECT_EQ(rig.messages(), expectedLog) << which;
        EXPECT_EQ(fs::exists(rig.tempFolder / "orphan.mod_bbbbbb.tmp"), !c.orphanRemoved) << which;
        EXPECT_EQ(fs::exists(used), c.result != PlaylistModel::LastList::Missing) << which;

        rig.model->clearList(false);
        rig.model->saveLastPlaylist();
        EXPECT_EQ(stamp() == before, c.keptAfterEmptySave) << which;
    }
}

// A shared temporary folder (sticky, anyone may create files) holding another user's
// Tamberlo_Playlist.m3u: this user's player neither loads it nor saves silently over it.
TEST(HostileLastPlaylist, AnotherUsersListInASharedFolderIsNotLoadedAndTheFailedSaveIsLogged) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "playing two users needs root";
    }
    ModelRig rig;
    const fs::path shared = rig.folder.path() / "shared";
    fs::create_directory(shared);
    fs::permissions(shared, fs::perms::all | fs::perms::sticky_bit);
    const std::string planted = rig.folder.write("shared/Tamberlo_Playlist.m3u", "/planted.mp3\n");
    fs::permissions(rig.folder.path(), fs::perms::all);
    fs::permissions(rig.logPath, fs::perms::all);
    PlaylistModel::Options options = rig.model->options();
    options.lastPlaylistFile = q(planted);
    options.tempFolder = q((shared / "Tamberlo_tmp").string());
    EXPECT_EXIT(
        {
            if (::setgid(65534) != 0 || ::setuid(65534) != 0) {
                std::_Exit(2);
            }
            PlaylistModel model(rig.log, options);
            const bool refused = model.restoreLastPlaylist() == PlaylistModel::LastList::Refused;
            model.addPaths({q("/mine.mp3")});
            model.saveLastPlaylist();
            std::_Exit(refused && model.count() == 1 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(playlisttest::readFile(planted), "/planted.mp3\n");
    EXPECT_EQ(rig.messages(),
              (std::vector<LogMessage>{
                  {"red", "Last playlist '" + planted + "' belongs to another user; not loaded!"},
                  {"red", "Could not save the playlist to '" + planted + "'!"}}));
}

} // namespace
