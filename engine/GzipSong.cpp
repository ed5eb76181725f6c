#include "GzipSong.h"

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
    result.data.resize(result.claimedBytes);
    const int got =
        result.claimedBytes == 0 ? 0 : gzread(gz.get(), result.data.data(), result.claimedBytes);
    // A sound file's trailer states its exact size, and zlib checks it at the stream's end: a
    // byte beyond the claimed size means the trailer lies, so the data is not trusted.
    unsigned char extra = 0;
    const bool more = got >= 0 && gzread(gz.get(), &extra, 1) > 0;
    int zlibError = Z_OK;
    const char* message = gzerror(gz.get(), &zlibError);
    if (got < 0 || more || (zlibError != Z_OK && zlibError != Z_STREAM_END)) {
        result.status = GzipUnpacked::Status::Damaged;
        result.detail = more                 ? "more data than the trailer states"
                        : message != nullptr ? message
                                             : "";
        result.data.clear();
        return result;
    }
    result.data.resize(static_cast<size_t>(got));
    result.status = GzipUnpacked::Status::Ok;
    return result;
}

} // namespace engine_detail
