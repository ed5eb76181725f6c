#include "GzipSong.h"

#include "LargeBlock.h"
#include "RegularFile.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <sys/stat.h>
#include <zlib.h>

namespace engine_detail {
namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

struct GzCloser {
    void operator()(gzFile_s* file) const { gzclose(file); }
};
using GzFile = std::unique_ptr<gzFile_s, GzCloser>;

constexpr size_t ReadChunk = 1u << 20;       // bytes unpacked per read
constexpr size_t InitialReserve = 16u << 20; // reserved up front when the trailer is not believed
// Deflate turns at most 258 bytes into one code of at least 2 bits, so no member unpacks to more
// than about 1032 times its compressed size.
constexpr uint64_t MaxDeflateRatio = 1032;

// The capacity to reserve before unpacking `claimed` bytes from a file of `fileBytes`: the
// trailer's size when the compressed data could hold it, plus one read so that the read that
// finds the end needs no more room; otherwise a modest start that grows with the data.
size_t plannedCapacity(uint32_t claimed, uint64_t fileBytes) {
    if (claimed <= fileBytes * MaxDeflateRatio) {
        return size_t{claimed} + ReadChunk;
    }
    return static_cast<size_t>(std::min<uint64_t>(fileBytes * MaxDeflateRatio, InitialReserve));
}

// A stdio stream on the regular file at `path`; empty for anything else.
File openRegularStream(const std::string& path) {
    UniqueFd fd = openRegularFile(path);
    if (!fd) {
        return File();
    }
    File file(::fdopen(fd.get(), "rb"));
    if (file) {
        fd.release(); // the stream closes it now
    }
    return file;
}

} // namespace

bool hasGzipMagic(const std::string& path) {
    File file = openRegularStream(path);
    if (!file) {
        return false;
    }
    unsigned char magic[2] = {0, 0};
    return std::fread(magic, 1, 2, file.get()) == 2 && magic[0] == 0x1F && magic[1] == 0x8B;
}

uint32_t gzipTrailerSize(const std::string& path) {
    File file = openRegularStream(path);
    if (!file || std::fseek(file.get(), -4, SEEK_END) != 0) {
        return 0;
    }
    unsigned char bytes[4];
    if (std::fread(bytes, 1, 4, file.get()) != 4) {
        return 0;
    }
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
           uint32_t{bytes[3]} << 24;
}

GzipUnpacked unpackGzipSong(const std::string& path, const std::atomic<bool>* cancel) {
    GzipUnpacked result;
    result.claimedBytes = gzipTrailerSize(path);
    if (result.claimedBytes > MaxGzipSongBytes) {
        result.status = GzipUnpacked::Status::TooLarge;
        return result;
    }
    UniqueFd fd = openRegularFile(path);
    struct stat info {};
    if (!fd || ::fstat(fd.get(), &info) != 0) {
        return result;
    }
    GzFile gz(gzdopen(fd.get(), "rb"));
    if (!gz) {
        return result;
    }
    fd.release(); // gzclose closes it now
    // One allocation of the size the trailer states, when the compressed data could hold that
    // much: growing a song-sized buffer step by step commits and copies memory several times
    // over, and each step's release stalls the whole process. Only what really unpacks is ever
    // touched, so a few bytes claiming hundreds of megabytes cost no more than they hold. The
    // trailer only states the last member's size (a file may hold several members, one after
    // the other), so the data is read to its end, one byte beyond the limit at most, and the
    // buffer grows past the plan when there is more; zlib checks every member's own trailer.
    reserveLargeBlock(result.data,
                      plannedCapacity(result.claimedBytes, static_cast<uint64_t>(info.st_size)));
    size_t total = 0;
    bool failed = false;
    for (;;) {
        if (cancel != nullptr && cancel->load()) {
            result.status = GzipUnpacked::Status::Cancelled;
            result.data = {};
            return result;
        }
        const size_t chunk = std::min<size_t>(size_t{MaxGzipSongBytes} + 1 - total, ReadChunk);
        result.data.resize(total + chunk);
        const int n = gzread(gz.get(), result.data.data() + total, static_cast<unsigned>(chunk));
        failed = n < 0;
        if (failed) {
            break;
        }
        total += static_cast<size_t>(n);
        if (static_cast<size_t>(n) < chunk || total > MaxGzipSongBytes) {
            break; // the data ended, or reached the limit
        }
    }
    if (!failed && total > MaxGzipSongBytes) {
        result.status = GzipUnpacked::Status::TooLarge;
        result.data = {};
        return result;
    }
    int zlibError = Z_OK;
    const char* message = gzerror(gz.get(), &zlibError);
    if (failed || (zlibError != Z_OK && zlibError != Z_STREAM_END)) {
        result.status = GzipUnpacked::Status::Damaged;
        result.detail = message != nullptr ? message : "";
        result.data = {};
        return result;
    }
    result.data.resize(total);
    result.status = GzipUnpacked::Status::Ok;
    return result;
}

} // namespace engine_detail
