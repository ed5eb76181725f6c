// Writes seed inputs for the ripper's fuzz target: a small module packed in every format the
// packers write, and the plain module, each inside other bytes, so the fuzzer starts past the
// format tests.
#include "PackFormats.h"
#include "RipTestSupport.h"

#include <cstdio>
#include <string>

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
    std::vector<std::pair<std::string, Bytes>> seeds = {{"plain", module.bytes()}};
    for (const PackFormat& format : packFormats())
        seeds.emplace_back(format.name, format.pack(module));
    const std::filesystem::path dir = argv[1];
    std::filesystem::create_directories(dir);
    for (const auto& [name, seed] : seeds) {
        Bytes file = filler(80, 1);
        file.insert(file.end(), seed.begin(), seed.end());
        file.resize(file.size() + 70, 0x55);
        writeFile(dir / ("seed-" + name), file);
    }
    return 0;
}
