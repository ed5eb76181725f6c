#pragma once
// The main of a fuzz target's seed writer: the corpus folder is its one argument, and every seed
// goes there as a file of its own.
//
// Threading: main thread only.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace tamberlo::test {

using Seeds = std::vector<std::pair<std::string, std::vector<uint8_t>>>;

// Writes each (file name, bytes) of `seeds` into the folder argv[1], made when missing. Returns
// the exit status: 0; 1 when a file cannot be written; 2 when the arguments are not one folder.
inline int writeSeeds(int argc, char** argv, const Seeds& seeds) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
        return 2;
    }
    std::filesystem::create_directories(argv[1]);
    for (const auto& [name, bytes] : seeds) {
        std::ofstream file(std::filesystem::path(argv[1]) / name, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        if (!file) {
            std::fprintf(stderr, "cannot write %s\n", name.c_str());
            return 1;
        }
    }
    return 0;
}

} // namespace tamberlo::test
