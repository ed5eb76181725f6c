// XSPF and CUE reading, adding both kinds through the model, and CUE tracks surviving the last
// playlist.

#include "PlaylistCue.h"
#include "PlaylistTestSupport.h"
#include "PlaylistXspf.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

using playlisttest::ModelRig;
using playlisttest::q;
using playlisttest::TitlesAndPaths;
using playlisttest::titlesAndPaths;

namespace {

std::string xspf(const std::string& tracks, const std::string& playlistAttributes = "") {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<playlist version=\"1\" "
           "xmlns=\"http://xspf.org/ns/0/\"" +
           playlistAttributes + "><trackList>" + tracks + "</trackList></playlist>\n";
}

std::string track(const std::string& inside) {
    return "<track>" + inside + "</track>";
}

std::string location(const std::string& where) {
    return track("<location>" + where + "</location>");
}

TEST(XspfParsing, LocationsBecomeLocalPathsOrStreamsWithTheirTitles) {
    struct Case {
        std::string contents;
        TitlesAndPaths expected;
    };
    // clang-format off
    const Case cases[] = {
        {xspf(location("file:///music/a%20b.mp3") + location(" file:///music/c d.mp3 ")),
         {{"a b.mp3", "/music/a b.mp3"}, {"c d.mp3", "/music/c d.mp3"}}},
        {xspf(location("file:///m%C3%BCsic/caf%C3%A9.flac") + location("file:///d/\xc3\xa9.ogg")),
         {{"caf\xc3\xa9.flac", "/m\xc3\xbcsic/caf\xc3\xa9.flac"}, {"\xc3\xa9.ogg", "/d/\xc3\xa9.ogg"}}},
        {xspf(location("file://localhost/x.mp3") + location("sub/e%20f.ogg") + location("../up.wav")),
         {{"x.mp3", "/x.mp3"}, {"e f.ogg", "/l/sub/e f.ogg"}, {"up.wav", "/up.wav"}}},
        {xspf(location("C:\\Music\\a.mp3") + location("/abs/b.mp3")),
         {{"a.mp3", "C:/Music/a.mp3"}, {"b.mp3", "/abs/b.mp3"}}},
        {xspf(location("http://host/live") + location("HTTPS://host/b.mp3")),
         {{"http://host/live", "http://host/live"}, {"https://host/b.mp3", "https://host/b.mp3"}}},
        {xspf(location("e.mp3"), " xml:base=\"file:///base/\""), {{"e.mp3", "/base/e.mp3"}}},
        {xspf(location("s.mp3"), " xml:base=\"http://host/radio/\""),
         {{"http://host/radio/s.mp3", "http://host/radio/s.mp3"}}},
        // Titles; the first location of a track counts; unknown schemes and elements are skipped.
        {xspf(track("<creator>Band</creator><title>Song &amp; Dance</title>"
                    "<location>/a.mp3</location><location>/b.mp3</location>") +
              track("<location>http://h/s</location><title>Radio</title>") +
              track("<title>No location</title>") + location("ftp://h/x.mp3") +
              location("file://otherhost/x.mp3") + location("file:///a%0Ab") + location("file:x") + location("http:/x") +
              track("<extension application=\"x\"><location>/no.mp3</location></extension>")),
         {{"Band - Song & Dance", "/a.mp3"}, {"Radio", "http://h/s"}}},
        {"<playlist><trackList><track><location>/plain.mp3</location></track></trackList>"
         "</playlist>", {{"plain.mp3", "/plain.mp3"}}}, // no namespace
    };
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(titlesAndPaths(parseXspf(c.contents, "/l/x.xspf").entries), c.expected)
            << c.contents;
    }
}

TEST(XspfParsing, DamagedXmlKeepsTheTracksBeforeTheErrorAndSaysWhere) {
    struct Case {
        std::string contents;
        size_t entries;
        std::string problemStart;
    };
    const std::string first = location("/a.mp3");
    const Case cases[] = {
        {xspf(first + location("/b.mp3")), 2, ""},
        {xspf(first + "<track><location>/b.mp3</loc></track>"), 1, "XML error at line 2, column"},
        {"<playlist><trackList>" + first + "<track><location>/b", 1,
         "the file ends inside the XML; the 1 entries"},
        {"<html><body/></html>", 0, "not an XSPF playlist"},
        {"", 0, "no XML in the file"},
        {xspf(location("ftp://h/x.mp3")), 0, "1 location(s) that name no local file"},
    };
    for (const Case& c : cases) {
        const ListRead read = parseXspf(c.contents, "/l/x.xspf");
        EXPECT_EQ(read.entries.size(), c.entries) << c.contents;
        if (c.problemStart.empty()) {
            EXPECT_TRUE(read.problems.empty()) << c.contents;
        } else {
            ASSERT_EQ(read.problems.size(), 1u) << c.contents;
            EXPECT_TRUE(read.problems[0].starts_with(c.problemStart)) << read.problems[0];
        }
    }
}

// (title, path, track file, start ms, end ms) of every entry.
using Tracks = std::vector<std::tuple<std::string, std::string, std::string, unsigned, unsigned>>;
Tracks tracksOf(const std::vector<PlaylistEntry>& entries) {
    Tracks out;
    for (const PlaylistEntry& e : entries) {
        out.emplace_back(e.title, e.path, e.trackFile, e.trackStartMs, e.trackEndMs);
    }
    return out;
}

TEST(CueParsing, TracksPlayFromTheirIndex01ToTheNextTracksIndex01) {
    struct Case {
        std::string sheet;
        Tracks expected;
        int leftOut = 0; // tracks reported as left out
    };
    const std::string sheet = "/l/album.cue";
    // clang-format off
    const Case cases[] = {
        {"PERFORMER \"The Band\"\nTITLE \"Album\"\nFILE \"album.wav\" WAVE\n"
         "  TRACK 01 AUDIO\n    TITLE \"One\"\n    INDEX 01 00:00:00\n"
         "  TRACK 02 AUDIO\n    TITLE \"Two\"\n    PERFORMER \"Guest\"\n"
         "    INDEX 00 03:58:00\n    INDEX 01 04:00:37\n",
         {{"The Band - One", sheet + "#1", "/l/album.wav", 0, 240493},
          {"Guest - Two", sheet + "#2", "/l/album.wav", 240493, 0}}},
        // BOM, CRLF, lower case, unquoted values, no performer, no title.
        {"\xEF\xBB\xBF" "file my album.flac FLAC\r\ntrack 1 audio\r\ntitle First Song\r\n"
         "index 01 00:01:01\r\ntrack 2 audio\r\nindex 01 01:00:74\r\n",
         {{"First Song", sheet + "#1", "/l/my album.flac", 1013, 60987},
          {"Track 2", sheet + "#2", "/l/my album.flac", 60987, 0}}},
        // Three tracks, the middle one without INDEX 01: the first runs to the third.
        {"FILE \"C:\\Music\\a.wav\" WAVE\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
         "TRACK 02 AUDIO\nINDEX 00 01:00:00\nTRACK 03 AUDIO\nTITLE \"Caf\xe9\"\n"
         "INDEX 01 02:00:00\n",
         {{"Track 1", sheet + "#1", "C:/Music/a.wav", 0, 120000},
          {"Caf\xc3\xa9", sheet + "#3", "C:/Music/a.wav", 120000, 0}}, 1},
        // One FILE per track: a track plays its own file; the gap before the next stays in it.
        {"FILE \"a.wav\" WAVE\nTRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\n"
         "INDEX 00 04:00:00\nFILE \"b.wav\" WAVE\nINDEX 01 00:00:00\n",
         {{"Track 1", sheet + "#1", "/l/a.wav", 0, 0},
          {"Track 2", sheet + "#2", "/l/b.wav", 0, 0}}},
        // A data track ends the audio track before it but is no entry.
        {"FILE \"x.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
         "TRACK 02 MODE1/2352\nINDEX 01 10:00:00\n",
         {{"Track 1", sheet + "#1", "/l/x.bin", 0, 600000}}},
        // No FILE yet, a bad time, a start before the previous one: left out.
        {"TRACK 01 AUDIO\nINDEX 01 00:00:00\nFILE a.wav WAVE\nTRACK 02 AUDIO\nINDEX 01 00:60:00\n"
         "TRACK 03 AUDIO\nINDEX 01 05:00:00\nTRACK 04 AUDIO\nINDEX 01 01:00:00\n",
         {{"Track 4", sheet + "#4", "/l/a.wav", 60000, 0}}, 3},
    };
    // clang-format on
    for (const Case& c : cases) {
        const ListRead read = parseCue(c.sheet, sheet);
        EXPECT_EQ(tracksOf(read.entries), c.expected) << c.sheet;
        const std::string leftOut = std::to_string(c.leftOut) + " track(s) without";
        const bool reported = !read.problems.empty() && read.problems[0].starts_with(leftOut);
        EXPECT_EQ(reported, c.leftOut > 0) << c.sheet;
    }
}

TEST(AddPaths, XspfAndCueFilesAddTheirEntriesAndLogWhatTheyLeaveOut) {
    ModelRig rig;
    const std::string dir = rig.folder.str();
    rig.folder.write("album.flac", "not really audio");
    const std::string cue = rig.folder.write(
        "album.CUE", "FILE \"album.flac\" WAVE\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
                     "TRACK 02 AUDIO\nINDEX 01 00:10:00\nFILE \"gone.flac\" WAVE\n"
                     "TRACK 03 AUDIO\nINDEX 01 00:00:00\n");
    const std::string list =
        rig.folder.write("l.XSPF", "<playlist><trackList>" + location("a.mp3") + "<track><loc");

    rig.model->addPaths({q(cue), q(list)});

    EXPECT_EQ(tracksOf(rig.model->entries()),
              (Tracks{{"Track 1", cue + "#1", dir + "/album.flac", 0, 10000},
                      {"Track 2", cue + "#2", dir + "/album.flac", 10000, 0},
                      {"Track 3", cue + "#3", dir + "/gone.flac", 0, 0},
                      {"a.mp3", dir + "/a.mp3", "", 0, 0}}));
    const std::vector<playlisttest::LogMessage> expected = {
        {"red", "Playlist file '" + cue + "': 1 FILE(s) not found (first '" + dir +
                    "/gone.flac'); their tracks will fail to play!"},
        {"red", "Playlist file '" + list +
                    "': the file ends inside the XML; the 1 entries before it are kept!"}};
    EXPECT_EQ(rig.messages(), expected);
}

TEST(LastPlaylist, CueTracksComeBackAsTheSameTracksAndOrdinaryLinesStayAsTheyAre) {
    ModelRig rig;
    const std::string sheet = rig.folder.write(
        "a.cue", "PERFORMER P\nFILE a.wav WAVE\nTRACK 1 AUDIO\nTITLE T1\nINDEX 01 00:00:00\n"
                 "TRACK 2 AUDIO\nTITLE T2\nINDEX 01 00:02:00\nTRACK 3 AUDIO\nINDEX 01 00:04:00\n");
    // A real file with a track-like name stays that file.
    const std::string oddFile = rig.folder.write("odd.cue#2", "");
    rig.model->addPaths({q(sheet), q(oddFile), q("http://host/s")});
    rig.model->saveLastPlaylist();
    EXPECT_EQ(playlisttest::readFile(rig.model->options().lastPlaylistFile.toStdString()),
              "#EXTM3U\n" + sheet + "#1\n" + sheet + "#2\n" + sheet + "#3\n" + oddFile +
                  "\nhttp://host/s\n");

    PlaylistModel restored(rig.log, rig.model->options());
    ASSERT_EQ(restored.restoreLastPlaylist(), PlaylistModel::LastList::Restored);
    EXPECT_EQ(restored.entries(), rig.model->entries());

    // Without its sheet an entry keeps the saved path, which then fails to play.
    std::filesystem::remove(sheet);
    PlaylistModel orphaned(rig.log, rig.model->options());
    orphaned.restoreLastPlaylist();
    ASSERT_EQ(orphaned.count(), 5);
    EXPECT_EQ(orphaned.entry(1).path, sheet + "#2");
    EXPECT_TRUE(orphaned.entry(1).trackFile.empty());
}

} // namespace
