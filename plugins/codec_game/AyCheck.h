#pragma once
// A structural check of a ZX Spectrum AY file before libgme reads it: the format is a web of
// 16-bit relative pointers, and libgme stops the program (an assertion) on one that leaves
// the file.
//
// Threading: pure function, callable from any thread.

#include <cstdint>
#include <span>

namespace game_codec {

// True when every pointer of the AY file `data` that the player follows (author, notes, song
// table, each song's name, data, start registers and memory blocks) lands inside the file
// with room for what it points at, the strings end inside the file and the memory blocks fit
// the 64 KiB address space.
bool isPlayableAy(std::span<const uint8_t> data);

} // namespace game_codec
