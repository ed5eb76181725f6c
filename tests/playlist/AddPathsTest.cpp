// addPaths branches and folder collection with real files and folders.

#include "PlaylistFiles.h"
#include "PlaylistTestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QStringList>

#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using playlisttest::LogMessage;
using playlisttest::ModelRig;
using playlisttest::q;
using playlisttest::TitlesAndPaths;

namespace {

TEST(AddPaths, EachBranchInOneCallAppendsInOrderWithOneSignal) {
    ModelRig rig;
    const std::string dir = rig.folder.str();
    rig.folder.write("lists/a.M3U", "#EXTM3U\n/x.mp3\n");
    rig.folder.write("lists/b.Pls", "[playlist]\nFile1=/y.mp3\n");

    rig.model->addPaths({q(dir + "/lists/a.M3U"), q("HTTP://host/a.mp3"), q("http://host/live"),
                         q(dir + "/lists/b.Pls"), q("C:\\Music\\z.mp3"), q(" spaced name.mp3 "),
                         q("/gone/folder/"), q(dir + "/lists/missing.m3u"),
                         QStringLiteral("/music/caf\u00e9.mp3")});

    const std::string here = QFile::encodeName(QDir::currentPath()).toStdString();
    const TitlesAndPaths expected = {
        {"x.mp3", "/x.mp3"},
        {"a.mp3", "HTTP://host/a.mp3"}, // capital scheme: a file name, not a URL
        {"http://host/live", "http://host/live"},
        {"y.mp3", "/y.mp3"},
        {"z.mp3", "C:/Music/z.mp3"},
        {" spaced name.mp3 ", here + "/ spaced name.mp3 "}, // no trimming, no existence test
        {"", "/gone/folder/"},
        {"caf\xc3\xa9.mp3", "/music/caf\xc3\xa9.mp3"}, // QFile::encodeName bytes
    };
    EXPECT_EQ(playlisttest::titlesAndPaths(rig.model->entries()), expected);
    // A missing list file adds nothing and says nothing.
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_EQ(rig.signalsSeen, std::vector<std::string>{"appended 0 8"});

    rig.model->addPaths({q("/again.mp3"), q("/again.mp3")}); // duplicates are fine
    rig.model->addPaths({q(dir + "/lists/missing.m3u")});    // nothing added: no signal
    EXPECT_EQ(rig.model->count(), 10);
    EXPECT_EQ(rig.signalsSeen, (std::vector<std::string>{"appended 0 8", "appended 8 2"}));
}

// Creates a folder tree from folder-relative file names (each file holds its own name).
void makeTree(const playlisttest::ScratchFolder& folder, const std::vector<std::string>& files) {
    for (const std::string& name : files) {
        folder.write(name, name);
    }
}

QStringList expectedPaths(const std::string& root, const std::vector<std::string>& names) {
    QStringList out;
    for (const std::string& name : names) {
        out.append(q(root + "/" + name));
    }
    return out;
}

TEST(CollectDirectory, SubfolderFilesComeFirstThenOwnFilesInNameOrderLinkLoopsWalkedOnce) {
    ModelRig rig;
    makeTree(rig.folder, {"t/b.mp3", "t/A.mp3", "t/.hidden.mp3", "t/s/a.mp3", "t/s/t/c.mp3",
                          "t/u/d.mp3", "t/.hiddendir/e.mp3", "other/f.mp3"});
    const std::string root = rig.folder.str() + "/t";
    fs::create_directory_symlink("..", root + "/s/loop");   // back up to t
    fs::create_directory_symlink(".", root + "/self");      // to itself
    fs::create_directory_symlink(root + "/s", root + "/z"); // a second way into s
    const QStringList first = rig.model->collectDirectory(q(root), true);
    EXPECT_EQ(first, expectedPaths(root, {"s/t/c.mp3", "s/a.mp3", "u/d.mp3", "A.mp3", "b.mp3"}));

    // Without emptying first, the shared list grows; with it, it starts over.
    const std::string other = rig.folder.str() + "/other";
    EXPECT_EQ(rig.model->collectDirectory(q(other), false),
              first + expectedPaths(other, {"f.mp3"}));
    EXPECT_EQ(rig.model->collectDirectory(q(other), true), expectedPaths(other, {"f.mp3"}));
    EXPECT_TRUE(rig.model->collectDirectory(q(rig.folder.str() + "/none"), true).isEmpty());
}

// Returns an empty text when collecting `root` gives only the readable file and logs the locked
// folder; otherwise what went wrong.
std::string checkUnreadableFolder(ModelRig& rig, const std::string& root) {
    const QStringList files = rig.model->collectDirectory(q(root), true);
    if (files != expectedPaths(root, {"ok/a.mp3"})) {
        return "files: " + files.join(',').toStdString();
    }
    const std::vector<LogMessage> expected = {
        {"red", "Folder '" + root + "/locked' cannot be read!"}};
    return rig.messages() == expected ? "" : "log: " + playlisttest::readFile(rig.logPath);
}

TEST(CollectDirectory, UnreadableSubfolderIsLoggedAndSkipped) {
    ModelRig rig;
    makeTree(rig.folder, {"t/ok/a.mp3", "t/locked/b.mp3"});
    const std::string root = rig.folder.str() + "/t";
    fs::permissions(root + "/locked", fs::perms::none);
    // root reads every folder, so the walk runs in a child that gives up its privileges.
    fs::permissions(rig.folder.path(), fs::perms::all);
    fs::permissions(rig.logPath, fs::perms::all);
    EXPECT_EXIT(
        {
            if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) {
                std::_Exit(2);
            }
            const std::string why = checkUnreadableFolder(rig, root);
            std::fprintf(stderr, "%s\n", why.c_str());
            std::_Exit(why.empty() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    fs::permissions(root + "/locked", fs::perms::owner_all);
}

} // namespace
