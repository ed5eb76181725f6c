// Removing rows with the playing-row adjustment, clearing, marking and replacing entries.

#include "PlaylistTestSupport.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using playlisttest::ModelRig;

namespace {

// A model holding songs "0" .. "9".
void fillTen(ModelRig& rig) {
    QStringList paths;
    for (int i = 0; i < 10; ++i) {
        paths.append(QString::number(i));
    }
    rig.signalsSeen.clear();
    rig.model->addPaths(paths);
}

std::string titles(const PlaylistModel& model) {
    std::string out;
    for (const PlaylistEntry& entry : model.entries()) {
        out += entry.title;
    }
    return out;
}

TEST(RemoveRows, KeepsThePlayingSongAndReportsBlocksFromTheBottom) {
    struct Case {
        std::vector<int> rows;
        int currentBefore;
        int currentAfter;
        std::string titlesAfter;
        std::vector<std::string> signalsExpected;
    };
    // clang-format off
    const Case cases[] = {
        {{2, 5}, 7, 5, "01346789", {"removed 5 1", "removed 2 1"}}, // below the playing row
        {{7}, 7, 7, "012345689", {"removed 7 1"}},                  // playing row: index kept
        {{9}, 9, 9, "012345678", {"removed 9 1"}},                  // ... as the last row too
        {{}, 3, 3, "0123456789", {}},
        {{5, 2, 5, -1, 42, 3}, 4, 2, "0146789", {"removed 5 1", "removed 2 2"}}, // unsorted, bad
        {{0, 1, 2}, -1, -1, "3456789", {"removed 0 3"}},
        {{9, 8, 7, 6, 5, 4, 3, 2, 1, 0}, 4, 0, "", {"removed 0 10"}},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.titlesAfter);
        ModelRig rig;
        fillTen(rig);
        rig.signalsSeen.clear();
        EXPECT_EQ(rig.model->removeRows(c.rows, c.currentBefore), c.currentAfter);
        EXPECT_EQ(titles(*rig.model), c.titlesAfter);
        EXPECT_EQ(rig.signalsSeen, c.signalsExpected);
    }
}

TEST(MarkUnplayable, MarkFollowsItsRowAndBadRowsAreIgnored) {
    ModelRig rig;
    fillTen(rig);
    rig.model->setUnplayable(8);
    rig.model->setUnplayable(10);
    rig.model->setUnplayable(-1);
    rig.model->removeRows({2, 5}, -1);
    EXPECT_TRUE(rig.model->isUnplayable(6));
    EXPECT_EQ(rig.model->entry(6).title, "8");
    rig.model->setUnplayable(6, false);
    EXPECT_FALSE(rig.model->isUnplayable(6));

    EXPECT_EQ(rig.signalsSeen,
              (std::vector<std::string>{"appended 0 10", "changed 8", "removed 5 1", "removed 2 1",
                                        "changed 6"}));
}

TEST(ClearList, RemovesEntriesAndOnlyWhenAskedTheTemporaryFiles) {
    ModelRig rig;
    fillTen(rig);
    rig.model->setUnplayable(3);
    fs::create_directories(rig.tempFolder);
    std::ofstream(rig.tempFolder / "a.mod_abcdef.tmp") << "x";
    std::ofstream(rig.tempFolder / "._qwerty.tmp") << "hidden";

    EXPECT_FALSE(rig.model->keepTempFiles());
    rig.model->clearList(false);
    EXPECT_EQ(rig.model->count(), 0);
    EXPECT_EQ(playlisttest::filesIn(rig.tempFolder).size(), 2u);

    fillTen(rig);
    EXPECT_FALSE(rig.model->isUnplayable(3)); // marks went with the old entries
    rig.model->clearList(true);
    EXPECT_EQ(rig.model->count(), 0);
    EXPECT_FALSE(fs::exists(rig.tempFolder));
    EXPECT_EQ(rig.signalsSeen, (std::vector<std::string>{"appended 0 10", "cleared"}));

    // A subfolder (not made by the playlist) keeps the folder; its files still go.
    fs::create_directories(rig.tempFolder / "keep");
    std::ofstream(rig.tempFolder / "b.mod_abcdef.tmp") << "x";
    rig.model->clearList(true);
    EXPECT_TRUE(fs::exists(rig.tempFolder / "keep"));
    EXPECT_TRUE(playlisttest::filesIn(rig.tempFolder).empty());
    rig.model->clearList(true); // nothing left to do: still fine
}

TEST(Save, ModelWritesItsPathsAndLogsLeftOutEntries) {
    ModelRig rig;
    rig.model->addPaths({"/a.mp3", "/b\nc.mp3", "http://host/s"});
    const QString target = rig.model->options().lastPlaylistFile;
    EXPECT_TRUE(rig.model->writeM3u(target));
    EXPECT_EQ(playlisttest::readFile(target.toStdString()), "#EXTM3U\n/a.mp3\nhttp://host/s\n");
    EXPECT_EQ(rig.messages(), (std::vector<playlisttest::LogMessage>{
                                  {"red", "1 playlist entries with line breaks left out of '" +
                                              target.toStdString() + "'!"}}));
    EXPECT_FALSE(rig.model->writeM3u(QString()));
}

} // namespace
