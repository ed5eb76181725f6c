// Writes generated IMF, DRO, HSC and CMF songs into the fuzz corpus folder given as the one
// argument.
#include "AdlibDumpTrackerWriter.h"
#include "AdlibDumpWriter.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

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
    const std::vector<chipgen::HscNote> hscNotes[] = {
        {{49, 1}},
        {{37, 1}, {40, 9}, {44, 17}, {127, 25}, {61, 40}},
        {{1, 1}, {96, 2}, {127, 3}},
    };
    const std::vector<chipgen::CmfNote> cmfNotes[] = {
        {{69, 100, 0}},
        {{60, 30, 5}, {64, 30, 5}, {67, 60, 10}},
        {{0, 1, 0}, {127, 1000, 1000}},
    };
    for (size_t i = 0; i < std::size(songs); ++i) {
        const std::string stem = std::string(argv[1]) + "/song" + std::to_string(i);
        for (const auto& [extension, bytes] :
             {std::pair{".imf", chipgen::writeImf(songs[i])},
              std::pair{".dro", chipgen::writeDro(songs[i])},
              std::pair{".hsc", chipgen::writeHsc(hscNotes[i])},
              std::pair{".cmf", chipgen::writeCmf(cmfNotes[i], 100)}}) {
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
