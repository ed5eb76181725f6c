#pragma once
// Which files the audiofile plug-in claims, by their first bytes, and the display names of the
// formats libaudiofile reports.
//
// Threading: pure functions, callable from any thread.

#include <cstdint>
#include <span>
#include <string_view>

namespace audiofile_codec {

// True when `head` (the first bytes of a file, any length) starts with the signature of a format
// this plug-in plays: Sample Vision, IRCAM, AVR, IFF 8SVX or NIST SPHERE. A few byte compares.
bool isClaimedFormat(std::span<const uint8_t> head);

// False when the structure around the audio is broken where libaudiofile itself would not stop:
// it walks IFF chunks by their sizes, so an IFF FORM larger than the file makes it step through
// missing bytes, and a chunk whose size points back (read as signed) makes it walk for ever.
// Every chunk must lie within its FORM, and the FORM within the file. Work linear in the size.
bool fitsInFile(std::span<const uint8_t> data);

// The display name of libaudiofile's file format token (AF_FILE_...), e.g. "Sample Vision";
// empty for formats the plug-in does not claim.
std::string_view formatDisplayName(int fileFormat);

} // namespace audiofile_codec
