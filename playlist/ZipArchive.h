#pragma once
// Owns a minizip archive handle (unzFile) and closes it with unzClose.
//
// Threading: one owner thread per object; minizip handles are not shared.

#include <unzip.h>

#include <memory>
#include <string>

struct ZipCloser {
    void operator()(void* archive) const { unzClose(static_cast<unzFile>(archive)); }
};

class ZipArchive {
public:
    // Opens the archive at `path` (8-bit). Empty (operator bool false) when minizip cannot open
    // it as a zip archive or it is not a regular file (a FIFO would block the open).
    static ZipArchive open(const std::string& path);

    explicit operator bool() const { return handle_ != nullptr; }
    unzFile get() const { return static_cast<unzFile>(handle_.get()); }

private:
    std::unique_ptr<void, ZipCloser> handle_;
};
