// Scan throughput of the module ripper in MB/s over 256 MB of random bytes, of zeros, and of
// random bytes holding a packed module every 1 MB (each one found and converted). Run it from a
// scratch directory: the converted modules are written as "-1.mod" there.
#include "ModulePacker.h"
#include "Scan.h"

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <unistd.h>

namespace {
constexpr std::size_t kMegabyte = 1 << 20;
constexpr std::size_t kSize = 256 * kMegabyte;

Bytes randomBytes() {
    Bytes bytes(kSize);
    std::mt19937_64 random(42);
    for (std::size_t i = 0; i < kSize; i += 8) {
        const std::uint64_t value = random();
        for (int b = 0; b < 8; ++b)
            bytes[i + b] = static_cast<std::uint8_t>(value >> (8 * b));
    }
    return bytes;
}

Bytes withModules(Bytes bytes) {
    ProTrackerModule module = ProTrackerModule::blank(2);
    module.header[950] = 2;
    module.header[953] = 1;
    module.setSample(0, 2000, 0, 64, 0, 1);
    module.setSample(1, 1000, 0, 40, 100, 200);
    for (int row = 0; row < 64; row += 4)
        writeCell(module.patterns[row % 8 == 0], row, row / 4 % 4, {1, 428, 0xC, 0x30});
    const Bytes packed = packNoisePackerV2(module);
    for (std::size_t at = 1000; at + packed.size() < bytes.size(); at += kMegabyte)
        std::copy(packed.begin(), packed.end(), bytes.begin() + std::ptrdiff_t(at));
    return bytes;
}

// Best of three scans, in MB/s; the converters' console lines are discarded meanwhile.
double scanSpeed(const Bytes& bytes) {
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int devNull = open("/dev/null", O_WRONLY);
    dup2(devNull, STDOUT_FILENO);
    double best = 0;
    for (int run = 0; run < 3; ++run) {
        const auto start = std::chrono::steady_clock::now();
        ripBuffer(bytes.data(), static_cast<std::int32_t>(bytes.size()));
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        best = std::max(best, bytes.size() / double(kMegabyte) / took.count());
    }
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(devNull);
    close(saved);
    return best;
}
} // namespace

int main() {
    const Bytes random = randomBytes();
    std::printf("ripper scan, 256 MB random bytes:          %8.0f MB/s\n", scanSpeed(random));
    std::printf("ripper scan, 256 MB zeros:                 %8.0f MB/s\n",
                scanSpeed(Bytes(kSize, 0)));
    std::printf("ripper scan, 256 MB random, module per MB: %8.0f MB/s\n",
                scanSpeed(withModules(random)));
    return 0;
}
