#pragma once
// libaudiofile over a block of memory: an AFvirtualfile that reads from the block, and an owning
// handle that closes the file.
//
// Threading: one MemoryAudioFile per thread at a time; libaudiofile keeps no shared state once
// its (quiet) error handler is installed, which openMemoryAudioFile does once per process.

#include <audiofile.h>

#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>

namespace audiofile_codec {

struct FileCloser {
    void operator()(AFfilehandle file) const { afCloseFile(file); }
};
using FileHandle = std::unique_ptr<std::remove_pointer_t<AFfilehandle>, FileCloser>;

// The read position in a block; the virtual file's callbacks work on it. It must outlive the
// handle that reads through it.
struct MemoryCursor {
    std::span<const uint8_t> data;
    uint64_t position = 0; // bytes from the start, may lie past the end after a seek
};

// An audio file opened for reading from `cursor`'s block, or null when libaudiofile does not
// recognise or cannot parse it. Errors are not printed.
FileHandle openMemoryAudioFile(MemoryCursor& cursor);

} // namespace audiofile_codec
