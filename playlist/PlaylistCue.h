#pragma once
// CUE sheets: every audio TRACK becomes an entry that plays its own range of its FILE as a song
// of its own, and saved lists keep such entries as "SHEET#N".
//
// Reading rules (keywords in any case; a UTF-8 BOM, CRLF and lone CR are taken; lines as in
// PlaylistFiles.h):
// - FILE "name" TYPE (or unquoted: the words before the last one) names the audio file of the
//   tracks that follow; a relative name is joined to the sheet's folder, '\' becomes '/'. Any
//   number of FILE lines: a track plays the file in effect at its INDEX 01 line.
// - A track plays from its INDEX 01 (mm:ss:ff, 75 frames per second) to the next track's
//   INDEX 01 in the same file; the last track of a file plays to the file's end.
// - Only AUDIO tracks become entries; other tracks still end the track before them. A track
//   with no INDEX 01, no FILE before it, a bad time or an empty range is left out (reported).
// - Title: "PERFORMER - TITLE", with the track's PERFORMER or else the sheet's (the one before
//   the first TRACK); just TITLE without a performer; "Track N" when there is no TITLE. Values
//   are quoted or the rest of the line; text that is not UTF-8 is read as Latin-1.
// - The entry's path is "SHEET#N" (N the TRACK number without leading zeros); trackFile and
//   the range say what it plays (PlaylistEntry.h).
// - A FILE that names no existing file keeps its tracks (they fail when played, like a missing
//   M3U line) and is reported; only the first 64 FILE lines are looked up on disk.
//
// Threading: pure functions over files and memory; any thread.

#include "PlaylistEntry.h"
#include "PlaylistFiles.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Reads the sheet at `sheetPath` a piece at a time, within the room and the file size limit.
ListRead readCue(const std::string& sheetPath, ListRoom room = {});

// The same over bytes in memory; `sheetPath` gives the folder and the entries' paths.
ListRead parseCue(std::string_view contents, std::string_view sheetPath);

// "SHEET#N", the path of track N's entry. Saved as an ordinary M3U line, so a saved list needs
// no new syntax; CueTrackResolver turns it back into the track.
std::string cueTrackPath(std::string_view sheetPath, unsigned trackNumber);

// Turns entries whose path is "SOMETHING.cue#N" (".cue" in any case, N digits) and that name
// no existing file back into track N of that sheet: title, track file and range. Entries whose
// sheet or track cannot be found stay as they are (and fail when played). The last sheet read
// is kept, so the tracks of one sheet in a row read it once.
class CueTrackResolver {
public:
    void resolve(PlaylistEntry& entry);

private:
    std::string sheet_;
    std::vector<PlaylistEntry> tracks_;
    std::unordered_map<unsigned, std::size_t> trackIndex_; // track number -> first in tracks_
};
