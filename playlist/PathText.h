#pragma once
// Byte-level text rules shared by the playlist readers and addPaths. All inputs are 8-bit paths
// (see PlaylistEntry.h); ASCII case folding only, so multi-byte UTF-8 sequences are never
// touched.
//
// Threading: pure functions; any thread.

#include <string>
#include <string_view>

namespace pathtext {

// Every '\' replaced with '/'.
std::string withForwardSlashes(std::string_view text);

// Text after the last '/', or all of `text` when it has none.
std::string_view afterLastSlash(std::string_view text);

// The folder relative list entries are joined to: `listPath` up to its last '/', or the whole
// of `listPath` when it has none.
std::string_view listFolder(std::string_view listPath);

// `text` without ASCII white space (space, \t, \n, \v, \f, \r) at both ends. Bytes >= 0x80 are
// never trimmed: they may be part of a UTF-8 sequence.
std::string_view trimmed(std::string_view text);

bool equalNoCase(std::string_view a, std::string_view b);
bool startsWithNoCase(std::string_view text, std::string_view prefix);
bool endsWithNoCase(std::string_view text, std::string_view suffix);

// True for a path that is absolute in the file-system sense on either platform family: it starts
// with '/' or '\', or with a drive letter and ':' ("C:\Music"). Everything else is relative.
bool isAbsolutePath(std::string_view text);

// The one test the player uses to tell a stream from a file: "http://" or "https://" in any case.
// A path for which this is false must be opened as a local file and never handed to a URL or
// protocol parser, so a playlist line such as "concat:a|b" or "file:///x" can only ever name a
// (probably missing) file.
bool isHttpUrl(std::string_view path);

} // namespace pathtext
