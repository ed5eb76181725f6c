#pragma once
// XSPF playlists (XML Shareable Playlist Format, version 1), read with QXmlStreamReader.
//
// Reading rules:
// - Every <track> in <playlist><trackList> gives at most one entry, from its first <location>
//   (white space around it trimmed). Elements are matched by local name, so lists without the
//   XSPF namespace read too; other elements (extensions, meta, ...) are skipped.
// - The location is a URI reference, resolved against the xml:base in effect (each xml:base
//   itself resolved against the one around it), or else against the list file's folder.
//   file: URLs (no host or "localhost") become local paths, percent-decoded; http: and https:
//   URLs become stream entries as in M3U (title = path = the URL). A location that starts with
//   a drive letter ("C:\Music\a.mp3") is a local path as written, '\' -> '/'. Other schemes,
//   other hosts, relative file: URLs and paths that would hold a line break or NUL once decoded
//   are left out and reported. So every path is absolute or an http(s) URL.
// - Title: "CREATOR - TITLE" from the track's <creator> and <title>, just TITLE without a
//   creator, else the file name (or the URL for streams).
// - Damaged XML: the entries of the tracks completed before the error stay, and the error is
//   reported with its line and column. A document whose root is not <playlist> gives none.
// - Limits as for the other lists: the file size, MaxPathBytes per path, the room.
//
// Threading: pure functions over files and memory; any thread.

#include "PlaylistFiles.h"

#include <string>
#include <string_view>

// Reads the list at `listPath` a piece at a time, within the room and the file size limit.
ListRead readXspf(const std::string& listPath, ListRoom room = {});

// The same over bytes in memory; `listPath` gives the folder relative locations start from.
ListRead parseXspf(std::string_view contents, std::string_view listPath);
