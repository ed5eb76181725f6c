// Writes generated IMF and DRO songs into the fuzz corpus folder given as the one argument.
#include "AdlibDumpWriter.h"

#include <cstdio>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s corpus-folder\n", argv[0]);
        return 2;
    }
    const chipgen::AdlibSong songs[] = {
        {{{0x244, 4, 300}}, 0},
        {{{0x1CA, 3, 120}, {0x2AE, 5, 80}, {0x158, 6, 40}}, 30},
        {{{0x3FF, 7, 2000}}, 500},
    };
    int index = 0;
    for (const auto& song : songs) {
        const std::string stem = std::string(argv[1]) + "/song" + std::to_string(index++);
        for (const auto& [extension, bytes] : {std::pair{".imf", chipgen::writeImf(song)},
                                               std::pair{".dro", chipgen::writeDro(song)}}) {
            std::ofstream file(stem + extension, std::ios::binary);
            file.write(reinterpret_cast<const char*>(bytes.data()),
                       static_cast<std::streamsize>(bytes.size()));
            if (!file) {
                std::fprintf(stderr, "cannot write %s%s\n", stem.c_str(), extension);
                return 1;
            }
        }
    }
    return 0;
}
