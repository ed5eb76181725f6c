// Writes seed inputs for the ripper's fuzz target: small NoisePacker v2, AC1D and plain
// modules inside other bytes, so the fuzzer starts past the format tests.
#include "ModulePacker.h"
#include "RipTestSupport.h"

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_DIR\n", argv[0]);
        return 2;
    }
    ProTrackerModule module = ProTrackerModule::blank(2);
    module.header[950] = 3;
    module.header[953] = 1;
    module.setSample(0, 40, 0, 64, 0, 1);
    module.setSample(1, 30, 2, 20, 4, 10);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0xA, 0x30});
    writeCell(module.patterns[1], 3, 2, {2, 214, 0xB, 0x01});
    writeCell(module.patterns[1], 9, 1, {1, 0, 0x7, 0x22});
    const std::filesystem::path dir = argv[1];
    std::filesystem::create_directories(dir);
    const Bytes seeds[] = {packNoisePackerV2(module), packAc1d(module), module.bytes()};
    const char* names[] = {"seed-np2", "seed-ac1d", "seed-mk"};
    for (int i = 0; i < 3; ++i) {
        Bytes file = filler(80, 1);
        file.insert(file.end(), seeds[i].begin(), seeds[i].end());
        file.resize(file.size() + 70, 0x55);
        writeFile(dir / names[i], file);
    }
    return 0;
}
