// libFuzzer target: the ripper's scan over arbitrary bytes, with every test, rip and depack
// step that the bytes reach. Converted modules are written into a private temporary directory.
#include "Scan.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::string dir = "/tmp/tamberlo-rip-fuzz-XXXXXX";
    if (!mkdtemp(dir.data()) || chdir(dir.c_str()) != 0)
        std::abort();
    // The converters' "done" lines would drown the fuzzer's own output.
    if (!std::freopen("/dev/null", "w", stdout))
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > (1u << 24))
        return 0;
    ripBuffer(data, static_cast<std::int32_t>(size));
    return 0;
}
