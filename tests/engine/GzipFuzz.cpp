// Fuzzes the gzip song reader: any bytes as a ".gz" file must give a status, never a crash or an
// allocation beyond the limit.
#include "GzipSong.h"

#include <cstdio>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/engine-gzip-fuzz-" + std::to_string(::getpid()) + ".gz";
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return 0;
    }
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    const engine_detail::GzipUnpacked unpacked = engine_detail::unpackGzipSong(path);
    if (unpacked.data.size() > engine_detail::MaxGzipSongBytes) {
        __builtin_trap();
    }
    return 0;
}
