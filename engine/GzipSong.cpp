#include "GzipSong.h"

#include <algorithm>
#include <cstdio>
#include <memory>
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
constexpr size_t InitialReserve = 16u << 20; // reserved up front at most

} // namespace

bool hasGzipMagic(const std::string& path) {
    File file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        return false;
    }
    unsigned char magic[2] = {0, 0};
    return std::fread(magic, 1, 2, file.get()) == 2 && magic[0] == 0x1F && magic[1] == 0x8B;
}

uint32_t gzipTrailerSize(const std::string& path) {
    File file(std::fopen(path.c_str(), "rb"));
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

GzipUnpacked unpackGzipSong(const std::string& path) {
    GzipUnpacked result;
    result.claimedBytes = gzipTrailerSize(path);
    if (result.claimedBytes > MaxGzipSongBytes) {
        result.status = GzipUnpacked::Status::TooLarge;
        return result;
    }
    GzFile gz(gzopen(path.c_str(), "rb"));
    if (!gz) {
        return result;
    }
    // The buffer grows with what really unpacks: a few bytes claiming hundreds of megabytes in
    // their trailer cost no more than they hold.
    result.data.reserve(std::min<size_t>(result.claimedBytes, InitialReserve));
    size_t total = 0;
    bool failed = false;
    while (total < result.claimedBytes) {
        const size_t chunk = std::min<size_t>(result.claimedBytes - total, ReadChunk);
        result.data.resize(total + chunk);
        const int n = gzread(gz.get(), result.data.data() + total, static_cast<unsigned>(chunk));
        failed = n < 0;
        if (failed) {
            break;
        }
        total += static_cast<size_t>(n);
        if (static_cast<size_t>(n) < chunk) {
            break; // the stream ended
        }
    }
    // A sound file's trailer states its exact size, and zlib checks it at the stream's end: a
    // byte beyond the claimed size means the trailer lies, so the data is not trusted.
    unsigned char extra = 0;
    const bool more = !failed && gzread(gz.get(), &extra, 1) > 0;
    int zlibError = Z_OK;
    const char* message = gzerror(gz.get(), &zlibError);
    if (failed || more || (zlibError != Z_OK && zlibError != Z_STREAM_END)) {
        result.status = GzipUnpacked::Status::Damaged;
        result.detail = more                 ? "more data than the trailer states"
                        : message != nullptr ? message
                                             : "";
        result.data.clear();
        return result;
    }
    result.data.resize(total);
    result.status = GzipUnpacked::Status::Ok;
    return result;
}

} // namespace engine_detail
