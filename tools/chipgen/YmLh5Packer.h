#pragma once
// Our own LHA packer for test media: the -lh5- method (LZSS over an 8 KiB window, greedy
// matching, static Huffman tables per block) and one-member archives with a level 0, 1 or 2
// header around it, or the data stored as -lh0-.
//
// Threading: pure functions, callable from any thread.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace chipgen {

// The -lh5- bit stream of `data`; each block holds at most `blockSymbols` (1..65535) codes.
std::vector<uint8_t> lh5Compress(std::span<const uint8_t> data, size_t blockSymbols = 16384);

struct LhaMemberOptions {
    std::string name = "song.ym";
    int level = 0;       // header level, 0, 1 or 2
    bool stored = false; // -lh0- instead of -lh5-
};

// An LHA archive holding `data` as its one member (no end marker byte needed by readers, but
// one is written as archivers do).
std::vector<uint8_t> lhaArchive(std::span<const uint8_t> data, const LhaMemberOptions& options);

// CRC-16 as LHA headers store it (polynomial 0x8005 reflected, starting at 0).
uint16_t lhaChecksum(std::span<const uint8_t> data);

} // namespace chipgen
