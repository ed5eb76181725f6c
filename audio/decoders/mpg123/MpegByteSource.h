#pragma once
// The bytes of a local MPEG audio source, a file or a memory block, read at any offset (for the
// frame-chain check) and as a seekable stream through libmpg123's replaced reader, so that both
// kinds of source take the same path through the library.
//
// Threading: one thread at a time (the decoder's); the reader callbacks run inside the
// libmpg123 call made by that thread.

#include <sys/types.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace audio::mpg123_decoder {

class MpegByteSource {
public:
    // Reads `memory`, which the source keeps alive.
    explicit MpegByteSource(std::shared_ptr<const std::vector<uint8_t>> memory);
    // Opens the file at `path`; check isOpen().
    explicit MpegByteSource(const std::string& path);

    bool isOpen() const { return memory_ != nullptr || file_.is_open(); }
    // Size of the source in bytes.
    uint64_t size() const { return size_; }
    // Copies up to `bytes` bytes from `offset` into `out`; fewer at the end or on a read error.
    // Returns the number copied. Does not move the stream position.
    size_t readAt(uint64_t offset, uint8_t* out, size_t bytes);

    // libmpg123 reader callbacks (mpg123_replace_reader_handle) on a MpegByteSource*: read from
    // the stream position (bytes read, 0 at the end, -1 on an error) and lseek (the new
    // position, or -1 for a position outside 0..size()).
    static ssize_t readStream(void* source, void* out, size_t bytes);
    static off_t seekStream(void* source, off_t offset, int whence);

private:
    std::shared_ptr<const std::vector<uint8_t>> memory_;
    std::ifstream file_;
    uint64_t size_ = 0;
    uint64_t position_ = 0; // stream position of the reader callbacks
};

} // namespace audio::mpg123_decoder
