// Fuzz target for the AdLib formats the plug-in claims by file name (HSC, which has no magic):
// the shared codec target probes with a name no format has, so it never reaches them. Probes
// as "fuzz.hsc", then does what the player does with a claimed block.
#include "TamberloCodec.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

extern "C" const TamberloCodecTable* tamberlo_codec_entry();

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const TamberloCodecTable& table = *tamberlo_codec_entry();
    if (table.probe(data, std::min<size_t>(size, 4096), "fuzz.hsc") != 1) {
        return 0;
    }
    void* handle = table.open_memory(data, size);
    if (handle == nullptr) {
        return 0;
    }
    TamberloCodecInfo info{};
    if (table.get_info(handle, &info) == 0) {
        static float buffer[2 * 1024];
        for (int i = 0; i < 32 && table.read(handle, buffer, 1024) != 0; ++i) {
        }
        table.seek(handle, 3 * 1024);
        table.read(handle, buffer, 1024);
    }
    table.close(handle);
    return 0;
}
