#pragma once
// Song-sized memory blocks (an unpacked gzip song, a ripped module): reserving one so that the
// kernel backs it with huge pages where it can, and sharing one with the sound library.
//
// A block of hundreds of megabytes is costly to fault in page by page and to give back: the
// unmap of such a block holds up every thread of the process while the kernel frees its pages
// (measured: 35 ms for 400 MB in 4 KiB pages, a few ms in 2 MiB pages). So a block is reserved
// once at its final size, hinted for huge pages, and never copied.
//
// Threading: plain functions; any thread. A shared block is immutable and may be read from
// several threads; it is freed on whichever thread drops the last reference.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace engine_detail {

// Reserves capacity for at least `bytes` in the empty `block` (nothing is touched yet, so no
// memory is committed) and, for blocks of 4 MiB and more, asks the kernel to back the
// 2 MiB-aligned part of it with huge pages (ignored where the kernel cannot).
void reserveLargeBlock(std::vector<uint8_t>& block, size_t bytes);

// Takes `block` into an immutable shared block without copying it.
std::shared_ptr<const std::vector<uint8_t>> shareBlock(std::vector<uint8_t>&& block);

} // namespace engine_detail
