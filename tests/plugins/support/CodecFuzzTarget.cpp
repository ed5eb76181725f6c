// Fuzz target over one codec plug-in's C table, linked with the plug-in's code: what the player
// does with a file the plug-in claims (probe, open, info, bounded reads, seek, last subsong).
#include "TamberloCodec.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

extern "C" const TamberloCodecTable* tamberlo_codec_entry();

namespace {

constexpr size_t Block = 1024;
constexpr int MaxBlocks = 32;

void readSome(const TamberloCodecTable& table, void* handle, int blocks) {
    static float buffer[2 * Block];
    for (int i = 0; i < blocks; ++i) {
        const size_t got = table.read(handle, buffer, Block);
        if (got == 0 || got > Block) {
            break;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const TamberloCodecTable& table = *tamberlo_codec_entry();
    // The player opens only what the plug-in claims.
    if (table.probe(data, std::min<size_t>(size, 4096), "fuzz") != 1 ||
        table.open_memory == nullptr) {
        return 0;
    }
    void* handle = table.open_memory(data, size);
    if (handle == nullptr) {
        return 0;
    }
    TamberloCodecInfo info{};
    if (table.get_info(handle, &info) == 0) {
        readSome(table, handle, MaxBlocks);
        if (table.seek != nullptr) {
            table.seek(handle, 3 * Block);
            readSome(table, handle, 2);
            table.seek(handle, 0);
        }
        if (table.select_subsong != nullptr && info.subsong_count > 1) {
            table.select_subsong(handle, std::min(info.subsong_count, 256) - 1);
            readSome(table, handle, 4);
        }
    }
    table.close(handle);
    return 0;
}
