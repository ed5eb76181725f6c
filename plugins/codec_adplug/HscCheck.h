#pragma once
// Checks an HSC-Tracker song before libadplug's player sees it. The format has no magic and the
// player trusts every byte: order entries index its pattern array, instrument numbers its
// instrument table. A song passes only when its size is the fixed layout with whole patterns
// and every order entry, note and instrument number points at something that exists.
//
// Layout: 128 instruments of 12 bytes, 51 order bytes, then patterns of 64 rows x 9 channels x
// (note, effect) bytes, so the size is 1587 + n * 1152 for n = 1..50 patterns.
//
// Threading: pure function, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <span>

namespace adplug_codec {

// True when `data` (the file's start or all of it) holds a playable HSC song as far as it
// goes: only the pattern cells inside `data` are checked. `fileSize` is the whole file's size
// in bytes, or 0 when unknown: then the size rule is skipped and order entries may name any of
// the 50 patterns the format allows. Pass the whole file with its size before handing it to
// the player.
bool isPlayableHsc(std::span<const uint8_t> data, size_t fileSize);

} // namespace adplug_codec
