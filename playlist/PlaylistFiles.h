#pragma once
// M3U and PLS playlist files: the two readers and the M3U writer.
//
// Line rules shared by both readers (all comparisons are ASCII, bytes are kept as they are):
// - A line ends at "\n", "\r\n" or a lone "\r"; text after the last line end is a line if it is
//   not empty, so a blank line (also a doubled line end at the end of the file) is a line of its
//   own.
// - A NUL byte ends the line's text.
// - The line is classified before trimming:
//   absolute (starts with '/', '\' or a drive letter and ':'): '\' -> '/'; path = line trimmed;
//     title = text after the last '/', trimmed.
//   relative and starting with "http://": title = path = line trimmed (case-sensitive in M3U,
//     any case in PLS).
//   relative otherwise: path = FOLDER + "/" + line with '\' -> '/', trimmed, where FOLDER is the
//     list file's path up to its last '/' (the whole list path when it has none); title = the
//     text after the last '/', trimmed. So a blank line gives an entry with an empty title.
// - M3U skips lines starting "#EXTM3U" or "#EXTINF" in any case; every other '#' line is a path.
// - PLS uses only lines starting "File" in any case; the value is the text after the first '='
//   (the whole line when there is none); key numbers are ignored, order is line order.
// - A line longer than MaxPathBytes, or one whose path would be, is left out and counted: it can
//   name no file. Only the first MaxPathBytes bytes of a line are ever kept in memory.
// Consequence: every path is an absolute path, the list's folder joined with a line, or an
// "http://" URL; it never holds '\n', '\r' or NUL and is at most MaxPathBytes long.
//
// Threading: pure functions over files and memory; any thread.

#include "PlaylistEntry.h"
#include "PlaylistLimits.h"

#include <QString>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class ListReadStatus {
    Ok,         // entries hold every line's entry (possibly none), up to the room given
    Unreadable, // missing, not a regular file, or cannot be read: no entries
    TooLarge,   // over MaxPlaylistFileBytes: not read, no entries
};

// How much a read may still add: reading stops before the entry that would not fit.
struct ListRoom {
    std::size_t entries = MaxPlaylistEntries;
    std::int64_t pathBytes = MaxPlaylistPathBytes; // summed over the paths added
};

struct ListRead {
    ListReadStatus status = ListReadStatus::Unreadable;
    std::vector<PlaylistEntry> entries;
    int overlongLines = 0; // lines left out because their path is longer than MaxPathBytes
    bool full = false;     // the room was used up; the lines after that were not read
    // What the reader could not make sense of (damaged XML, CUE tracks left out, ...), one
    // sentence each, for the log. M3U and PLS have none.
    std::vector<std::string> problems;
};

// Appends `entry` to out.entries when it fits the room (counting pathBytesOf) and takes its
// size from the room; otherwise sets out.full and returns false. An entry with a path (or
// track file) longer than MaxPathBytes is not added but counted in out.overlongLines (true).
bool addWithinRoom(PlaylistEntry&& entry, ListRoom& room, ListRead& out);

// Reads the list file at `listPath` (8-bit, QFile::encodeName form) a piece at a time, so memory
// follows the entries made, not the file's size. Never throws.
ListRead readM3u(const std::string& listPath, ListRoom room = {});
ListRead readPls(const std::string& listPath, ListRoom room = {});

// The same parsers over bytes already in memory; `listPath` only supplies the folder that
// relative lines are joined to. Overlong lines are left out.
std::vector<PlaylistEntry> parseM3u(std::string_view contents, std::string_view listPath);
std::vector<PlaylistEntry> parsePls(std::string_view contents, std::string_view listPath);

struct M3uWrite {
    bool written = false;   // false: target could not be opened or written; it is unchanged
    int skippedEntries = 0; // entries left out because their path holds '\n', '\r' or NUL,
                            // which would otherwise turn into extra lines on reading
};

// Writes "#EXTM3U\n", then each entry's path and "\n" in order; nothing else. The file is written
// to a temporary file beside `target` and renamed over it, so the target is either the old file
// or the whole new list, never a half-written one. An empty `target` (cancelled dialog) writes
// nothing.
M3uWrite writeM3u(const QString& target, const std::vector<PlaylistEntry>& entries);
