#pragma once
// ABC notation: tunes written as text, each a header of fields such as "X:" (reference number),
// "T:" (title), "M:" (metre), "L:" (note length), ended by "K:" (key), then the notes. A file may
// hold many tunes, each starting with its "X:" line, after a file header that applies to all;
// lines starting with "%" are comments or directives.
//
// Threading: pure functions, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace libmod_codec {

// True when `head` (the first bytes of a file, at most a few KiB) starts like ABC: after an
// optional UTF-8 byte order mark, blank and "%" lines, the first line is a field such as "X:1"
// (or the file starts with a "%abc" version line), and a "K:" field starts a line within `head`.
bool looksLikeAbcTune(std::span<const uint8_t> head);

// The tunes of an ABC file, as views into its text.
struct AbcTunes {
    std::string_view header;             // the text before the first "X:" line
    std::vector<std::string_view> tunes; // each from its "X:" line to the next; at least one
};
// Splits `text` at its "X:" lines, into at most `maxTunes` (>= 1) tunes; later ones are left
// out. A text without "X:" lines is one tune.
AbcTunes findAbcTunes(std::string_view text, size_t maxTunes);

// The text that plays tune `index` on its own: the file header without its blank lines (which
// would end it before the tune starts), then the tune.
std::vector<uint8_t> tuneText(const AbcTunes& tunes, size_t index);

} // namespace libmod_codec
