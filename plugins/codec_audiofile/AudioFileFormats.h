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

// False when the structure around the audio promises more than `data` (the whole file) holds,
// checked where libaudiofile itself would walk past the end: an IFF FORM whose size exceeds the
// file makes it step through the missing bytes a chunk header at a time.
bool fitsInFile(std::span<const uint8_t> data);

// The display name of libaudiofile's file format token (AF_FILE_...), e.g. "Sample Vision";
// empty for formats the plug-in does not claim.
std::string_view formatDisplayName(int fileFormat);

} // namespace audiofile_codec
