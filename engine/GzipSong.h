#pragma once
// Gzip-compressed songs: recognising them and unpacking them into memory (never onto disk).
// Only regular files are opened (RegularFile.h), so a named pipe never blocks the caller.
//
// Threading: plain functions on files; any thread, no shared state.

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace engine_detail {

// True when the file opens and its first two bytes are the gzip magic 0x1F 0x8B. A path that
// cannot be opened (a URL, a missing file, a pipe) is not gzip.
bool hasGzipMagic(const std::string& path);

// The gzip trailer's size of the uncompressed data: the file's last 4 bytes as an unsigned
// little-endian number. 0 when the file cannot be opened or is shorter than 4 bytes.
uint32_t gzipTrailerSize(const std::string& path);

// Largest uncompressed size accepted: no song needs more, and a hostile trailer must not make
// the player reserve gigabytes.
inline constexpr uint32_t MaxGzipSongBytes = 512u * 1024 * 1024;

struct GzipUnpacked {
    enum class Status {
        Ok,         // data holds the whole uncompressed file
        TooLarge,   // the trailer claims more than MaxGzipSongBytes (then nothing was allocated),
                    // or the members together unpack to more
        Unreadable, // zlib could not open the file
        Damaged,    // truncated or corrupt data, or a trailer that does not match it
        Cancelled,  // the caller's cancel flag turned true; nothing is kept
    };
    Status status = Status::Unreadable;
    uint32_t claimedBytes = 0; // the trailer's size (of the last member only)
    std::vector<uint8_t> data;
    std::string detail; // zlib's message for Damaged
};

// Unpacks the whole file, every member in turn, into memory; at most MaxGzipSongBytes. The
// buffer is reserved once at the trailer's size when the compressed size makes that size
// possible (else it starts small), and grows only when more data unpacks; memory is committed
// only for the data actually unpacked. zlib checks each member's trailer. `cancel` (may be
// null) is looked at between chunks, so another thread can end a long unpack.
GzipUnpacked unpackGzipSong(const std::string& path, const std::atomic<bool>* cancel = nullptr);

} // namespace engine_detail
