#pragma once
// Lets FFmpeg demux a block in memory: an AVIOContext whose read and seek callbacks walk a
// shared, immutable byte vector.
//
// Threading: as the owning decoder (one thread at a time).

#include "AvioContext.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace audio::ffmpeg {

// The read position within one block. Must outlive the AVIOContext made from it.
class MemoryReader {
public:
    explicit MemoryReader(std::shared_ptr<const std::vector<uint8_t>> block)
        : block_(std::move(block)) {}

    // AVIOContext callbacks (opaque = this).
    static int read(void* opaque, uint8_t* buffer, int size);
    static int64_t seek(void* opaque, int64_t offset, int whence);

private:
    std::shared_ptr<const std::vector<uint8_t>> block_;
    int64_t position_ = 0;
};

// Returns a read-only, seekable AVIOContext over `reader`, or null when out of memory.
AvioContext makeMemoryAvio(MemoryReader* reader);

} // namespace audio::ffmpeg
