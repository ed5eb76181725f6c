#pragma once
// Decoder of the LHA static-Huffman methods (-lh4- to -lh7-): LZSS over a sliding window whose
// literals, match lengths and match distances are coded in blocks, each with its own Huffman
// tables (the code lengths of the literal/length table are themselves Huffman coded).
//
// Threading: pure function, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ym {

// Decodes `packed` into exactly `originalSize` bytes with a window of 2^dictionaryBits bytes
// (12..16; 13 for -lh5-). Nothing when a table is malformed, a match reaches before the
// start, or the data ends early. Work is bounded by `originalSize` and the packed size.
std::optional<std::vector<uint8_t>> decodeLhStatic(std::span<const uint8_t> packed,
                                                   size_t originalSize, int dictionaryBits);

} // namespace ym
